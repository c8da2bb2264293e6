#include "VornAclTypes/TableType.h"

#include "runtime/reflection/TypeObjects.h"

template VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Vorn::TableType>();

namespace Vorn {

Kro::Ptr<TableType_GenericIf_> TableType_GenericIf_Is(TableType value, bool isConst) {
  return TableType_GenericIf_::GenericIf_Is(value, isConst);
}

}  // namespace Vorn
