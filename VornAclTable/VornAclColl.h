// The ACLs of one chip.
#pragma once

#include "VornAclTable/VornAcl.h"

namespace Vorn {

/// The set of ACLs of one chip, by `AclId`. It creates its members itself and never re-creates one with other
/// parameters. Every addition and removal adds 1 to the mutation counter and tells the observers the ACL's id.
class VORNACL_API VornAclColl : public Kro::EntityOf<VornAclColl> {
 public:
  class NotifieeConst;
  class KroNboAttrLogSa;
  struct Attributes;

  explicit VornAclColl(Kro::Name name);
  ~VornAclColl() override;

  /// Whether another collection holds equal ACLs under the same ids; see `VornAcl::equal` for what that proves.
  bool equal(Kro::Ptr<VornAclColl const> const& vornAclColl) const;

  Observers& kroObservers() const { return observers_; }

  using AclMap = Kro::HashMap<VornAcl, AclId, VornAcl>;

  /// The ACL of that id, or null; counts one read.
  Kro::Ptr<VornAcl> acl(AclId const& aclId) const { return counted(acl_[aclId]); }
  /// Number of ACLs; counts one read.
  std::uint32_t aclSize() const { return counted(acl_.size()); }
  /// The map itself, for iterators; counts nothing. Its order is not defined for users.
  AclMap const& aclMap() const { return acl_; }
  /// An iterator at the first ACL, for the iterator remover.
  AclMap::Iterator aclIterator() { return AclMap::Iterator(acl_); }
  /// Gets or creates an ACL. An existing one with these parameters is returned, which counts a mutation and tells
  /// nobody; one with other parameters throws `NameInUseException` and changes nothing.
  Kro::Ptr<VornAcl> aclIs(AclId const& aclId, Acl::AclType aclType, Kro::Name cliName);
  /// Creates an ACL without counting or telling it. Precondition: no member has this id. Callers use `aclIs`.
  Kro::Ptr<VornAcl> newAcl(AclId const& aclId, Acl::AclType aclType, Kro::Name cliName);
  /// Removes an ACL and returns it, without parent; null where there is none.
  Kro::Ptr<VornAcl> aclDel(AclId const& aclId);
  Kro::Ptr<VornAcl> aclDel(AclMap::Iterator& iterator);
  /// Removes every ACL, each counted and told by itself.
  void aclDelAll();
  /// Tells the observers that the ACL of this id came or went.
  void aclNotify(AclId const& aclId);

 private:
  AclMap acl_{4};

  mutable Observers observers_;
};

/// A new collection without parent.
VORNACL_API Kro::Ptr<VornAclColl> vornAclCollFactory(Kro::Name name);

/// Observes a `VornAclColl` without changing it.
class VORNACL_API VornAclColl::NotifieeConst : public Kro::NotifieeOf<VornAclColl> {
 public:
  ~NotifieeConst() override;
  /// The ACL of this id was created or removed; only this keyed form is called by the entity.
  virtual void onAcl(AclId const&) {}
  virtual void onAclkroImmediate() {}
  virtual void onAcl() {}
};

struct VornAclColl::Attributes {
  using T = VornAclColl;
  using N = T::NotifieeConst;
  static constexpr std::string_view typeName = "Vorn::VornAclColl";
  static constexpr bool isNamed = true;
  static constexpr auto all = std::tuple{
      Kro::members<258>("acl", &T::acl_, &T::aclIs, &T::aclDel, &T::aclDel, &T::aclNotify, &N::onAcl),
      Kro::operation<259>("equal", &T::equal, "vornAclColl"),
  };
};

}  // namespace Vorn

extern template class Kro::EntityOf<Vorn::VornAclColl>;
