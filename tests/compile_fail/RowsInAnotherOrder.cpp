// expect: put the rows into the order of the fields
#define ROWS Kro::stored(2, "b", &T::b_, &T::bIs), Kro::stored(3, "a", &T::a_, &T::aIs), C
#include "tests/compile_fail/Value.h"
