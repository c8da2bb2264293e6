#include "platform/Acl/Action.h"

#include "platform/TypeObject.h"

template <>
VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Acl::Action>() {
  return detail::enumerationTypeOf<Acl::Action>(nullptr);
}

namespace Acl {

Kro::Ptr<Kro::KroType const> _fwkType_Action() { return Kro::enumerationType<Action>(); }

}  // namespace Acl
