// One access-control list.
#pragma once

#include "VornAclTable/AceIndex.h"
#include "VornAclTable/IpRuleConfig.h"
#include "VornAclTable/MacRuleConfig.h"
#include "VornAclTypes/AclId.h"
#include "platform/Acl/AclType.h"
#include "runtime/entity/EntityAttributes.h"
#include "runtime/entity/NotifieeOf.h"

namespace Vorn {

/// One access-control list of a chip: identified by its `AclId`, of a kind, with the name that the command line knows
/// it by, and its IP and MAC rules by position. Its members are made by `VornAclColl`; a stand-alone one is adopted:
/// `auto acl = Kro::adopt(new VornAcl(id, Acl::ip, "in"))`. Its entity name is empty.
///
/// Iteration over rules is in ascending order of their `AceIndex`. Every change of a rule adds 1 to the mutation
/// counter and tells the observers its position; each accessor adds 1 to the read counter. Change and read one ACL on
/// one thread at a time.
class VORNACL_API VornAcl : public Kro::Entity {
 public:
  class NotifieeConst;
  class Notifiee;
  class KroNboAttrLogSa;
  class GenericIf_;
  class _Type;
  struct Attributes;

  /// Member record of `ipRuleById`.
  class VORNACL_API KroIpRuleById final : public Kro::RbTreeNode<AceIndex, IpRuleConfig> {
   public:
    using RbTreeNode::RbTreeNode;
  };
  /// Member record of `macRuleById`.
  class VORNACL_API KroMacRuleById final : public Kro::RbTreeNode<AceIndex, MacRuleConfig> {
   public:
    using RbTreeNode::RbTreeNode;
  };
  using IpRuleByIdMap = Kro::RbTreeMap<KroIpRuleById, AceIndex, IpRuleConfig>;
  using MacRuleByIdMap = Kro::RbTreeMap<KroMacRuleById, AceIndex, MacRuleConfig>;
  using Observers = Kro::ObserverList<Kro::NotifieeOf<VornAcl>>;

  VornAcl(AclId const& aclId, Acl::AclType aclType, Kro::Name cliName);
  ~VornAcl() override;

  AclId aclId() const { return counted(aclId_); }
  Acl::AclType aclType() const { return counted(aclType_); }
  Kro::Name cliName() const { return counted(cliName_); }

  /// The rule at a position, or the default rule where there is none.
  IpRuleConfig ipRuleById(AceIndex const& key) const;
  MacRuleConfig macRuleById(AceIndex const& key) const;
  /// Number of rules; counts one read.
  std::uint32_t ipRuleByIdSize() const { return counted(ipRuleById_.size()); }
  std::uint32_t macRuleByIdSize() const { return counted(macRuleById_.size()); }
  /// The maps themselves, for iterators; counts nothing. They change through the mutators alone.
  IpRuleByIdMap const& ipRuleByIdMap() const { return ipRuleById_; }
  MacRuleByIdMap const& macRuleByIdMap() const { return macRuleById_; }
  /// An iterator at the first rule, for the iterator removers.
  IpRuleByIdMap::Iterator ipRuleByIdIterator() { return IpRuleByIdMap::Iterator(ipRuleById_); }
  MacRuleByIdMap::Iterator macRuleByIdIterator() { return MacRuleByIdMap::Iterator(macRuleById_); }

  /// Stores a rule without counting or telling it: mirrors never hear of it. Callers use `ipRuleByIdIs`.
  Kro::Ptr<KroIpRuleById> newIpRuleById(AceIndex const& key, IpRuleConfig const& value);
  Kro::Ptr<KroMacRuleById> newMacRuleById(AceIndex const& key, MacRuleConfig const& value);
  /// Removes every rule, in ascending order, each counted and told by itself.
  void ipRuleByIdDelAll();
  void macRuleByIdDelAll();

  /// Whether another ACL has the same id, kind, name and rules. A rule that is absent there counts as the default rule,
  /// and only this ACL's rules are looked up: it is no proof that two ACLs are alike.
  bool equal(Kro::Ptr<VornAcl const> const& acl) const;

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

