// The state adapter of an entity type, derived from the type's attribute list: each algorithm of the attribute log
// stands once and takes the descriptor. The type's own adapter class adds the members with names.
//
// Which side decides. The end that announced an entity (gave its id) alone sends whole transfers of it and settles
// conflicts: what it last said about a key stands until the peer has applied it. The other end applies every word.
#pragma once

#include <algorithm>
#include <new>
#include <utility>

#include "runtime/entity/EntityOps.h"
#include "runtime/log/Applying.h"
#include "runtime/log/Demuxer.h"
#include "runtime/log/FlowOutOf.h"
#include "runtime/log/Registration.h"
#include "runtime/value/Codec.h"

namespace Kro::NboAttrLog {

namespace detail {

/// The target of a record of references, or the record's value or member itself.
template <class D, class Record>
auto elementOf(Record& record) {
  if constexpr (D::kind == AttributeKind::values) {
    return &record.value();
  } else if constexpr (D::kind == AttributeKind::members) {
    return share(&record);
  } else {
    return record.referenced();
  }
}

}  // namespace detail

/// The state adapter of entity type `X`.
template <class X>
class AdapterOf : public Entity::KroNboAttrLogSa {
 public:
  using Flow = FlowOutOf<X>;
  /// The bits of the state word that a child's adapter takes over from its parent's.
  static constexpr std::uint32_t inheritedBits = readOnlyBit | readOnlyRemoteBit | deferredBit | forceDeferBit;

  AdapterOf(Kro_BitSet flags, X& entity, Ptr<Out> const& out, PtrInterface* parent)
      : AdapterOf(dynamic_cast<KroNboAttrLogSa*>(parent), flags, entity, out) {
    registration_ = adopt(new Registration<X>(*this));  // what is thrown from here on ends in the destructor
    registration_->isRegisteredNotifieeIs(true);
    registration_->notifierIs(Ptr<PtrInterface const>(share(&rawEntity())));
    registration_->isWeakReferenceIs(true);
    if constexpr (PositionsOfKind<X, AttributeKind::references>::size() != 0) {
      streamDemuxer()->referenceHolderIs(*this);
    }
  }
  ~AdapterOf() override {
    if (isRegistered()) {
      retire();
    }
  }

  X& entity() const { return static_cast<X&>(rawEntity()); }
  Flow& flow() const { return static_cast<Flow&>(*flowOut()); }

  AttributeId handleAttrFlowOut(AttributeId from) override;
  void freeResyncState(FlowOut& flowOut) override;
  void kroInstantiateSerialize() override;
  void doSerializeOrphan() override;
  void handleAttrDeserialization(AttributeId id, DeserializationOptions options, unsigned n,
                                 Ptr<In> const& in) override;
  void handleAttrTransaction(AttributeId id, AttrTransactionType type, unsigned n) override;
  void flowOutIs(AttributeId from) override;
  void doNotification(AttributeId id, void* key) override { handleChange(id, key); }
  /// An attribute changed: writes or marks it. `key` points to the key of a keyed one.
  void handleChange(AttributeId id, void const* key);
  Ptr<KroNboAttrLogSa> childAdapterIs(Entity& child) override;
  void syncModeIs(SyncMode mode) override;
  bool knowsAttribute(AttributeId id) const override;
  void sweepDel(AttributeId id) override;
  void targetAnnounced(Entity const& target) override;
  void targetRetired(EntityId id, Entity const& target) override;
  unsigned audit() const override;

 protected:
  void registrationDel() override {
    if (Ptr<Registration<X>> const registration = std::move(registration_)) {
      marksGone();
      registration->notifierIs(nullptr);
    }
  }

  // --- handlers: what the entity tells ---
  template <class Mark, class Write>
  void writeOrMark(AttributeId id, Mark const& mark, Write const& writeNow);
  template <class D>
  void handleScalar(D const& d);
  template <class D>
  void handleChild(D const& d);
  template <class D>
  void handleKey(D const& d, typename D::Key const& key);

  // --- writers ---
  template <class D>
  void serializeValue(D const& d, typename D::Key const& key, typename D::Element const* value);
  template <class D>
  void serializeEntity(D const& d, typename D::Key const& key, Ptr<typename D::Element> const& member);
  template <class D>
  void serializeReference(D const& d, typename D::Key const& key, Ptr<typename D::Element const> const& target);
  template <class D>
  bool serializeCollection(D const& d);

  // --- adapters of children ---
  template <class D>
  Ptr<KroNboAttrLogSa> childAdapter(D const&, Entity const& child) const {
    return const_cast<Entity&>(child).kroNboAttrLogSa(Ptr<Out const>(nboAttrLogOut()));
  }
  /// Finds or makes the adapter of a child. One that was not announced is, at once where that may be written now, else
  /// in its turn. Null where the child does not stand in this entity.
  template <class D>
  Ptr<KroNboAttrLogSa> announceChild(D const& d, std::uint32_t flags, typename D::Type const& child) {
    return introduce(d, flags, const_cast<typename D::Type&>(child));
  }
  template <class D>
  Ptr<KroNboAttrLogSa> announceMember(D const& d, std::uint32_t flags, typename D::Element& member) {
    return introduce(d, flags, member);
  }
  template <class D>
  Ptr<KroNboAttrLogSa> childAdapterDel(D const&, Entity& child) {
    return child.kroNboAttrLogSaDel(Ptr<Out const>(nboAttrLogOut()));
  }

