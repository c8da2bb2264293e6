// The kind of a generic range.
#pragma once

#include "GenRange/VornNames.h"

namespace Vorn {

/// Says which member of a `GenRange` is meant.
enum GenRangeType : std::int32_t {
  unknownRange = 0,  ///< no kind chosen
  ipRange = 1,       ///< the IP prefix
  portRange = 2,     ///< the layer-4 port range
};

constexpr auto kroEnumerators(GenRangeType) {
  return Kro::Enumerators<GenRangeType, 3>{
      "Vorn::GenRangeType", {{{unknownRange, "unknownRange"}, {ipRange, "ipRange"}, {portRange, "portRange"}}}};
}

/// The enumerator of a number or a name; any other throws `RangeException` "GenRangeType".
VORNACL_API GenRangeType GenRangeTypeInstance(unsigned number);
VORNACL_API GenRangeType GenRangeTypeInstance(Kro::String8 const& name);
/// The type object.
VORNACL_API Kro::Ptr<Kro::KroType const> _fwkType_GenRangeType();

}  // namespace Vorn
