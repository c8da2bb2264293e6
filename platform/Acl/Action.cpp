#include "platform/Acl/Action.h"

#include "runtime/reflection/TypeObjects.h"

template VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Acl::Action>();

namespace Acl {

Kro::Ptr<Kro::KroType const> _fwkType_Action() { return Kro::enumerationType<Action>(); }

}  // namespace Acl
