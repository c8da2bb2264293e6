#include "VornAclTable/MacRuleConfig.h"

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Vorn::MacRuleConfig>;
