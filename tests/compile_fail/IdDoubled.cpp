// expect: number the attributes from 2 on
#define ROWS A, B, Kro::stored(3, "c", &T::c_, &T::cIs)
#include "tests/compile_fail/Value.h"