 private:
  AdapterOf(KroNboAttrLogSa* parent, Kro_BitSet flags, X& entity, Ptr<Out> const& out)
      : KroNboAttrLogSa(flags.word(), entity, out, parent) {}

  MsgHeader headerOf(AttributeId id, bool firstFlag, std::uint8_t size = 0, std::uint16_t code = 0) const {
    return MsgHeader{entityId(), id, firstFlag, size, code, false};
  }
  /// Writes a message whole: its room is made first, so that it is never left half written.
  template <class... Fields>
  void write(MsgHeader const& header, Fields const&... fields);
  Ptr<KroNboAttrLogSa> childAdapterIs(std::uint32_t flags, Entity& child);
  template <class D, class C>
  void announce(D const& d, C& child);
  template <class D, class C>
  Ptr<KroNboAttrLogSa> introduce(D const& d, std::uint32_t flags, C& child);

  // --- marks ---
  template <class D>
  void markKey(D const& d, typename D::Key const& key, bool removalOwed) noexcept;
  template <class D>
  void markBit(D const& d) noexcept;
  template <class D>
  void takeBit(D const& d);
  template <class D>
  DirtyMark takeKey(D const& d, typename D::Key const& key);
  template <class D>
  void wroteKey(D const&, typename D::Key const& key);
  void marksGone();

  template <class D, class Find>
  void serializeFound(D const& d, typename D::Key const& key, Find const& find);
  void abortTransfer();
  template <class D>
  void reannounceMembers(D const& d);
  template <class D>
  bool writeCollection(D const& d);
  template <class D>
  bool walkDirtyKeys(D const& d);
  template <class D>
  bool walkWhole(D const& d);
  template <class D>
  bool flowOutAttribute(D const& d, AttributeId from, AttributeId& resumeAt);

  // --- applying what the peer wrote ---
  /// All fields were read: nothing may be left over, and what is thrown from now on is no fault of the peer.
  /// `counts`: the message counts as applied from here on, and not only at its end.
  void startApplying(In& in, bool counts = true);
  void skipRestOfList(In& in);
  void dispatchMessage(AttributeId id, In& in, bool given);
  template <class D>
  void deserialize(D const& d, bool removal, In& in, bool given);
  template <class D>
  void deserializeScalar(D const& d, In& in, bool given);
  template <class D>
  void deserializeValue(D const& d, bool removal, In& in, bool given);
  template <class D, class Change>
  void takeWord(D const& d, typename D::Key const& key, bool given, Change const& change);
  template <class D>
  void deserializeReference(D const& d, bool removal, In& in, bool given);
  template <class D>
  void deserializeMember(D const& d, bool removal, In& in, bool given);
  template <class D>
  void deserializeChild(D const& d, bool removal, In& in, bool given);
  template <class D, class Case>
  void applyCreation(D const& d, EntityId id, In& in, Case const& creation);
  void bindChild(Entity& child);
  template <class D>
  bool isOvertaken(D const& d, typename D::Key const& key);
  template <class D>
  bool isChildOvertaken(D const& d);
  template <class D>
  void peerWroteKey(D const& d, typename D::Key const& key);
  template <class D>
  void missReference(D const& d, EntityId id);
  template <class D>
  void confirmKey(D const& d, typename D::Key const& key);
  AttributeId resolveList(AttributeId id, In& in);
  void deserializeSyncMode(In& in);

  template <class Exempt>
  void forgetKnown(Exempt& exempt);
  template <class D>
  void markForSweep(D const& d);
  template <class D>
  void sweep(D const& d, detail::HeldBack& thrown);
  template <class D>
  void countBegin(D const& d);
  template <class D>
  void clearSweepMarks(D const& d);
  /// Takes the mark of a transfer off one key.
  template <class D>
  void repeated(D const& d, typename D::Key const& key);

  Ptr<Registration<X>> registration_;
  EntityId pendingChildId_;  ///< of the creation that is being applied, null once it was given to a child
  std::size_t listEnd_ = 0;  ///< where what an attribute list told the length of ends, 0 for any other
};

}  // namespace Kro::NboAttrLog

#include "runtime/log/AdapterAnnounce.h"
#include "runtime/log/AdapterChildren.h"
#include "runtime/log/AdapterFlowOut.h"
#include "runtime/log/AdapterInput.h"
#include "runtime/log/AdapterOutput.h"
#include "runtime/log/AdapterTransfer.h"
