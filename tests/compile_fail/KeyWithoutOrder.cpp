// expect: give the key of an ordered map an order
#define KEY Bare
#include "tests/compile_fail/Entity.h"
