// The reflection objects of this source's entity types.
#pragma once

#include "VornAclTable/AclKeyToAclIdMapping.h"
#include "VornAclTable/VornAclColl.h"
#include "VornAclTable/VornAclLog.h"
#include "runtime/reflection/EntityReflection.h"

namespace Vorn {

/// Reflects a `VornAcl`.
class VORNACL_API VornAcl::GenericIf_ final : public Kro::EntityGenericIfOf<VornAcl> {
 public:
  class GenericIf_Adapter_;
  GenericIf_(Kro::Ptr<VornAcl> const& entity, bool isConst);
};

class VORNACL_API VornAcl::GenericIf_::GenericIf_Adapter_ final : public Kro::ReflectionAdapter<VornAcl> {
 public:
  using ReflectionAdapter::ReflectionAdapter;
  using VornAcl::Notifiee::onIpRuleById;
  using VornAcl::Notifiee::onMacRuleById;
  void onIpRuleById(AceIndex const& key) override { owner().onKey(Attributes::ipRuleById, *this, key); }
  void onMacRuleById(AceIndex const& key) override { owner().onKey(Attributes::macRuleById, *this, key); }
};

/// Reflects a `VornAclColl`.
class VORNACL_API VornAclColl::GenericIf_ final : public Kro::EntityGenericIfOf<VornAclColl> {
 public:
  class GenericIf_Adapter_;
  GenericIf_(Kro::Ptr<VornAclColl> const& entity, bool isConst);
};

class VORNACL_API VornAclColl::GenericIf_::GenericIf_Adapter_ final : public Kro::ReflectionAdapter<VornAclColl> {
 public:
  using ReflectionAdapter::ReflectionAdapter;
  using VornAclColl::Notifiee::onAcl;
  void onAcl(AclId const& key) override { owner().onKey(Attributes::acl, *this, key); }
};

/// Reflects an `AclKeyToAclIdMapping`.
class VORNACL_API AclKeyToAclIdMapping::GenericIf_ final : public Kro::EntityGenericIfOf<AclKeyToAclIdMapping> {
 public:
  class GenericIf_Adapter_;
  GenericIf_(Kro::Ptr<AclKeyToAclIdMapping> const& entity, bool isConst);
};

class VORNACL_API AclKeyToAclIdMapping::GenericIf_::GenericIf_Adapter_ final
    : public Kro::ReflectionAdapter<AclKeyToAclIdMapping> {
 public:
  using AclKeyToAclIdMapping::Notifiee::onKeyToId;
  using ReflectionAdapter::ReflectionAdapter;
  void onKeyToId(Zil::AclKey const& key) override { owner().onKey(Attributes::keyToId, *this, key); }
};

}  // namespace Vorn
