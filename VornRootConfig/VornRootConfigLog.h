// The attribute-log adapters of this source's entity types: what the list makes of them, and members with names that do
// what the list does. Nothing of the library calls those.
#pragma once

#include "VornRootConfig/RootConfigColl.h"
#include "runtime/log/AdapterOf.h"

namespace Vorn {

/// Mirrors a `RootConfig` into one stream.
class VORNACL_API RootConfig::KroNboAttrLogSa final : public Kro::NboAttrLog::AdapterOf<RootConfig> {
 public:
  using FlowOut = Kro::NboAttrLog::FlowOutOf<RootConfig>;

  using AdapterOf::AdapterOf;

  void onActive() { handleScalar(row<&RootConfig::active_>); }
  void onVornAclColl() { handleChild(row<&RootConfig::vornAclColl_>); }
  void onAclKeyToAclId() { handleChild(row<&RootConfig::aclKeyToAclId_>); }
  void onAction() { handleScalar(row<&RootConfig::action_>); }
  void onVornRootKickTime() { handleScalar(row<&RootConfig::vornRootKickTime_>); }
  void onVornRootKick() { handleScalar(row<&RootConfig::vornRootKick_>); }
  void onInitialized() { handleScalar(row<&RootConfig::initialized_>); }

  /// The adapters of the children: find; find or make and announce; remove.
  Kro::Ptr<Entity::KroNboAttrLogSa> vornAclCollNboAttrLogAdapter(VornAclColl const& child) const {
    return childAdapter(row<&RootConfig::vornAclColl_>, child);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> vornAclCollNboAttrLogAdapterIs(std::uint32_t flags, VornAclColl const& child) {
    return announceChild(row<&RootConfig::vornAclColl_>, flags & inheritedBits, child);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> vornAclCollNboAttrLogAdapterDel(VornAclColl& child) {
    return childAdapterDel(row<&RootConfig::vornAclColl_>, child);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> aclKeyToAclIdNboAttrLogAdapter(AclKeyToAclIdMapping const& child) const {
    return childAdapter(row<&RootConfig::aclKeyToAclId_>, child);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> aclKeyToAclIdNboAttrLogAdapterIs(std::uint32_t flags,
                                                                     AclKeyToAclIdMapping const& child) {
    return announceChild(row<&RootConfig::aclKeyToAclId_>, flags & inheritedBits, child);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> aclKeyToAclIdNboAttrLogAdapterDel(AclKeyToAclIdMapping& child) {
    return childAdapterDel(row<&RootConfig::aclKeyToAclId_>, child);
  }
};

/// Mirrors a `RootConfigColl` into one stream.
class VORNACL_API RootConfigColl::KroNboAttrLogSa final : public Kro::NboAttrLog::AdapterOf<RootConfigColl> {
 public:
  using FlowOut = Kro::NboAttrLog::FlowOutOf<RootConfigColl>;

  using AdapterOf::AdapterOf;

  void onChipRootConfig(std::uint32_t key) { handleKey(row<&RootConfigColl::chipRootConfig_>, key); }
  void onChipRootConfigLastFailed(ChipId key) { handleKey(row<&RootConfigColl::chipRootConfigLastFailed_>, key); }
  /// Write or mark one entry; a null pointer is a removal.
  void kroHandleChipRootConfigSerializeSing(std::uint32_t key, Kro::Ptr<RootConfig> const& configuration) {
    serializeEntity(row<&RootConfigColl::chipRootConfig_>, key, configuration);
  }
  void kroHandleChipRootConfigLastFailedSerializeSing(ChipId key, Kro::Ptr<RootConfig const> const& configuration) {
    serializeReference(row<&RootConfigColl::chipRootConfigLastFailed_>, key, configuration);
  }
  bool kroHandleChipRootConfigSerializeColl() { return serializeCollection(row<&RootConfigColl::chipRootConfig_>); }
  bool kroHandleChipRootConfigLastFailedSerializeColl() {
    return serializeCollection(row<&RootConfigColl::chipRootConfigLastFailed_>);
  }
  /// The adapter of a member: find; find or make and announce; remove.
  Kro::Ptr<Entity::KroNboAttrLogSa> chipRootConfigNboAttrLogAdapter(RootConfig const& configuration) const {
    return childAdapter(row<&RootConfigColl::chipRootConfig_>, configuration);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> chipRootConfigNboAttrLogAdapterIs(std::uint32_t flags, RootConfig& configuration) {
    return announceMember(row<&RootConfigColl::chipRootConfig_>, flags & inheritedBits, configuration);
  }
  Kro::Ptr<Entity::KroNboAttrLogSa> chipRootConfigNboAttrLogAdapterDel(RootConfig& configuration) {
    return childAdapterDel(row<&RootConfigColl::chipRootConfig_>, configuration);
  }
};

}  // namespace Vorn
