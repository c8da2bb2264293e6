#include "VornRootConfig/VornRootConfigReflection.h"

#include "VornRootConfig/VornRootConfigRegistration.h"
#include "runtime/reflection/EntityReflectionOps.h"

namespace Vorn {

// --- the observers behind the reflection objects ---

class RootConfig::GenericIf_::GenericIf_Adapter_ final : public Kro::ReflectionAdapter<RootConfig> {
 public:
  using ReflectionAdapter::ReflectionAdapter;
  void onActive() override { told(Attributes::active); }
  void onVornAclColl() override { told(Attributes::vornAclColl); }
  void onAclKeyToAclId() override { told(Attributes::aclKeyToAclId); }
  void onAction() override { told(Attributes::action); }
  void onVornRootKickTime() override { told(Attributes::vornRootKickTime); }
  void onVornRootKick() override { told(Attributes::vornRootKick); }
  void onInitialized() override { told(Attributes::initialized); }
};

class RootConfigColl::GenericIf_::GenericIf_Adapter_ final : public Kro::ReflectionAdapter<RootConfigColl> {
 public:
  using ReflectionAdapter::ReflectionAdapter;
  using RootConfigColl::Notifiee::onChipRootConfig;
  using RootConfigColl::Notifiee::onChipRootConfigLastFailed;
  void onChipRootConfig(std::uint32_t key) override { told(Attributes::chipRootConfig, key); }
  void onChipRootConfigLastFailed(ChipId key) override { told(Attributes::chipRootConfigLastFailed, key); }
};

// --- reflection objects and type objects ---

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

Kro::Ptr<Kro::Entity::KroNboAttrLogSa> RootConfigColl::_Type::childAttrLogIs(
    Kro::Name const& attribute, Kro::Ptr<Kro::Entity> const& child, Kro::Ptr<Kro::NboAttrLog::Out> const& out) const {
  auto const parent = Kro::ptrCast<RootConfigColl>(child ? child->parent() : nullptr);
  auto const member = Kro::ptrCast<RootConfig>(child);
  auto const adapter = parent ? Kro::ptrCast<KroNboAttrLogSa>(static_cast<Entity&>(*parent).kroNboAttrLogSa(
                                    Kro::Ptr<Kro::NboAttrLog::Out const>(out)))
                              : nullptr;
  return adapter && member && child->parentAttr() == attribute.string()
             ? adapter->chipRootConfigNboAttrLogAdapterIs(adapter->flagWord(), *member)
             : nullptr;
}

}  // namespace Vorn

template class Kro::EntityGenericIfOf<Vorn::RootConfig>;
template class Kro::EntityGenericIfOf<Vorn::RootConfigColl>;
