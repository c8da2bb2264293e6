// expect: number the attributes from 258 on
#define ROWS ON(258), OFF(260), MEMBERS(261)
#include "tests/compile_fail/Entity.h"
