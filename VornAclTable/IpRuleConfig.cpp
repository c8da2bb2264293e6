#include "VornAclTable/IpRuleConfig.h"

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Vorn::IpRuleConfig>;
