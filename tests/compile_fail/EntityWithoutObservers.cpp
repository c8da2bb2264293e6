// expect: give the entity type a class NotifieeConst
#define NOTIFIEE Other
#include "tests/compile_fail/Entity.h"
