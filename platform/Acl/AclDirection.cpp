#include "platform/Acl/AclDirection.h"

#include "platform/TypeObject.h"

namespace Acl {

Kro::Ptr<Kro::KroType const> _fwkType_AclDirection() {
  static Kro::KroType const* const type = Kro::detail::immortalType("Acl::AclDirection");
  return Kro::share(type);
}

}  // namespace Acl
