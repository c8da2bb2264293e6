// The kinds of hardware ACL tables.
#pragma once

#include "GenRange/VornNames.h"

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
  return Kro::Enumerators<TableType, 6>{"Vorn::TableType",
                                        {{{invalid, "invalid"},
                                          {ipv4PAcl, "ipv4PAcl"},
                                          {ipv4RAcl, "ipv4RAcl"},
                                          {ipv6PAcl, "ipv6PAcl"},
                                          {ipv6RAcl, "ipv6RAcl"},
                                          {macAcl, "macAcl"}}}};
}

/// The enumerator of a number or a name; any other throws `RangeException` "TableType".
VORNACL_API TableType TableTypeInstance(unsigned number);
VORNACL_API TableType TableTypeInstance(Kro::String8 const& name);
/// The type object.
VORNACL_API Kro::Ptr<Kro::KroType const> _fwkType_TableType();

}  // namespace Vorn
