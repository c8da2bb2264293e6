// expect: give the value of a collection a struct Attributes
#define VALUE Bare
#include "tests/compile_fail/Entity.h"
