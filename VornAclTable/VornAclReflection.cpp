#include "VornAclTable/VornAclReflection.h"

#include "runtime/reflection/EntityReflectionOps.h"

namespace Vorn {

Kro::Ptr<Kro::KroType const> VornAcl::_fwkType() { return Kro::detail::entityTypeOf<VornAcl>(); }
Kro::Ptr<Kro::KroType const> VornAclColl::_fwkType() { return Kro::detail::entityTypeOf<VornAclColl>(); }
Kro::Ptr<Kro::KroType const> AclKeyToAclIdMapping::_fwkType() {
  return Kro::detail::entityTypeOf<AclKeyToAclIdMapping>();
}

Kro::Ptr<Kro::Entity::KroNboAttrLogSa> VornAclColl::_Type::childAttrLogIs(
    Kro::Name const& attribute, Kro::Ptr<Kro::Entity> const& child, Kro::Ptr<Kro::NboAttrLog::Out> const& out) const {
  auto const parent = Kro::ptrCast<VornAclColl>(child ? child->parent() : nullptr);
  auto const member = Kro::ptrCast<VornAcl>(child);
  auto const adapter = parent ? Kro::ptrCast<KroNboAttrLogSa>(static_cast<Entity&>(*parent).kroNboAttrLogSa(
                                    Kro::Ptr<Kro::NboAttrLog::Out const>(out)))
                              : nullptr;
  return adapter && member && child->parentAttr() == attribute.string()
             ? adapter->aclNboAttrLogAdapterIs(adapter->flagWord(), *member)
             : nullptr;
}

}  // namespace Vorn

template class Kro::EntityGenericIfOf<Vorn::VornAcl>;
template class Kro::EntityGenericIfOf<Vorn::VornAclColl>;
template class Kro::EntityGenericIfOf<Vorn::AclKeyToAclIdMapping>;
