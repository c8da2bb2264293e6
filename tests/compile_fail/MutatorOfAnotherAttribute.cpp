// expect: name the mutator of the row's own attribute
#define ROWS A, Kro::stored(3, "b", &T::b_, &T::aIs), C
#include "tests/compile_fail/Value.h"
