// expect: put the rows into the order of the fields
#define ROWS OFF(258), ON(259), MEMBERS(260)
#include "tests/compile_fail/Entity.h"