  /// Removes a rule and returns it; the default rule where there is none.
  virtual IpRuleConfig ipRuleByIdDel(AceIndex const& key);
  virtual IpRuleConfig ipRuleByIdDel(IpRuleByIdMap::Iterator& iterator);
  /// Tells the observers that the rule at this position changed.
  virtual void ipRuleByIdNotify(AceIndex const& key);
  /// Sets one rule. An equal rule changes nothing; storing the default rule at a free position is a change.
  virtual void ipRuleByIdIs(AceIndex const& key, IpRuleConfig const& value);
  virtual MacRuleConfig macRuleByIdDel(AceIndex const& key);
  virtual MacRuleConfig macRuleByIdDel(MacRuleByIdMap::Iterator& iterator);
  virtual void macRuleByIdNotify(AceIndex const& key);
  virtual void macRuleByIdIs(AceIndex const& key, MacRuleConfig const& value);

  /// The observer list; for observers and the generic algorithms.
  Observers& kroObservers() const { return observers_; }
  /// How a collection chains its ACLs.
  struct KroHashLink {
    static AclId const& key(VornAcl const& acl) { return acl.aclId_; }
    static Kro::Ptr<VornAcl>& next(VornAcl& acl) { return acl.next_; }
    static void nextChanged(VornAcl& acl) { acl.kroCountMutation(); }
  };

 private:
  template <class T>
  T const& counted(T const& value) const {
    kroCountRead();
    return value;
  }
  std::uint32_t counted(std::uint32_t value) const {
    kroCountRead();
    return value;
  }

  AclId aclId_;
  Acl::AclType aclType_;
  Kro::Name cliName_;
  IpRuleByIdMap ipRuleById_;
  MacRuleByIdMap macRuleById_;
  Kro::Ptr<VornAcl> next_;
  mutable Observers observers_;
};

/// Observes a `VornAcl` without changing it.
class VORNACL_API VornAcl::NotifieeConst : public Kro::NotifieeOf<VornAcl> {
 public:
  ~NotifieeConst() override;
  /// The IP rule at this position was set, changed or removed; only this keyed form is called by the entity.
  virtual void onIpRuleById(AceIndex const&) {}
  virtual void onIpRuleByIdkroImmediate() {}
  virtual void onIpRuleById() {}
  virtual void onMacRuleById(AceIndex const&) {}
  virtual void onMacRuleByIdkroImmediate() {}
  virtual void onMacRuleById() {}
};

/// Observes a `VornAcl`.
class VORNACL_API VornAcl::Notifiee : public VornAcl::NotifieeConst {
 public:
  ~Notifiee() override;
};

struct VornAcl::Attributes {
  using T = VornAcl;
  using N = T::NotifieeConst;
  static constexpr std::string_view typeName = "Vorn::VornAcl";
  static constexpr bool isNamed = false;
  static constexpr auto aclId = Kro::parameter<258>("aclId", &T::aclId_, &T::aclId);
  static constexpr auto aclType = Kro::parameter<259>("aclType", &T::aclType_, &T::aclType);
  static constexpr auto cliName = Kro::parameter<260>("cliName", &T::cliName_, &T::cliName);
  static constexpr auto ipRuleById =
      Kro::values<261>("ipRuleById", &T::ipRuleById_, &T::ipRuleByIdIs, &T::ipRuleByIdDel, &T::ipRuleByIdDel,
                       &T::ipRuleByIdNotify, &N::onIpRuleById);
  static constexpr auto macRuleById =
      Kro::values<262>("macRuleById", &T::macRuleById_, &T::macRuleByIdIs, &T::macRuleByIdDel, &T::macRuleByIdDel,
                       &T::macRuleByIdNotify, &N::onMacRuleById);
  static constexpr auto equal = Kro::operation<263>("equal", &T::equal, "acl");
  static constexpr auto all = std::tuple(aclId, aclType, cliName, ipRuleById, macRuleById, equal);
};
static_assert(Kro::hasRunningIds<VornAcl>());

}  // namespace Vorn
