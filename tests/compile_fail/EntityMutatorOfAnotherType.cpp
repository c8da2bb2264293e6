// expect: let the mutator take the attribute's own type
#define ROWS ON(258), Kro::scalar<259>("off", &T::off_, &T::off, &T::numberIs, &N::onOff), MEMBERS(260)
#include "tests/compile_fail/Entity.h"
