// expect: give each field of the class a row
#define FIELD bool forgotten_ = false
#include "tests/compile_fail/Value.h"
