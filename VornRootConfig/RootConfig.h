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
class VORNACL_API RootConfig : public Kro::Entity {
 public:
  class NotifieeConst;
  class Notifiee;
  class KroNboAttrLogSa;
  class GenericIf_;
  class _Type;
  struct Attributes;

  using Observers = Kro::ObserverList<Kro::NotifieeOf<RootConfig>>;

  RootConfig(Kro::Name name, std::uint32_t rootConfigId, ChipId chipId);
  ~RootConfig() override;

  std::uint32_t rootConfigId() const { return counted(rootConfigId_); }
  ChipId chipId() const { return counted(chipId_); }
  bool active() const { return counted(active_); }
  /// The ACLs, null before there are any.
  Kro::Ptr<VornAclColl> vornAclColl() const { return counted(vornAclColl_); }
  /// The key mapping, null before there is one.
  Kro::Ptr<AclKeyToAclIdMapping> aclKeyToAclId() const { return counted(aclKeyToAclId_); }
  RootAction action() const { return counted(action_); }
  /// When the last kick was given, in seconds.
  double vornRootKickTime() const { return counted(vornRootKickTime_); }
  /// Number of kicks; wraps.
  std::uint32_t vornRootKick() const { return counted(vornRootKick_); }
  bool initialized() const { return counted(initialized_); }

  void activeIs(bool active);
  void actionIs(RootAction action);
  /// A NaN is a change every time.
  void vornRootKickTimeIs(double const& seconds);
  void vornRootKickIs(std::uint32_t kick);
  void initializedIs(bool initialized);
  /// Adds to the kick counter and returns the new value; tells the observers unless `n` is 0. The mutation counter is
  /// left alone.
  std::uint32_t vornRootKickInc(std::uint32_t n);

  /// Makes a child of this entity without storing it. Its parent is not counted: clear it (`parentIs`) before this
  /// entity goes. Callers use `vornAclCollIs` and `aclKeyToAclIdIs`.
  Kro::Ptr<VornAclColl> newVornAclColl(Kro::Name name);
  Kro::Ptr<AclKeyToAclIdMapping> newAclKeyToAclId(Kro::Name name);
  /// Gets the child of this name or creates it, replacing one of another name.
  Kro::Ptr<VornAclColl> vornAclCollIs(Kro::Name name);
  Kro::Ptr<AclKeyToAclIdMapping> aclKeyToAclIdIs(Kro::Name name);
  /// Removes the child and returns it, without parent; null where there is none.
  Kro::Ptr<VornAclColl> vornAclCollDel();
  Kro::Ptr<AclKeyToAclIdMapping> aclKeyToAclIdDel();
  /// Creates the children "VornAclColl" and "AclKeyToAclId" and sets `initialized`; does nothing when that is set.
  void initialize();

  /// Whether another configuration has the same chip and equal children; nothing else is compared.
  bool equal(Kro::Ptr<RootConfig const> const& rootConfig) const;

  void zeroReferencesIs(bool) override;
  Kro::Ptr<Kro::KroType const> fwkType() const override { return _fwkType(); }
  static Kro::Ptr<Kro::KroType const> _fwkType();
  unsigned auditErrors(unsigned level) const override;
  Kro::String8 attributeString(Kro::AttributeId id) const override;
  using Entity::kroNboAttrLogSa;
  bool kroHasAttrLogInterface() const override { return true; }
  Kro::Ptr<Entity::KroNboAttrLogSa> kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask,
                                                      Kro::Ptr<Kro::NboAttrLog::Out> const& out,
                                                      Kro::PtrInterface* parent) override;
  Kro::String8 kroKeyText() const override;

  Observers& kroObservers() const { return observers_; }
  /// How a collection chains its configurations.
  struct KroHashLink {
    static std::uint32_t const& key(RootConfig const& configuration) { return configuration.rootConfigId_; }
    static Kro::Ptr<RootConfig>& next(RootConfig& configuration) { return configuration.next_; }
    static void nextChanged(RootConfig& configuration) { configuration.kroCountMutation(); }
  };

 private:
  template <class T>
  T const& counted(T const& value) const {
    kroCountRead();
    return value;
  }

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

/// Observes a `RootConfig`.
class VORNACL_API RootConfig::Notifiee : public RootConfig::NotifieeConst {
 public:
  ~Notifiee() override;
};

struct RootConfig::Attributes {
  using T = RootConfig;
  using N = T::NotifieeConst;
  static constexpr std::string_view typeName = "Vorn::RootConfig";
  static constexpr bool isNamed = true;
  static constexpr auto rootConfigId = Kro::parameter<258>("rootConfigId", &T::rootConfigId_, &T::rootConfigId);
  static constexpr auto chipId = Kro::parameter<259>("chipId", &T::chipId_, &T::chipId);
  static constexpr auto active = Kro::scalar<260>("active", &T::active_, &T::active, &T::activeIs, &N::onActive);
  static constexpr auto vornAclColl =
      Kro::child<261>("vornAclColl", &T::vornAclColl_, &T::vornAclColl, &T::newVornAclColl, &T::vornAclCollIs,
                      &T::vornAclCollDel, &N::onVornAclColl);
  static constexpr auto aclKeyToAclId =
      Kro::child<262>("aclKeyToAclId", &T::aclKeyToAclId_, &T::aclKeyToAclId, &T::newAclKeyToAclId, &T::aclKeyToAclIdIs,
                      &T::aclKeyToAclIdDel, &N::onAclKeyToAclId);
  static constexpr auto action = Kro::scalar<263>("action", &T::action_, &T::action, &T::actionIs, &N::onAction);
  static constexpr auto vornRootKickTime = Kro::scalar<264>(
      "vornRootKickTime", &T::vornRootKickTime_, &T::vornRootKickTime, &T::vornRootKickTimeIs, &N::onVornRootKickTime);
  static constexpr auto vornRootKick =
      Kro::counter<265>("vornRootKick", &T::vornRootKick_, &T::vornRootKick, &T::vornRootKickIs, &N::onVornRootKick);
  static constexpr auto equal = Kro::operation<266>("equal", &T::equal, "rootConfig");
  static constexpr auto initialized =
      Kro::scalar<267>("initialized", &T::initialized_, &T::initialized, &T::initializedIs, &N::onInitialized);
  static constexpr auto initialize = Kro::operation<268>("initialize", &T::initialize);
  static constexpr auto all = std::tuple(rootConfigId, chipId, active, vornAclColl, aclKeyToAclId, action,
                                         vornRootKickTime, vornRootKick, equal, initialized, initialize);
};
static_assert(Kro::hasRunningIds<RootConfig>());

}  // namespace Vorn
