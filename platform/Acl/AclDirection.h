// Directions of traffic.
#pragma once

#include <cstdint>

#include "platform/KroOperations.h"

namespace Acl {

/// The direction of the traffic that an access-control list is applied to, seen from the chip.
enum AclDirection : std::int32_t {
  in = 0,
  out = 1,
};

/// The names of the enumerators.
constexpr Kro::Enumerators<AclDirection, 2> kroEnumerators(AclDirection) {
  return {"Acl::AclDirection",
          {{
              {in, "in"},
              {out, "out"},
          }}};
}

/// The enumerator with this number; throws `Kro::RangeException` "AclDirection" for any other.
inline AclDirection AclDirectionInstance(unsigned number) { return Kro::enumeratorOf<AclDirection>(number); }
/// The enumerator of this name, exactly; throws `Kro::RangeException` "AclDirection" for any other.
inline AclDirection AclDirectionInstance(Kro::String8 const& name) { return Kro::enumeratorOf<AclDirection>(name); }

/// The type object of `AclDirection`.
VORNACL_API Kro::Ptr<Kro::KroType const> _fwkType_AclDirection();

}  // namespace Acl
