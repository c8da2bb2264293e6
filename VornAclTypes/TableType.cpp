#include "VornAclTypes/TableType.h"

namespace Vorn {

TableType TableTypeInstance(unsigned number) { return Kro::enumeratorOf<TableType>(number); }
TableType TableTypeInstance(Kro::String8 const& name) { return Kro::enumeratorOf<TableType>(name); }
Kro::Ptr<Kro::KroType const> _fwkType_TableType() { return Kro::enumerationType<TableType>(); }

}  // namespace Vorn
