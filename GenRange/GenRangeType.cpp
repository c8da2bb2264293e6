#include "GenRange/GenRangeType.h"

#include "runtime/reflection/TypeObjects.h"

template VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Vorn::GenRangeType>();

namespace Vorn {

Kro::Ptr<GenRangeType_GenericIf_> GenRangeType_GenericIf_Is(GenRangeType value, bool isConst) {
  return GenRangeType_GenericIf_::GenericIf_Is(value, isConst);
}

}  // namespace Vorn
