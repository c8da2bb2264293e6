// The attribute-log adapters of this source's entity types: what the list makes of them, and members with names that do
// what the list does. Nothing of the library calls those.
#pragma once

#include "VornAclTable/AclKeyToAclIdMapping.h"
#include "VornAclTable/VornAclColl.h"
#include "runtime/log/AdapterOf.h"

namespace Vorn {

/// Mirrors a `VornAcl` into one stream.
class VORNACL_API VornAcl::KroNboAttrLogSa final : public Kro::NboAttrLog::AdapterOf<VornAcl> {
 public:
  using FlowOut = Kro::NboAttrLog::FlowOutOf<VornAcl>;

  using AdapterOf::AdapterOf;

  void onIpRuleById(AceIndex const& key) { handleKey(row<&VornAcl::ipRuleById_>, key); }
  void onMacRuleById(AceIndex const& key) { handleKey(row<&VornAcl::macRuleById_>, key); }
  /// Write or mark one entry; the value is not looked at where `removal` is set.
  void kroHandleIpRuleByIdSerializeSing(AceIndex const& key, IpRuleConfig const& value, bool removal) {
    serializeValue(row<&VornAcl::ipRuleById_>, key, removal ? nullptr : &value);
  }
  void kroHandleMacRuleByIdSerializeSing(AceIndex const& key, MacRuleConfig const& value, bool removal) {
    serializeValue(row<&VornAcl::macRuleById_>, key, removal ? nullptr : &value);
  }
  /// Send a whole collection, as far as there is room; true when all of it was sent.
  bool kroHandleIpRuleByIdSerializeColl() { return serializeCollection(row<&VornAcl::ipRuleById_>); }
  bool kroHandleMacRuleByIdSerializeColl() { return serializeCollection(row<&VornAcl::macRuleById_>); }
};

/// Mirrors a `VornAclColl` into one stream.
class VORNACL_API VornAclColl::KroNboAttrLogSa final : public Kro::NboAttrLog::AdapterOf<VornAclColl> {
 public:
  using FlowOut = Kro::NboAttrLog::FlowOutOf<VornAclColl>;

  using AdapterOf::AdapterOf;

  void onAcl(AclId const& key) { handleKey(row<&VornAclColl::acl_>, key); }
  /// Writes or marks one entry; a null `acl` is a removal.
  void kroHandleAclSerializeSing(AclId const& key, Kro::Ptr<VornAcl> const& acl) {
    serializeEntity(row<&VornAclColl::acl_>, key, acl);
  }
  bool kroHandleAclSerializeColl() { return serializeCollection(row<&VornAclColl::acl_>); }
  /// The adapter of a member: find; find or make and announce; remove.
  Kro::Ptr<Entity::KroNboAttrLogSa> aclNboAttrLogAdapter(VornAcl const& acl) const {
    return childAdapter(row<&VornAclColl::acl_>, acl);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> aclNboAttrLogAdapterIs(std::uint32_t flags, VornAcl& acl) {
    return announceMember(row<&VornAclColl::acl_>, flags & inheritedBits, acl);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> aclNboAttrLogAdapterDel(VornAcl& acl) {
    return childAdapterDel(row<&VornAclColl::acl_>, acl);
  }
};

/// Mirrors an `AclKeyToAclIdMapping` into one stream.
class VORNACL_API AclKeyToAclIdMapping::KroNboAttrLogSa final
    : public Kro::NboAttrLog::AdapterOf<AclKeyToAclIdMapping> {
 public:
  using FlowOut = Kro::NboAttrLog::FlowOutOf<AclKeyToAclIdMapping>;

  using AdapterOf::AdapterOf;

  void onKeyToId(Zil::AclKey const& key) { handleKey(row<&AclKeyToAclIdMapping::keyToId_>, key); }
  void kroHandleKeyToIdSerializeSing(Zil::AclKey const& key, AclId const& id, bool removal) {
    serializeValue(row<&AclKeyToAclIdMapping::keyToId_>, key, removal ? nullptr : &id);
  }
  bool kroHandleKeyToIdSerializeColl() { return serializeCollection(row<&AclKeyToAclIdMapping::keyToId_>); }
};

}  // namespace Vorn
