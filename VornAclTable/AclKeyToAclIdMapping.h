// The mapping from external ACL keys to ACL identifiers.
#pragma once

#include "VornAclTypes/AclId.h"
#include "platform/Zil/AclKey.h"
#include "runtime/reflection/EntityOf.h"

namespace Vorn {

/// Translates the key by which other parts of a system name an ACL into the model's `AclId`. Iteration is in ascending
/// order of the keys. Every change of an entry adds 1 to the mutation counter and tells the observers its key.
class VORNACL_API AclKeyToAclIdMapping : public Kro::EntityOf<AclKeyToAclIdMapping> {
 public:
  class NotifieeConst;
  class KroNboAttrLogSa;
  struct Attributes;

  explicit AclKeyToAclIdMapping(Kro::Name name);
  ~AclKeyToAclIdMapping() override;

  /// Whether another mapping holds the same entries; an absent key counts as the default `AclId` there.
  bool equal(Kro::Ptr<AclKeyToAclIdMapping const> const& keyToIdMapping) const;

  Observers& kroObservers() const { return observers_; }

  /// Member record of `keyToId`, and its map.
  using KroKeyToId = Kro::RbTreeNode<Zil::AclKey, AclId>;
  using KeyToIdMap = Kro::RbTreeMap<KroKeyToId, Zil::AclKey, AclId>;

  /// The mapped id, or the default `AclId` for an absent key; counts one read.
  AclId keyToId(Zil::AclKey const& key) const;
  /// Number of entries; counts one read.
  std::uint32_t keyToIdSize() const { return counted(keyToId_.size()); }
  /// The map itself, for iterators, `operator[]` and `startAt`; counts nothing.
  KeyToIdMap const& keyToIdMap() const { return keyToId_; }
  /// An iterator at the first entry, for the iterator remover.
  KeyToIdMap::Iterator keyToIdIterator() { return KeyToIdMap::Iterator(keyToId_); }
  /// Sets one entry; an equal id changes nothing.
  void keyToIdIs(Zil::AclKey const& key, AclId const& id);
  /// Stores an entry without counting or telling it. Callers use `keyToIdIs`.
  Kro::Ptr<KroKeyToId> newKeyToId(Zil::AclKey const& key, AclId const& id);
  /// Removes an entry and returns its id; the default `AclId` where there is none. `key` may be the entry's own.
  AclId keyToIdDel(Zil::AclKey const& key);
  AclId keyToIdDel(KeyToIdMap::Iterator& iterator);
  /// Removes every entry, in ascending order, each counted and told by itself.
  void keyToIdDelAll();
  /// Tells the observers that the entry of this key changed.
  void keyToIdNotify(Zil::AclKey const& key);

 private:
  KeyToIdMap keyToId_;

  mutable Observers observers_;
};

/// A new mapping without parent.
VORNACL_API Kro::Ptr<AclKeyToAclIdMapping> aclKeyToAclIdMappingFactory(Kro::Name name);

/// Observes an `AclKeyToAclIdMapping` without changing it.
class VORNACL_API AclKeyToAclIdMapping::NotifieeConst : public Kro::NotifieeOf<AclKeyToAclIdMapping> {
 public:
  ~NotifieeConst() override;
  /// The entry of this key was set, changed or removed; only this keyed form is called by the entity.
  virtual void onKeyToId(Zil::AclKey const&) {}
  virtual void onKeyToIdkroImmediate() {}
  virtual void onKeyToId() {}
};

struct AclKeyToAclIdMapping::Attributes {
  using T = AclKeyToAclIdMapping;
  using N = T::NotifieeConst;
  static constexpr std::string_view typeName = "Vorn::AclKeyToAclIdMapping";
  static constexpr bool isNamed = true;
  static constexpr auto all = std::tuple{
      Kro::values<258>("keyToId", &T::keyToId_, &T::keyToIdIs, &T::keyToIdDel, &T::keyToIdDel, &T::keyToIdNotify,
                       &N::onKeyToId),
      Kro::operation<259>("equal", &T::equal, "keyToIdMapping"),
  };
};

}  // namespace Vorn

extern template class Kro::EntityOf<Vorn::AclKeyToAclIdMapping>;
