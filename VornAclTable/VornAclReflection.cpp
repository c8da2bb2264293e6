#include "VornAclTable/VornAclReflection.h"

#include "VornAclTable/VornAclTableRegistration.h"
#include "runtime/reflection/EntityReflectionOps.h"

namespace Vorn {

// --- the observers behind the reflection objects ---

class VornAcl::GenericIf_::GenericIf_Adapter_ final : public Kro::ReflectionAdapter<VornAcl> {
 public:
  using ReflectionAdapter::ReflectionAdapter;
  using VornAcl::Notifiee::onIpRuleById;
  using VornAcl::Notifiee::onMacRuleById;
  void onIpRuleById(AceIndex const& key) override { told(Attributes::ipRuleById, key); }
  void onMacRuleById(AceIndex const& key) override { told(Attributes::macRuleById, key); }
};

class VornAclColl::GenericIf_::GenericIf_Adapter_ final : public Kro::ReflectionAdapter<VornAclColl> {
 public:
  using ReflectionAdapter::ReflectionAdapter;
  using VornAclColl::Notifiee::onAcl;
  void onAcl(AclId const& key) override { told(Attributes::acl, key); }
};

class AclKeyToAclIdMapping::GenericIf_::GenericIf_Adapter_ final : public Kro::ReflectionAdapter<AclKeyToAclIdMapping> {
 public:
  using AclKeyToAclIdMapping::Notifiee::onKeyToId;
  using ReflectionAdapter::ReflectionAdapter;
  void onKeyToId(Zil::AclKey const& key) override { told(Attributes::keyToId, key); }
};

// --- reflection objects and type objects ---

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
