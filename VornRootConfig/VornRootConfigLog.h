// The attribute-log adapters of this source's entity types.
#pragma once

#include "VornRootConfig/RootConfigColl.h"
#include "runtime/log/AdapterOf.h"

namespace Vorn {

/// Mirrors a `RootConfig` into one stream.
class VORNACL_API RootConfig::KroNboAttrLogSa final : public Kro::NboAttrLog::AdapterOf<RootConfig> {
 public:
  using FlowOut = Kro::NboAttrLog::FlowOutOf<RootConfig>;

  using AdapterOf::AdapterOf;

  void onActive() { handleScalar(Attributes::active); }
  void onVornAclColl() { handleChild(Attributes::vornAclColl); }
  void onAclKeyToAclId() { handleChild(Attributes::aclKeyToAclId); }
  void onAction() { handleScalar(Attributes::action); }
  void onVornRootKickTime() { handleScalar(Attributes::vornRootKickTime); }
  void onVornRootKick() { handleScalar(Attributes::vornRootKick); }
  void onInitialized() { handleScalar(Attributes::initialized); }

  /// The adapters of the children: find; find or make and announce; remove.
  Kro::Ptr<Entity::KroNboAttrLogSa> vornAclCollNboAttrLogAdapter(VornAclColl const& child) const {
    return childAdapter(Attributes::vornAclColl, child);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> vornAclCollNboAttrLogAdapterIs(std::uint32_t flags, VornAclColl const& child) {
    return announceChild(Attributes::vornAclColl, flags & inheritedBits, child);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> vornAclCollNboAttrLogAdapterDel(VornAclColl& child) {
    return childAdapterDel(Attributes::vornAclColl, child);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> aclKeyToAclIdNboAttrLogAdapter(AclKeyToAclIdMapping const& child) const {
    return childAdapter(Attributes::aclKeyToAclId, child);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> aclKeyToAclIdNboAttrLogAdapterIs(std::uint32_t flags,
                                                                     AclKeyToAclIdMapping const& child) {
    return announceChild(Attributes::aclKeyToAclId, flags & inheritedBits, child);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> aclKeyToAclIdNboAttrLogAdapterDel(AclKeyToAclIdMapping& child) {
    return childAdapterDel(Attributes::aclKeyToAclId, child);
  }
};

/// Mirrors a `RootConfigColl` into one stream.
class VORNACL_API RootConfigColl::KroNboAttrLogSa final : public Kro::NboAttrLog::AdapterOf<RootConfigColl> {
 public:
  using FlowOut = Kro::NboAttrLog::FlowOutOf<RootConfigColl>;

  using AdapterOf::AdapterOf;

  void onChipRootConfig(std::uint32_t key) { handleKey(Attributes::chipRootConfig, key); }
  void onChipRootConfigLastFailed(ChipId key) { handleKey(Attributes::chipRootConfigLastFailed, key); }
  /// Write or mark one entry; a null pointer is a removal.
  void kroHandleChipRootConfigSerializeSing(std::uint32_t key, Kro::Ptr<RootConfig> const& configuration) {
    serializeEntity(Attributes::chipRootConfig, key, configuration);
  }
  void kroHandleChipRootConfigLastFailedSerializeSing(ChipId key, Kro::Ptr<RootConfig const> const& configuration) {
    serializeReference(Attributes::chipRootConfigLastFailed, key, configuration);
  }
  bool kroHandleChipRootConfigSerializeColl() { return serializeCollection(Attributes::chipRootConfig); }
  bool kroHandleChipRootConfigLastFailedSerializeColl() {
    return serializeCollection(Attributes::chipRootConfigLastFailed);
  }
  /// The adapter of a member: find; find or make and announce; remove.
  Kro::Ptr<Entity::KroNboAttrLogSa> chipRootConfigNboAttrLogAdapter(RootConfig const& configuration) const {
    return childAdapter(Attributes::chipRootConfig, configuration);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> chipRootConfigNboAttrLogAdapterIs(std::uint32_t flags, RootConfig& configuration) {
    return announceMember(Attributes::chipRootConfig, flags & inheritedBits, configuration);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> chipRootConfigNboAttrLogAdapterDel(RootConfig& configuration) {
    return childAdapterDel(Attributes::chipRootConfig, configuration);
  }
};

}  // namespace Vorn
