// The kinds of hardware ACL tables.
#pragma once

#include "Vorn/Names.h"

namespace Vorn {

/// The kind of a hardware ACL table: IPv4 or IPv6 in two table families, or MAC.
enum TableType : std::int32_t {
  invalid = 0,
  ipv4PAcl = 1,
  ipv4RAcl = 2,
  ipv6PAcl = 3,
  ipv6RAcl = 4,
  macAcl = 5,
};

constexpr auto kroEnumerators(TableType) {
  return Kro::enumerators<TableType>("Vorn::TableType", {{invalid, "invalid"},
                                                         {ipv4PAcl, "ipv4PAcl"},
                                                         {ipv4RAcl, "ipv4RAcl"},
                                                         {ipv6PAcl, "ipv6PAcl"},
                                                         {ipv6RAcl, "ipv6RAcl"},
                                                         {macAcl, "macAcl"}});
}

/// The enumerator of a number or a name; any other throws `RangeException` "TableType".
inline TableType TableTypeInstance(unsigned number) { return Kro::enumeratorOf<TableType>(number); }
inline TableType TableTypeInstance(Kro::String8 const& name) { return Kro::enumeratorOf<TableType>(name); }
/// The type object, and the class of it and of reflection objects: `runtime/reflection/ValueReflection.h`.
inline Kro::Ptr<Kro::KroType const> _fwkType_TableType() { return Kro::enumerationType<TableType>(); }
using TableType_GenericIf_ = Kro::ValueGenericIf<TableType>;
using TableType__Type = Kro::ValueTypeOf<TableType>;
VORNACL_API Kro::Ptr<TableType_GenericIf_> TableType_GenericIf_Is(TableType value, bool isConst);

}  // namespace Vorn
