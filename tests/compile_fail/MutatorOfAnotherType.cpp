// expect: let the mutator take the attribute's own type
#define ROWS A, Kro::stored(3, "b", &T::b_, &T::cIs), C
#include "tests/compile_fail/Value.h"
