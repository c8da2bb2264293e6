#include "VornRootConfig/VornRootConfigReflection.h"

#include "runtime/reflection/EntityReflectionOps.h"

namespace Vorn {

Kro::Ptr<Kro::KroType const> RootConfig::_fwkType() { return Kro::detail::entityTypeOf<RootConfig>(); }
Kro::Ptr<Kro::KroType const> RootConfigColl::_fwkType() { return Kro::detail::entityTypeOf<RootConfigColl>(); }

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
