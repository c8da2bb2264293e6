// The runtime's operations on values, findable in the namespace of these types: by argument and by qualified name.
#pragma once

#include "runtime/value/Value.h"

namespace Zil {

using Kro::sequenceToValue;
using Kro::strepToValue;
using Kro::stringValue;
using Kro::valueToStrep;
using Kro::operator<<;
using Kro::NboAttrLog::operator<<;

}  // namespace Zil
