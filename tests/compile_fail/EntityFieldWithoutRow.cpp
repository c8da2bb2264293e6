// expect: give this field a row in the attribute list
#define ROWS Kro::scalar<258>("off", &T::off_, &T::off, &T::offIs, &N::onOff), MEMBERS(259)
#include "tests/compile_fail/Entity.h"
