// The runtime's operations on values, findable in each namespace of the platform's types: by argument and by qualified
// name.
#pragma once

#include "runtime/value/Value.h"

#define KRO_OPERATIONS        \
  using Kro::sequenceToValue; \
  using Kro::strepToValue;    \
  using Kro::stringValue;     \
  using Kro::valueToStrep;    \
  using Kro::operator<<;      \
  using Kro::NboAttrLog::operator<<;

namespace Acl {
KRO_OPERATIONS
}
namespace Dorix {
KRO_OPERATIONS
}
namespace Zil {
KRO_OPERATIONS
}

#undef KRO_OPERATIONS
