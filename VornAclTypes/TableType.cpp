#include "VornAclTypes/TableType.h"

#include "VornAclTypes/VornAclTypesRegistration.h"

template <>
VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Vorn::TableType>() {
  return detail::enumerationTypeOf<Vorn::TableType>(&Vorn::kroInitVornAclTypes);
}

namespace Vorn {

TableType TableTypeInstance(unsigned number) { return Kro::enumeratorOf<TableType>(number); }
TableType TableTypeInstance(Kro::String8 const& name) { return Kro::enumeratorOf<TableType>(name); }
Kro::Ptr<Kro::KroType const> _fwkType_TableType() { return Kro::enumerationType<TableType>(); }

}  // namespace Vorn
