// One access-control list.
#pragma once

#include "VornAclTable/AceIndex.h"
#include "VornAclTable/IpRuleConfig.h"
#include "VornAclTable/MacRuleConfig.h"
#include "VornAclTypes/AclId.h"
#include "platform/Acl/AclType.h"
#include "runtime/reflection/EntityOf.h"

namespace Vorn {

/// One access-control list of a chip: identified by its `AclId`, of a kind, with the name that the command line knows
/// it by, and its IP and MAC rules by position. Its members are made by `VornAclColl`; a stand-alone one is adopted:
/// `auto acl = Kro::adopt(new VornAcl(id, Acl::ip, "in"))`. Its entity name is empty.
///
/// Iteration over rules is in ascending order of their `AceIndex`. Every change of a rule adds 1 to the mutation
/// counter and tells the observers its position; each accessor adds 1 to the read counter. Change and read one ACL on
/// one thread at a time.
class VORNACL_API VornAcl : public Kro::EntityOf<VornAcl> {
 public:
  class NotifieeConst;
  class KroNboAttrLogSa;
  struct Attributes;

  VornAcl(AclId const& aclId, Acl::AclType aclType, Kro::Name cliName);
  ~VornAcl() override;

  AclId aclId() const { return counted(aclId_); }
  Acl::AclType aclType() const { return counted(aclType_); }
  Kro::Name cliName() const { return counted(cliName_); }

  /// Whether another ACL has the same id, kind, name and rules. A rule that is absent there counts as the default rule,
  /// and only this ACL's rules are looked up: it is no proof that two ACLs are alike.
  bool equal(Kro::Ptr<VornAcl const> const& acl) const;

  /// The observer list; for observers and the generic algorithms.
  Observers& kroObservers() const { return observers_; }

 private:
  AclId aclId_;
  Acl::AclType aclType_;
  Kro::Name cliName_;

 public:
  /// Member record of `ipRuleById`, and the map of the IP rules.
  using KroIpRuleById = Kro::RbTreeNode<AceIndex, IpRuleConfig>;
  using IpRuleByIdMap = Kro::RbTreeMap<KroIpRuleById, AceIndex, IpRuleConfig>;

  /// The rule at a position, or the default rule where there is none.
  IpRuleConfig ipRuleById(AceIndex const& key) const;
  /// Number of rules; counts one read.
  std::uint32_t ipRuleByIdSize() const { return counted(ipRuleById_.size()); }
  /// The map itself, for iterators; counts nothing. It changes through the mutators alone.
  IpRuleByIdMap const& ipRuleByIdMap() const { return ipRuleById_; }
  /// An iterator at the first rule, for the iterator remover.
  IpRuleByIdMap::Iterator ipRuleByIdIterator() { return IpRuleByIdMap::Iterator(ipRuleById_); }
  /// Stores a rule without counting or telling it: mirrors never hear of it. Callers use `ipRuleByIdIs`.
  Kro::Ptr<KroIpRuleById> newIpRuleById(AceIndex const& key, IpRuleConfig const& value);
  /// Removes every rule, in ascending order, each counted and told by itself.
  void ipRuleByIdDelAll();
  /// Removes a rule and returns it; the default rule where there is none.
  virtual IpRuleConfig ipRuleByIdDel(AceIndex const& key);
  virtual IpRuleConfig ipRuleByIdDel(IpRuleByIdMap::Iterator& iterator);
  /// Tells the observers that the rule at this position changed.
  virtual void ipRuleByIdNotify(AceIndex const& key);
  /// Sets one rule. An equal rule changes nothing; storing the default rule at a free position is a change.
  virtual void ipRuleByIdIs(AceIndex const& key, IpRuleConfig const& value);

 private:
  IpRuleByIdMap ipRuleById_;

 public:
  /// The MAC rules, in the same way.
  using KroMacRuleById = Kro::RbTreeNode<AceIndex, MacRuleConfig>;
  using MacRuleByIdMap = Kro::RbTreeMap<KroMacRuleById, AceIndex, MacRuleConfig>;

  MacRuleConfig macRuleById(AceIndex const& key) const;
  std::uint32_t macRuleByIdSize() const { return counted(macRuleById_.size()); }
  MacRuleByIdMap const& macRuleByIdMap() const { return macRuleById_; }
  MacRuleByIdMap::Iterator macRuleByIdIterator() { return MacRuleByIdMap::Iterator(macRuleById_); }
  Kro::Ptr<KroMacRuleById> newMacRuleById(AceIndex const& key, MacRuleConfig const& value);
  void macRuleByIdDelAll();
  virtual MacRuleConfig macRuleByIdDel(AceIndex const& key);
  virtual MacRuleConfig macRuleByIdDel(MacRuleByIdMap::Iterator& iterator);
  virtual void macRuleByIdNotify(AceIndex const& key);
  virtual void macRuleByIdIs(AceIndex const& key, MacRuleConfig const& value);

 private:
  MacRuleByIdMap macRuleById_;

  Kro::Ptr<VornAcl> next_;
  mutable Observers observers_;

 public:
  /// How a collection chains its ACLs.
  using KroHashLink = Kro::MemberLink<&VornAcl::aclId_, &VornAcl::next_>;
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

struct VornAcl::Attributes {
  using T = VornAcl;
  using N = T::NotifieeConst;
  static constexpr std::string_view typeName = "Vorn::VornAcl";
  static constexpr bool isNamed = false;
  static constexpr auto all = std::tuple{
      Kro::parameter<258>("aclId", &T::aclId_, &T::aclId),
      Kro::parameter<259>("aclType", &T::aclType_, &T::aclType),
      Kro::parameter<260>("cliName", &T::cliName_, &T::cliName),
      Kro::values<261>("ipRuleById", &T::ipRuleById_, &T::ipRuleByIdIs, &T::ipRuleByIdDel, &T::ipRuleByIdDel,
                       &T::ipRuleByIdNotify, &N::onIpRuleById),
      Kro::values<262>("macRuleById", &T::macRuleById_, &T::macRuleByIdIs, &T::macRuleByIdDel, &T::macRuleByIdDel,
                       &T::macRuleByIdNotify, &N::onMacRuleById),
      Kro::operation<263>("equal", &T::equal, "acl"),
  };
};

}  // namespace Vorn

extern template class Kro::EntityOf<Vorn::VornAcl>;
