// What each type of the model starts from: the list that names it, and the runtime's text functions in the model's
// namespace, so that qualified calls find them there.
#pragma once

#include "Vorn/Types.h"
#include "runtime/value/Value.h"

namespace Vorn {

using Kro::operator<<;
using Kro::sequenceToValue;
using Kro::strepToValue;
using Kro::stringValue;
using Kro::valueToStrep;

}  // namespace Vorn
