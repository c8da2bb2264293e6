// The root of one chip's ACL configuration.
#pragma once

#include "VornAclTable/AclKeyToAclIdMapping.h"
#include "VornAclTable/VornAclColl.h"
#include "VornAclTypes/ChipId.h"
#include "VornRootConfig/RootAction.h"

namespace Vorn {

/// The root of one chip's ACL configuration: the chip's identity, its ACLs and key mapping, and the control attributes
/// through which one process tells another what to do with them. The library stores, tells and streams the control
/// attributes and gives them no meaning.
class VORNACL_API RootConfig : public Kro::EntityOf<RootConfig> {
 public:
  class NotifieeConst;
  class KroNboAttrLogSa;
  struct Attributes;

  RootConfig(Kro::Name name, std::uint32_t rootConfigId, ChipId chipId);
  ~RootConfig() override;

  std::uint32_t rootConfigId() const { return counted(rootConfigId_); }
  ChipId chipId() const { return counted(chipId_); }

  bool active() const { return counted(active_); }
  void activeIs(bool active);

  /// The ACLs, null before there are any.
  Kro::Ptr<VornAclColl> vornAclColl() const { return counted(vornAclColl_); }
  /// Gets the child of this name or creates it, replacing one of another name.
  Kro::Ptr<VornAclColl> vornAclCollIs(Kro::Name name);
  /// Makes a child of this entity without storing it. Its parent is not counted: clear it (`parentIs`) before this
  /// entity goes. Callers use `vornAclCollIs`.
  Kro::Ptr<VornAclColl> newVornAclColl(Kro::Name name);
  /// Removes the child and returns it, without parent; null where there is none.
  Kro::Ptr<VornAclColl> vornAclCollDel();

  /// The key mapping, null before there is one; and the same operations.
  Kro::Ptr<AclKeyToAclIdMapping> aclKeyToAclId() const { return counted(aclKeyToAclId_); }
  Kro::Ptr<AclKeyToAclIdMapping> aclKeyToAclIdIs(Kro::Name name);
  Kro::Ptr<AclKeyToAclIdMapping> newAclKeyToAclId(Kro::Name name);
  Kro::Ptr<AclKeyToAclIdMapping> aclKeyToAclIdDel();

  RootAction action() const { return counted(action_); }
  void actionIs(RootAction action);

  /// When the last kick was given, in seconds.
  double vornRootKickTime() const { return counted(vornRootKickTime_); }
  /// A NaN is a change every time.
  void vornRootKickTimeIs(double const& seconds);

  /// Number of kicks; wraps.
  std::uint32_t vornRootKick() const { return counted(vornRootKick_); }
  void vornRootKickIs(std::uint32_t kick);
  /// Adds to the kick counter and returns the new value; tells the observers unless `n` is 0. The mutation counter is
  /// left alone.
  std::uint32_t vornRootKickInc(std::uint32_t n);

  bool initialized() const { return counted(initialized_); }
  void initializedIs(bool initialized);
  /// Creates the children "VornAclColl" and "AclKeyToAclId" and sets `initialized`; does nothing when that is set.
  void initialize();

  /// Whether another configuration has the same chip and equal children; nothing else is compared.
  bool equal(Kro::Ptr<RootConfig const> const& rootConfig) const;

  Observers& kroObservers() const { return observers_; }

 private:
  std::uint32_t rootConfigId_;
  ChipId chipId_;
  bool active_ = false;
  Kro::Ptr<VornAclColl> vornAclColl_;
  Kro::Ptr<AclKeyToAclIdMapping> aclKeyToAclId_;
  RootAction action_ = vornCompute;
  double vornRootKickTime_ = 0.0;
  std::uint32_t vornRootKick_ = 0;
  bool initialized_ = false;
  mutable Observers observers_;
  Kro::Ptr<RootConfig> next_;

 public:
  /// How a collection chains its configurations.
  using KroHashLink = Kro::MemberLink<&RootConfig::rootConfigId_, &RootConfig::next_>;
};

/// A new configuration without parent; it is not initialized.
VORNACL_API Kro::Ptr<RootConfig> rootConfigFactory(Kro::Name name, std::uint32_t rootConfigId, ChipId chipId);

/// Observes a `RootConfig` without changing it.
class VORNACL_API RootConfig::NotifieeConst : public Kro::NotifieeOf<RootConfig> {
 public:
  ~NotifieeConst() override;
  virtual void onActive() {}
  virtual void onVornAclColl() {}
  virtual void onAclKeyToAclId() {}
  virtual void onAction() {}
  virtual void onVornRootKickTime() {}
  virtual void onVornRootKick() {}
  virtual void onInitialized() {}
};

struct RootConfig::Attributes {
  using T = RootConfig;
  using N = T::NotifieeConst;
  static constexpr std::string_view typeName = "Vorn::RootConfig";
  static constexpr bool isNamed = true;
  static constexpr auto all = std::tuple{
      Kro::parameter<258>("rootConfigId", &T::rootConfigId_, &T::rootConfigId),
      Kro::parameter<259>("chipId", &T::chipId_, &T::chipId),
      Kro::scalar<260>("active", &T::active_, &T::active, &T::activeIs, &N::onActive),
      Kro::child<261>("vornAclColl", &T::vornAclColl_, &T::vornAclColl, &T::newVornAclColl, &T::vornAclCollIs,
                      &T::vornAclCollDel, &N::onVornAclColl),
      Kro::child<262>("aclKeyToAclId", &T::aclKeyToAclId_, &T::aclKeyToAclId, &T::newAclKeyToAclId, &T::aclKeyToAclIdIs,
                      &T::aclKeyToAclIdDel, &N::onAclKeyToAclId),
      Kro::scalar<263>("action", &T::action_, &T::action, &T::actionIs, &N::onAction),
      Kro::scalar<264>("vornRootKickTime", &T::vornRootKickTime_, &T::vornRootKickTime, &T::vornRootKickTimeIs,
                       &N::onVornRootKickTime),
      Kro::counter<265>("vornRootKick", &T::vornRootKick_, &T::vornRootKick, &T::vornRootKickIs, &N::onVornRootKick),
      Kro::operation<266>("equal", &T::equal, "rootConfig"),
      Kro::scalar<267>("initialized", &T::initialized_, &T::initialized, &T::initializedIs, &N::onInitialized),
      Kro::operation<268>("initialize", &T::initialize),
  };
};

}  // namespace Vorn

extern template class Kro::EntityOf<Vorn::RootConfig>;
