// expect: let the row name its mutator
#define ROWS A, Kro::fixed(3, "b", &T::b_), C
#include "tests/compile_fail/Value.h"
