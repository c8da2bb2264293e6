// The kind of a generic range.
#pragma once

#include "Vorn/Names.h"

namespace Vorn {

/// Says which member of a `GenRange` is meant.
enum GenRangeType : std::int32_t {
  unknownRange = 0,  ///< no kind chosen
  ipRange = 1,       ///< the IP prefix
  portRange = 2,     ///< the layer-4 port range
};

constexpr auto kroEnumerators(GenRangeType) {
  return Kro::enumerators<GenRangeType>(
      "Vorn::GenRangeType", {{unknownRange, "unknownRange"}, {ipRange, "ipRange"}, {portRange, "portRange"}});
}

/// The enumerator of a number or a name; any other throws `RangeException` "GenRangeType".
inline GenRangeType GenRangeTypeInstance(unsigned number) { return Kro::enumeratorOf<GenRangeType>(number); }
inline GenRangeType GenRangeTypeInstance(Kro::String8 const& name) { return Kro::enumeratorOf<GenRangeType>(name); }
/// The type object, and the class of it and of reflection objects: `runtime/reflection/ValueReflection.h`.
inline Kro::Ptr<Kro::KroType const> _fwkType_GenRangeType() { return Kro::enumerationType<GenRangeType>(); }
using GenRangeType_GenericIf_ = Kro::ValueGenericIf<GenRangeType>;
using GenRangeType__Type = Kro::ValueTypeOf<GenRangeType>;
VORNACL_API Kro::Ptr<GenRangeType_GenericIf_> GenRangeType_GenericIf_Is(GenRangeType value, bool isConst);

}  // namespace Vorn
