#include "platform/Acl/AclType.h"

#include "runtime/reflection/TypeObjects.h"

template VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Acl::AclType>();

namespace Acl {

Kro::Ptr<Kro::KroType const> _fwkType_AclType() { return Kro::enumerationType<AclType>(); }

}  // namespace Acl
