// expect: name the mutator of the row's own attribute
#define ROWS ON(258), Kro::scalar<259>("off", &T::off_, &T::off, &T::onIs, &N::onOff), MEMBERS(260)
#include "tests/compile_fail/Entity.h"
