#include "VornAclTypes/ChipRuleListId.h"

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Vorn::ChipRuleListId>;
