// The whole library.
#pragma once

#include "GenRange/GenRange.h"
#include "VornAclTable/VornAclTable.h"
#include "VornAclTypes/VornAclTypes.h"
#include "VornRootConfig/VornRootConfig.h"
#include "runtime/Kro.h"
#include "runtime/reflection/EntityReflection.h"

namespace Vorn {

// Once more, for a using-declaration does not see what is declared behind it: here the readers of entity references.
using Kro::sequenceToValue;
using Kro::strepToValue;

}  // namespace Vorn
