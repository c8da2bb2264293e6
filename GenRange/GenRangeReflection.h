// Reflection of this source's enumeration.
#pragma once

#include "GenRange/GenRangeType.h"
#include "runtime/reflection/ValueReflection.h"

namespace Vorn {

/// Reflection of `GenRangeType`.
using GenRangeType_GenericIf_ = Kro::ValueGenericIf<GenRangeType>;
using GenRangeType__Type = Kro::ValueTypeOf<GenRangeType>;
inline Kro::Ptr<GenRangeType_GenericIf_> GenRangeType_GenericIf_Is(GenRangeType value, bool isConst) {
  return GenRangeType_GenericIf_::GenericIf_Is(value, isConst);
}

}  // namespace Vorn
