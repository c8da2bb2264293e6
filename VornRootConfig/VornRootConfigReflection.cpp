#include "VornRootConfig/VornRootConfigReflection.h"

#include "VornRootConfig/VornRootConfigRegistration.h"

namespace Vorn {

RootConfig::GenericIf_::GenericIf_(Kro::Ptr<RootConfig> const& entity, bool isConst)
    : EntityGenericIfOf(entity, isConst) {
  adapterIs(Kro::adopt(new GenericIf_Adapter_(this)));
}
RootConfigColl::GenericIf_::GenericIf_(Kro::Ptr<RootConfigColl> const& entity, bool isConst)
    : EntityGenericIfOf(entity, isConst) {
  adapterIs(Kro::adopt(new GenericIf_Adapter_(this)));
}

Kro::Ptr<Kro::KroType const> RootConfig::_fwkType() {
  return Kro::detail::entityTypeOf<RootConfig>(&kroInitVornRootConfig);
}
Kro::Ptr<Kro::KroType const> RootConfigColl::_fwkType() {
  return Kro::detail::entityTypeOf<RootConfigColl>(&kroInitVornRootConfig);
}

}  // namespace Vorn
