// The base of every entity: a named, counted object with a parent, two counters and observers.
#pragma once

#include "runtime/core/AttributeId.h"
#include "runtime/core/Name.h"
#include "runtime/core/Ptr.h"
#include "runtime/entity/Notifiee.h"
#include "runtime/stream/Out.h"

namespace Kro {

class TreeFollower;
class TreeNode;

/// Base of every entity. Entities live on the heap and are reached through `Ptr<T>`; a parent owns its children. One
/// entity is changed by one thread at a time, and reading counts, too: two threads must not even read one entity at the
/// same time.
///
/// Counters: the mutation counter counts changes, as each mutator tells; the read counter counts attribute reads
/// through the accessors. Both start at 0 and wrap. Neither is mirrored.
class VORNACL_API Entity : public PtrInterface {
 public:
  class NotifieeConst;
  class Notifiee;
  class KroNboAttrLogSa;
  using Kro_BitSet = PtrInterface::NotifieeConst::Kro_BitSet;

  ~Entity() override;

  virtual Name name() const;
  /// The containing entity, null for a root.
  virtual Ptr<Entity const> parent() const;
  virtual Ptr<Entity> parent();
  /// Records the containing entity. Null also retires the stream adapters of this entity and of everything below it:
  /// what is done to a detached entity is told to no peer.
  virtual void parentIs(Ptr<Entity> const& parent);
  /// The name of the attribute of the parent that holds this entity, empty without a parent.
  virtual String8 parentAttr() const;
  virtual AttributeId parentAttrId() const;
  virtual void parentAttrIdIs(AttributeId id);
  /// The path from the root, beginning with a slash.
  virtual String8 uriPath() const;
  /// The path from the root, as `root/chipRootConfig[5]/vornAclColl/acl[ipv4PAcl:5:in]`. It starts with the root's
  /// name, or its type's short name where that is empty; within names `/ [ ] :`, quotes and backslashes are written
  /// `\xHH`.
  virtual String8 fullName() const;
  /// The name of an attribute, empty for an id that nobody has.
  virtual String8 attributeString(AttributeId id) const;
  virtual void kroNotifieeAdapterIs(Ptr<Entity const> const& adapter);
  /// Called by `parentIs` after the parent was stored; does nothing in the base.
  virtual void handleParent(Ptr<Entity> const& parent);
  /// The adapter that mirrors this entity into a stream, or null.
  virtual Ptr<KroNboAttrLogSa const> kroNboAttrLogSa(Ptr<NboAttrLog::Out const> const& out) const;
  /// Whether the entity can be mirrored.
  virtual bool kroHasAttrLogInterface() const;
  virtual Ptr<KroNboAttrLogSa> kroNboAttrLogSa(Ptr<NboAttrLog::Out const> const& out);
  /// Another adapter of this entity that belongs to the same message channel as the given one, or null.
  virtual Ptr<KroNboAttrLogSa> kroNboAttrLogSaForMsgChannel(Ptr<KroNboAttrLogSa> const& adapter) const;
  /// Finds or makes the adapter for a stream: the bits of `mask` in `flags` replace those of an existing adapter.
  /// Throws `RangeException` "null ValidPtr" for a null stream.
  virtual Ptr<KroNboAttrLogSa> kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask, Ptr<NboAttrLog::Out> const& out,
                                                 PtrInterface* parent);
  /// Removes the adapter for a stream and returns it, or null.
  virtual Ptr<KroNboAttrLogSa> kroNboAttrLogSaDel(Ptr<NboAttrLog::Out const> const& out);

  /// The text of this entity's key in the collection that holds it, empty where it is no member.
  virtual String8 kroKeyText() const;
  /// A new observer that follows this entity for a `TreeObserver`; null where the type has none.
  virtual TreeNode* kroNewTreeNode(TreeFollower& follower);

  /// How often this entity was changed.
  std::uint32_t mutationCount() const { return mutationCount_; }
  /// How often an attribute of this entity was read.
  std::uint32_t readCount() const { return readCount_; }
  /// Adds to the counters; for the generic algorithms on attributes.
  void kroCountMutation() { ++mutationCount_; }
  void kroCountRead() const { ++readCount_; }
  /// First of the adapters that mirror this entity, linked through `KroNboAttrLogSa::nextOfEntity`.
  KroNboAttrLogSa* kroFirstAdapter() const { return firstAdapter_; }

 protected:
  explicit Entity(Name name);

 private:
  friend class KroNboAttrLogSa;
  void retireAdapters();

  Name name_;
  std::uint32_t mutationCount_ = 0;
  mutable std::uint32_t readCount_ = 0;
  std::uint32_t flagWord_ = 0x88;
  Entity* parent_ = nullptr;
  AttributeId parentAttrId_ = 0;
  KroNboAttrLogSa* firstAdapter_ = nullptr;
};

/// Base of the observers of entities.
class VORNACL_API Entity::NotifieeConst : public PtrInterface::NotifieeConst {
 public:
  ~NotifieeConst() override;
  /// The entity's parent changed; told by nobody in this model.
  virtual void onParent();
  virtual void onVersion();
};

/// Ids of attributes that every entity has.
inline constexpr AttributeId kroHasAttrLogInterfaceId = 154;
inline constexpr AttributeId kroNboAttrLogSaForMsgChannelId = 153;

}  // namespace Kro
