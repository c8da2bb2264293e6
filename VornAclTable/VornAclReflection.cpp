#include "VornAclTable/VornAclReflection.h"

#include "VornAclTable/VornAclTableRegistration.h"

namespace Vorn {

VornAcl::GenericIf_::GenericIf_(Kro::Ptr<VornAcl> const& entity, bool isConst) : EntityGenericIfOf(entity, isConst) {
  adapterIs(Kro::adopt(new GenericIf_Adapter_(this)));
}
VornAclColl::GenericIf_::GenericIf_(Kro::Ptr<VornAclColl> const& entity, bool isConst)
    : EntityGenericIfOf(entity, isConst) {
  adapterIs(Kro::adopt(new GenericIf_Adapter_(this)));
}
AclKeyToAclIdMapping::GenericIf_::GenericIf_(Kro::Ptr<AclKeyToAclIdMapping> const& entity, bool isConst)
    : EntityGenericIfOf(entity, isConst) {
  adapterIs(Kro::adopt(new GenericIf_Adapter_(this)));
}

Kro::Ptr<Kro::KroType const> VornAcl::_fwkType() { return Kro::detail::entityTypeOf<VornAcl>(&kroInitVornAclTable); }
Kro::Ptr<Kro::KroType const> VornAclColl::_fwkType() {
  return Kro::detail::entityTypeOf<VornAclColl>(&kroInitVornAclTable);
}
Kro::Ptr<Kro::KroType const> AclKeyToAclIdMapping::_fwkType() {
  return Kro::detail::entityTypeOf<AclKeyToAclIdMapping>(&kroInitVornAclTable);
}

}  // namespace Vorn
