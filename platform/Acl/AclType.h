// Kinds of access-control lists.
#pragma once

#include <cstdint>

#include "platform/KroOperations.h"

namespace Acl {

/// What the rules of an access-control list match on.
enum AclType : std::int32_t {
  ip = 0,    ///< IPv4 headers
  ipv6 = 1,  ///< IPv6 headers
  mac = 2,   ///< Ethernet headers
};

/// The names of the enumerators.
constexpr Kro::Enumerators<AclType, 3> kroEnumerators(AclType) {
  return {"Acl::AclType",
          {{
              {ip, "ip"},
              {ipv6, "ipv6"},
              {mac, "mac"},
          }}};
}

/// The enumerator with this number; throws `Kro::RangeException` "AclType" for any other.
inline AclType AclTypeInstance(unsigned number) { return Kro::enumeratorOf<AclType>(number); }
/// The enumerator of this name, exactly; throws `Kro::RangeException` "AclType" for any other.
inline AclType AclTypeInstance(Kro::String8 const& name) { return Kro::enumeratorOf<AclType>(name); }

/// The type object of `AclType`.
VORNACL_API Kro::Ptr<Kro::KroType const> _fwkType_AclType();

}  // namespace Acl
