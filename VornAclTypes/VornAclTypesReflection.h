// Reflection of this source's enumeration.
#pragma once

#include "VornAclTypes/TableType.h"
#include "runtime/reflection/ValueReflection.h"

namespace Vorn {

/// Reflection of `TableType`.
using TableType_GenericIf_ = Kro::ValueGenericIf<TableType>;
using TableType__Type = Kro::ValueTypeOf<TableType>;
inline Kro::Ptr<TableType_GenericIf_> TableType_GenericIf_Is(TableType value, bool isConst) {
  return TableType_GenericIf_::GenericIf_Is(value, isConst);
}

}  // namespace Vorn
