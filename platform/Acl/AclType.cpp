#include "platform/Acl/AclType.h"

#include "platform/TypeObject.h"

template <>
VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Acl::AclType>() {
  return detail::enumerationTypeOf<Acl::AclType>(nullptr);
}

namespace Acl {

Kro::Ptr<Kro::KroType const> _fwkType_AclType() { return Kro::enumerationType<AclType>(); }

}  // namespace Acl
