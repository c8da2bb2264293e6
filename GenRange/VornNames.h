// Brings the runtime's text functions into the model's namespace, so that qualified calls find them there.
#pragma once

#include "runtime/value/Value.h"

namespace Vorn {

using Kro::operator<<;
using Kro::sequenceToValue;
using Kro::strepToValue;
using Kro::stringValue;
using Kro::valueToStrep;

}  // namespace Vorn
