// The attribute-log adapters of this source's entity types.
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

  void onIpRuleById(AceIndex const& key) { handleKey(Attributes::ipRuleById, key); }
  void onMacRuleById(AceIndex const& key) { handleKey(Attributes::macRuleById, key); }
  /// Write or mark one entry; the value is not looked at where `removal` is set.
  void kroHandleIpRuleByIdSerializeSing(AceIndex const& key, IpRuleConfig const& value, bool removal) {
    serializeValue(Attributes::ipRuleById, key, removal ? nullptr : &value);
  }
  void kroHandleMacRuleByIdSerializeSing(AceIndex const& key, MacRuleConfig const& value, bool removal) {
    serializeValue(Attributes::macRuleById, key, removal ? nullptr : &value);
  }
  /// Send a whole collection, as far as there is room; true when all of it was sent.
  bool kroHandleIpRuleByIdSerializeColl() { return serializeCollection(Attributes::ipRuleById); }
  bool kroHandleMacRuleByIdSerializeColl() { return serializeCollection(Attributes::macRuleById); }
};

/// Mirrors a `VornAclColl` into one stream.
class VORNACL_API VornAclColl::KroNboAttrLogSa final : public Kro::NboAttrLog::AdapterOf<VornAclColl> {
 public:
  using FlowOut = Kro::NboAttrLog::FlowOutOf<VornAclColl>;

  using AdapterOf::AdapterOf;

  void onAcl(AclId const& key) { handleKey(Attributes::acl, key); }
  /// Writes or marks one entry; a null `acl` is a removal.
  void kroHandleAclSerializeSing(AclId const& key, Kro::Ptr<VornAcl> const& acl) {
    serializeEntity(Attributes::acl, key, acl);
  }
  bool kroHandleAclSerializeColl() { return serializeCollection(Attributes::acl); }
  /// The adapter of a member: find; find or make and announce; remove.
  Kro::Ptr<Entity::KroNboAttrLogSa> aclNboAttrLogAdapter(VornAcl const& acl) const {
    return childAdapter(Attributes::acl, acl);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> aclNboAttrLogAdapterIs(std::uint32_t flags, VornAcl& acl) {
    return announceMember(Attributes::acl, flags & inheritedBits, acl);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> aclNboAttrLogAdapterDel(VornAcl& acl) {
    return childAdapterDel(Attributes::acl, acl);
  }
};

/// Mirrors an `AclKeyToAclIdMapping` into one stream.
class VORNACL_API AclKeyToAclIdMapping::KroNboAttrLogSa final
    : public Kro::NboAttrLog::AdapterOf<AclKeyToAclIdMapping> {
 public:
  using FlowOut = Kro::NboAttrLog::FlowOutOf<AclKeyToAclIdMapping>;

  using AdapterOf::AdapterOf;

  void onKeyToId(Zil::AclKey const& key) { handleKey(Attributes::keyToId, key); }
  void kroHandleKeyToIdSerializeSing(Zil::AclKey const& key, AclId const& id, bool removal) {
    serializeValue(Attributes::keyToId, key, removal ? nullptr : &id);
  }
  bool kroHandleKeyToIdSerializeColl() { return serializeCollection(Attributes::keyToId); }
};

}  // namespace Vorn
