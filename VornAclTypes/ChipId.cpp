#include "VornAclTypes/ChipId.h"

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Vorn::ChipId>;
