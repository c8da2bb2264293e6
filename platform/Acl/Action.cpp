#include "platform/Acl/Action.h"

#include "platform/TypeObject.h"

namespace Acl {

Kro::Ptr<Kro::KroType const> _fwkType_Action() {
  static Kro::KroType const* const type = Kro::detail::immortalType("Acl::Action");
  return Kro::share(type);
}

}  // namespace Acl
