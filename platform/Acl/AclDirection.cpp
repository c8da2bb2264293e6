#include "platform/Acl/AclDirection.h"

#include "runtime/reflection/TypeObjects.h"

template VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Acl::AclDirection>();

namespace Acl {

Kro::Ptr<Kro::KroType const> _fwkType_AclDirection() { return Kro::enumerationType<AclDirection>(); }

}  // namespace Acl
