// expect: give an entity type at most 31 attributes that are told
#define EIGHT(n) ON(n), ON(n + 1), ON(n + 2), ON(n + 3), ON(n + 4), ON(n + 5), ON(n + 6), ON(n + 7)
#define ROWS EIGHT(258), EIGHT(266), EIGHT(274), EIGHT(282)
#include "tests/compile_fail/Entity.h"
