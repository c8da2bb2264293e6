#include "platform/Acl/AclType.h"

#include "platform/TypeObject.h"

namespace Acl {

Kro::Ptr<Kro::KroType const> _fwkType_AclType() {
  static Kro::KroType const* const type = Kro::detail::immortalType("Acl::AclType");
  return Kro::share(type);
}

}  // namespace Acl
