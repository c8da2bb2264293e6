#include "platform/Acl/AclDirection.h"

#include "platform/TypeObject.h"

template <>
VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Acl::AclDirection>() {
  return detail::enumerationTypeOf<Acl::AclDirection>(nullptr);
}

namespace Acl {

Kro::Ptr<Kro::KroType const> _fwkType_AclDirection() { return Kro::enumerationType<AclDirection>(); }

}  // namespace Acl
