// expect: name of a scalar its field, accessor and mutator and the observers' handler
#define ROWS ON(258), Kro::scalar<259>("off", &T::off_, &T::off, &T::offIs), MEMBERS(260)
#include "tests/compile_fail/Entity.h"
