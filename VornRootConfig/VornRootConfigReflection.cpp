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

Kro::Ptr<Kro::Entity::KroNboAttrLogSa> RootConfig::_Type::childAttrLogIs(
    Kro::Name const& attribute, Kro::Ptr<Kro::Entity> const& child, Kro::Ptr<Kro::NboAttrLog::Out> const& out) const {
  auto const parent = Kro::ptrCast<RootConfig>(child ? child->parent() : nullptr);
  auto const adapter = parent ? Kro::ptrCast<KroNboAttrLogSa>(static_cast<Entity&>(*parent).kroNboAttrLogSa(
                                    Kro::Ptr<Kro::NboAttrLog::Out const>(out)))
                              : nullptr;
  if (!adapter || !(child->parentAttr() == attribute.string())) {
    return nullptr;
  }
  if (auto const acls = Kro::ptrCast<VornAclColl>(child)) {
    return adapter->vornAclCollNboAttrLogAdapterIs(adapter->flagWord(), *acls);
  }
  if (auto const mapping = Kro::ptrCast<AclKeyToAclIdMapping>(child)) {
    return adapter->aclKeyToAclIdNboAttrLogAdapterIs(adapter->flagWord(), *mapping);
  }
  return nullptr;
}

}  // namespace Vorn
