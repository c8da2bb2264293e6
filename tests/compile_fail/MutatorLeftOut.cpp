// expect: name the field and the mutator of the attribute
#define ROWS A, Kro::stored(3, "b", &T::b_), C
#include "tests/compile_fail/Value.h"
