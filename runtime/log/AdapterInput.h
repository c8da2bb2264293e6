// The reading half of `AdapterOf`. Included by that header.
//
// Every field of a message is read, and nothing may be left over, before anything is applied. User code runs while a
// change is applied: it may retire this very adapter, so its registration is asked again after each mutator.
#pragma once

#include <exception>

#include "runtime/log/AdapterOf.h"

namespace Kro::NboAttrLog {

namespace detail {

/// Reads a value whose unknown enumerators are applied as they are, and counted.
template <class T>
T nextLenient(In& in, Demuxer& demuxer) {
  if constexpr (Enumeration<T>) {
    std::uint32_t const number = in.nextU32();
    Expect const expect(Exception::rangeId);
    try {
      return enumeratorOf<T>(number);
    } catch (RangeException const&) {
      demuxer.unknownEnumsInc(1);
      return static_cast<T>(number);
    }
  } else {
    return nextValue<T>(in);
  }
}

/// Holds back what user code throws while a message is applied, until all of it is applied.
class HeldBack {
 public:
  template <class F>
  void run(F const& change) {
    try {
      change();
    } catch (...) {
      first_ = first_ ? first_ : std::current_exception();
    }
  }
  void release() const {
    if (first_) {
      std::rethrow_exception(first_);
    }
  }

 private:
  std::exception_ptr first_;
};

template <class M, std::size_t... I>
auto readParameters(In& in, Demuxer& demuxer, std::index_sequence<I...>) {
  return std::tuple{nextLenient<typename EntityAttributeType<M, I>::Type>(in, demuxer)...};  // braces: in order
}

}  // namespace detail

template <class X>
void AdapterOf<X>::startApplying(In& in, bool counts) {
  if (listEnd_ > in.offset()) {
    in.nextBytes(listEnd_ - in.offset());
  }
  if (in.remaining() != 0) {
    throw AttrLogEntityException(
        format("%lld bytes left over at the end of the message", static_cast<long long>(in.remaining())));
  }
  if (streamDemuxer() != nullptr) {
    streamDemuxer()->applyingIs(true);
    if (counts) {
      streamDemuxer()->messageApplied();
    }
  }
}

template <class X>
bool AdapterOf<X>::knowsAttribute(AttributeId id) const {
  AttributeId const own = id < 0 ? -id : id;
  bool known = id == syncModeAttributeId || own == attributeListId;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    known = known || (isTold<D> && D::id == own && (id > 0 || isKeyed<D> || D::kind == AttributeKind::child));
  });
  return known;
}

template <class X>
void AdapterOf<X>::handleAttrDeserialization(AttributeId id, DeserializationOptions, unsigned, Ptr<In> const& given) {
  if (given) {
    dispatchMessage(id, *given, true);
    return;
  }
  Ptr<In> const in = nboAttrLogOut() ? nboAttrLogOut()->reverseLog() : nullptr;
  if (!in) {
    return;
  }
  if (is(applyingBit)) {
    throwInternalException("entity reactor is already active");
  }
  struct Applying {
    explicit Applying(AdapterOf& a) : adapter(a) { adapter.stateIs(applyingBit, true); }
    ~Applying() {
      adapter.stateIs(applyingBit, false);
      adapter.pendingChildId_ = nullEntityId;
      adapter.listEnd_ = 0;
    }
    AdapterOf& adapter;
  } const applying(*this);
  AttributeId const resolved = resolveList(id, *in);
  if (is(readOnlyRemoteBit) && !readOnlyRemoteOk(resolved) && !convertedToWritable(false)) {
    throwInternalException("write-update from readonly proxy: " + rawEntity().fullName() +
                           " peerName: " + nboAttrLogOut()->peerName());
  }
  dispatchMessage(resolved, *in, false);
}

/// Attribute ids 144 and -144 carry a list of ids; the first one that names a child attribute takes their place.
template <class X>
AttributeId AdapterOf<X>::resolveList(AttributeId id, In& in) {
  if (id != attributeListId && id != -attributeListId) {
    return id;
  }
  std::size_t const listBytes = in.nextU16();
  std::size_t const payloadBytes = in.nextU16();
  std::size_t const listEnd = in.offset() + listBytes;
  AttributeId found = id;
  bool hasChildren = false;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    hasChildren = hasChildren || D::kind == AttributeKind::child || D::kind == AttributeKind::members;
  });
  while (hasChildren && found == id && in.offset() < listEnd) {
    AttributeId const listed = in.nextint();
    forEachEntityAttribute<X>([&](auto const& d) {
      using D = std::remove_cvref_t<decltype(d)>;
      if ((D::kind == AttributeKind::child || D::kind == AttributeKind::members) &&
          (listed == D::id || listed == -D::id)) {
        found = listed;
      }
    });
  }
  if (in.offset() < listEnd) {
    in.nextBytes(listEnd - in.offset());
  }
  if (found > 0) {
    in.nextU32();
  }
  listEnd_ = in.offset() + payloadBytes;
  return found;
}

template <class X>
void AdapterOf<X>::dispatchMessage(AttributeId id, In& in, bool given) {
  if (id == syncModeAttributeId) {
    deserializeSyncMode(in);
    return;
  }
  bool known = false;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (isTold<D>) {
      if (!known && (id == D::id || id == -D::id)) {
        known = true;
        deserialize(d, id < 0, in, given);
      }
    }
  });
  if (!known && streamDemuxer() != nullptr) {
    ++streamDemuxer()->stats().skippedMessages;
  }
}

template <class X>
template <class D>
void AdapterOf<X>::deserialize(D const& d, bool removal, In& in, bool given) {
  if constexpr (D::kind == AttributeKind::values) {
    deserializeValue(d, removal, in, given);
  } else if constexpr (D::kind == AttributeKind::members) {
    deserializeMember(d, removal, in, given);
  } else if constexpr (D::kind == AttributeKind::references) {
    deserializeReference(d, removal, in, given);
  } else if constexpr (D::kind == AttributeKind::child) {
    deserializeChild(d, removal, in, given);
  } else if (!removal) {
    deserializeScalar(d, in, given);
  }
}

// --- who decides ---

/// The peer's word about a key stands here: it voids what this end had to say, unless this end decides.
template <class X>
template <class D>
void AdapterOf<X>::peerWroteKey(D const& d, typename D::Key const& key) {
  if (!isAnnouncer()) {
    takeKey(d, key);
    if (auto& exempt = flow().template keys<D>().exempt; !exempt.empty()) {
      exempt.erase(key);
    }
    repeated(d, key);
  }
}

/// Where this end decides and the peer wrote before it knew all, the value that stands is sent once more.
template <class X>
template <class D>
void AdapterOf<X>::confirmKey(D const& d, typename D::Key const& key) {
  if (isRegistered() && isAnnouncer() && peerIsBehind()) {
    markKey(d, key, false);
  }
}

/// Whether this end's own word about a member is still on its way, or waits to be written.
template <class X>
template <class D>
bool AdapterOf<X>::isOvertaken(D const& d, typename D::Key const& key) {
  if (!isAnnouncer()) {
    return false;
  }
  auto& keys = flow().template keys<D>();
  std::uint64_t const known = streamDemuxer()->peerApplied();
  while (!keys.removals.empty() && keys.removals.front().second <= known) {
    keys.removals.pop_front();
  }
  auto const isKey = [&](auto const& removal) { return removal.first == key; };
  auto* const mark = keys.dirty.find(key);
  if (std::any_of(keys.removals.begin(), keys.removals.end(), isKey) ||
      (mark != nullptr && mark->value().removalOwed)) {
    return true;
  }
  auto* const member = (entity().*(d.field)).find(key);
  if (member == nullptr) {
    return false;
  }
  Ptr<KroNboAttrLogSa> const adapter = childAdapter(d, *member);  // a mark of one that is announced says nothing more
  return !adapter || adapter->announcedAt() > known;
}

template <class X>
template <class D>
bool AdapterOf<X>::isChildOvertaken(D const& d) {
  if (!isAnnouncer()) {
    return false;
  }
  if (flow().template bit<D>() || flow().template keys<D>().lastWord > streamDemuxer()->peerApplied()) {
    return true;
  }
  auto const& child = entity().*(d.field);
  return child && !childAdapter(d, *child);
}

// --- values, scalars, references ---

template <class X>
template <class D>
void AdapterOf<X>::deserializeScalar(D const& d, In& in, bool given) {
  auto const value = detail::nextLenient<typename D::Type>(in, *streamDemuxer());
  startApplying(in);
  if (given) {
    handleScalar(d);
    return;
  }
  if (!isAnnouncer()) {
    flow().template bitIs<D>(false);
  }
  detail::HeldBack thrown;
  thrown.run([&] { (entity().*(d.set))(value); });
  if (isRegistered() && isAnnouncer() && peerIsBehind()) {
    markBit(d);
  }
  thrown.release();
}

template <class X>
template <class D>
void AdapterOf<X>::deserializeValue(D const& d, bool removal, In& in, bool given) {
  auto const key = nextValue<typename D::Key>(in);
  if (removal) {
    startApplying(in);
    takeWord(d, key, given, [&] { (entity().*(d.del))(key); });
  } else {
    auto const value = nextValue<typename D::Element>(in);
    startApplying(in);
    takeWord(d, key, given, [&] { (entity().*(d.set))(key, value); });
  }
}

/// Applies the peer's word about a key of values or references.
template <class X>
template <class D, class Change>
void AdapterOf<X>::takeWord(D const& d, typename D::Key const& key, bool given, Change const& change) {
  if (given) {
    handleKey(d, key);
    return;
  }
  peerWroteKey(d, key);
  detail::HeldBack thrown;
  thrown.run(change);
  confirmKey(d, key);
  thrown.release();
}

template <class X>
template <class D>
void AdapterOf<X>::deserializeReference(D const& d, bool removal, In& in, bool given) {
  if (removal) {
    auto const key = nextValue<typename D::Key>(in);
    startApplying(in);
    takeWord(d, key, given, [&] { (entity().*(d.del))(key); });
    return;
  }
  EntityId const id = in.peekEntityId();
  Ptr<typename D::Element> const target = in.nextEntity<typename D::Element>();
  startApplying(in);
  if (!target) {
    ++streamDemuxer()->stats().nullReferences;
    if (!given) {
      missReference(d, id);
    }
    return;
  }
  typename D::Key const key = D::Record::KroHashLink::keyOfReferenced(*target);
  takeWord(d, key, given, [&] { (entity().*(d.set))(target); });
}

/// The peer refers to an entity that has gone from here. What this end holds under that key stands no more, or, where
/// this end decides, is sent once more; all of it where the key is not known.
template <class X>
template <class D>
void AdapterOf<X>::missReference(D const& d, EntityId id) {
  auto const& gone = flow().template keys<D>().goneTargets;
  auto const found = std::find_if(gone.begin(), gone.end(), [&](auto const& target) { return target.first == id; });
  if (!isAnnouncer()) {
    if (found != gone.end()) {
      typename D::Key const key = found->second;
      peerWroteKey(d, key);
      (entity().*(d.del))(key);
    }
  } else if (found != gone.end()) {
    markKey(d, found->second, false);
  } else {
    for (auto const& entry : entity().*(d.field)) {
      markKey(d, detail::keyOf<D>(entry), false);
    }
  }
}

// --- members and single children ---

/// Gives the child that is being created its adapter and the id that the peer chose. Nothing is written.
template <class X>
void AdapterOf<X>::bindChild(Entity& child) {
  rawEntity().kroCountRead();
  if (Ptr<KroNboAttrLogSa> const other = child.kroNboAttrLogSa(Ptr<Out const>(nboAttrLogOut()))) {
    other->retire();
  }
  Ptr<KroNboAttrLogSa> const adapter =
      child.kroNboAttrLogSaIs(Kro_BitSet(flagWord() & inheritedBits), inheritedBits, nboAttrLogOut(), this);
  adapter->flowOutIs(FlowOut::nothing);
  adapter->doEntityIdIs(std::exchange(pendingChildId_, nullEntityId), *streamDemuxer());
  streamDemuxer()->announced(child);
}

/// `creation` has find(), isSame(child), mustGoFirst(child), isOvertaken(), voidOwn(), create(), remove() and
/// refuseOther(child), which throws for other parameters of an object that the peer announces again.
template <class X>
template <class D, class Case>
void AdapterOf<X>::applyCreation(D const& d, EntityId id, In& in, Case const& creation) {
  Demuxer& demuxer = *streamDemuxer();
  auto const isBoundElsewhere = [&](Entity* child) { return demuxer.checkEphemeralEntityDeletion(child, id, true); };
  if (auto* const existing = creation.find()) {
    Ptr<KroNboAttrLogSa> const adapter = childAdapter(d, *existing);
    if (adapter && adapter->entityId() == id) {
      creation.refuseOther(*existing);
      startApplying(in);
      creation.voidOwn();
      creation.create();  // finds it again
      return;
    }
  }
  demuxer.idSpent(id);
  demuxer.requireRoomForEntity(this);
  startApplying(in, false);
  if (creation.isOvertaken()) {
    ++demuxer.stats().droppedChanges;
    return;
  }
  pendingChildId_ = id;
  detail::HeldBack thrown;
  constexpr int patience = 8;
  int rounds = 0;
  for (auto* existing = creation.find();
       existing != nullptr && creation.mustGoFirst(*existing, isBoundElsewhere(existing)); existing = creation.find()) {
    if (++rounds > patience) {
      demuxer.failureIs("observers make an entity again and again that a creation replaces");
      break;
    }
    thrown.run([&] { creation.remove(); });
    if (!isRegistered()) {
      thrown.release();
      return;
    }
    stateIs(applyingBit, true);
  }
  if (rounds <= patience) {
    // Not before: what observers say about the key while the old object goes is overruled, too.
    creation.voidOwn();
    demuxer.messageApplied();
    thrown.run([&] { creation.create(); });
    if (isRegistered() && is(applyingBit) && !(pendingChildId_ == nullEntityId)) {
      if (auto* const kept = creation.find()) {
        bindChild(*kept);
      }
    }
  }
  thrown.release();
}

template <class X>
template <class D>
void AdapterOf<X>::deserializeMember(D const& d, bool removal, In& in, bool given) {
  using M = typename D::Element;
  using Key = typename D::Key;
  if (removal) {
    auto const key = nextValue<Key>(in);
    startApplying(in);
    if (given) {
      handleKey(d, key);
    } else if (isOvertaken(d, key)) {
      ++streamDemuxer()->stats().droppedChanges;
    } else {
      peerWroteKey(d, key);
      (entity().*(d.del))(key);
    }
    return;
  }
  auto const parameters =
      detail::readParameters<M>(in, *streamDemuxer(), PositionsOfKind<M, AttributeKind::parameter>());
  Key const key = std::get<0>(parameters);
  EntityId const id = in.nextEntityId();
  if (given) {
    startApplying(in);
    handleKey(d, key);
    return;
  }
  struct Case {
    AdapterOf& self;
    D const& d;
    decltype(parameters)& all;
    Key const& key;

    M* find() const { return (self.entity().*(d.field)).find(key); }
    bool mustGoFirst(M const& member, bool boundElsewhere) const {
      return boundElsewhere ||
             !std::apply([&](auto const&, auto const&... rest) { return haveSameParameters(member, rest...); }, all);
    }
    void refuseOther(M const& member) const {
      std::apply([&](auto const&, auto const&... rest) { requireSameParameters(member, rest...); }, all);
    }
    bool isOvertaken() const { return self.isOvertaken(d, key); }
    void voidOwn() const { self.peerWroteKey(d, key); }
    void create() const {
      std::apply([&](auto const&... all_) { (self.entity().*(d.create))(all_...); }, all);
    }
    void remove() const { (self.entity().*(d.del))(key); }
  };
  applyCreation(d, id, in, Case{*this, d, parameters, key});
}

template <class X>
template <class D>
void AdapterOf<X>::deserializeChild(D const& d, bool removal, In& in, bool given) {
  using C = typename D::Type;
  if (removal) {
    startApplying(in);
    if (given) {
      handleChild(d);
    } else if (isChildOvertaken(d)) {
      ++streamDemuxer()->stats().droppedChanges;
    } else {
      flow().template bitIs<D>(false);
      flow().template removalOwedIs<D>(false);
      (entity().*(d.del))();
    }
    return;
  }
  Name const name = nextValue<Name>(in);
  EntityId const id = in.nextEntityId();
  if (given) {
    startApplying(in);
    handleChild(d);
    return;
  }
  struct Case {
    AdapterOf& self;
    D const& d;
    Name const& name;

    C* find() const { return (self.entity().*(d.field)).get(); }
    /// A child of another name is replaced by the mutator itself, which is told once.
    bool mustGoFirst(C const& child, bool boundElsewhere) const { return boundElsewhere && child.name() == name; }
    void refuseOther(C const& child) const {
      if (!(child.name() == name)) {
        ::Kro::detail::throwNameInUse(child.name(), "name", valueToStrep(name), valueToStrep(child.name()));
      }
    }
    bool isOvertaken() const { return self.isChildOvertaken(d); }
    void voidOwn() const {
      self.flow().template bitIs<D>(false);
      self.flow().template removalOwedIs<D>(false);
    }
    void create() const { (self.entity().*(d.set))(name); }
    void remove() const { (self.entity().*(d.del))(); }
  };
  applyCreation(d, id, in, Case{*this, d, name});
}

// --- sync mode ---

template <class X>
void AdapterOf<X>::deserializeSyncMode(In& in) {
  SyncMode const mode = SyncModeInstance(in.nextU32());
  startApplying(in);
  for (Demuxer* at = globalNboAttrLogDemuxerManager().first(); at != nullptr; at = at->next()) {
    Ptr<KroNboAttrLogSa> const adapter = share(at->reactor(entityId()));
    if (dynamic_cast<AdapterOf*>(adapter.get()) != nullptr && &adapter->rawEntity() == &rawEntity()) {
      adapter->stateIs(mutedBit, true);
      adapter->syncModeIs(mode);
      adapter->stateIs(mutedBit, false);
    }
  }
}

template <class X>
void AdapterOf<X>::syncModeIs(SyncMode mode) {
  KroNboAttrLogSa::syncModeIs(mode);
  if (streamDemuxer() == nullptr || streamDemuxer()->failed() || !is(applyingBit) || isAnnouncer()) {
    return;
  }
  AttrTransactionType const type = syncMode() == syncModeWhole ? transactionBegin : transactionEnd;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (isKeyed<D> || D::kind == AttributeKind::child) {
      handleAttrTransaction(D::id, type, 0);
    }
  });
}

// --- whole-collection transfers ---

/// Drops what the peer has applied.
template <class X>
template <class Exempt>
void AdapterOf<X>::forgetKnown(Exempt& exempt) {
  std::erase_if(exempt, [known = streamDemuxer()->peerApplied()](auto const& word) { return word.second <= known; });
}

template <class X>
template <class D>
void AdapterOf<X>::markForSweep(D const& d) {
  auto& keys = flow().template keys<D>();
  forgetKnown(keys.exempt);
  // The transfer may have begun before the peer knew of what this end wrote or is about to write, and it does not
  // repeat the members that this end announced.
  auto const isOwnWord = [&](auto& record) {
    if constexpr (D::kind == AttributeKind::members) {
      if (Ptr<KroNboAttrLogSa> const adapter = childAdapter(d, record); adapter && adapter->isAnnouncer()) {
        return true;
      }
    }
    if (keys.exempt.empty() && keys.dirty.size() == 0) {
      return false;
    }
    auto const key = detail::keyOf<D>(record);
    return keys.exempt.count(key) != 0 || keys.dirty.find(key) != nullptr;
  };
  marked_ = 0;
  for (auto& record : entity().*(d.field)) {
    bool const marks = !isOwnWord(record);
    record.kroMarkedForDeletionIs(marks);
    marked_ = marks ? D::id : marked_;
  }
}

template <class X>
template <class D>
void AdapterOf<X>::repeated(D const& d, typename D::Key const& key) {
  if (marked_ != D::id) {
    return;
  }
  if (auto* const record = (entity().*(d.field)).find(key)) {
    clearSweepMark(*record);
  }
}

template <class X>
template <class D>
void AdapterOf<X>::clearSweepMarks(D const& d) {
  if (std::exchange(marked_, 0) == D::id) {
    for (auto& record : entity().*(d.field)) {
      clearSweepMark(record);
    }
  }
}

/// Removes what the transfer did not repeat, through the ordinary removers: counted, told, not echoed.
template <class X>
template <class D>
void AdapterOf<X>::sweep(D const& d) {
  Ptr<KroNboAttrLogSa> const held = share<KroNboAttrLogSa>(this);
  X& swept = entity();
  detail::HeldBack thrown;
  using Iterator = typename D::MapType::Iterator;
  for (Iterator at = marked_ == D::id ? Iterator(swept.*(d.field)) : Iterator(); at && isRegistered(); at.advance()) {
    if (at->kroMarkedForDeletion()) {
      sweepingIs(D::id);
      thrown.run([&] { (swept.*(d.delAt))(at); });
      sweepingIs(0);
    }
  }
  if (isRegistered()) {
    streamDemuxer()->flowInDel(entityId());
  }
  thrown.release();
}

template <class X>
void AdapterOf<X>::handleAttrTransaction(AttributeId id, AttrTransactionType type, unsigned) {
  Demuxer& demuxer = *streamDemuxer();
  FlowIn* const open = demuxer.flowIn(entityId());
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (isKeyed<D>) {
      if (D::id != id) {
        return;
      }
      if (type == transactionBegin && !is(mutedBit)) {
        for (KroNboAttrLogSa* at = rawEntity().kroFirstAdapter(); at != nullptr; at = at->nextOfEntity()) {
          FlowIn* const older = at->streamDemuxer()->flowIn(at->entityId());
          if (older != nullptr && (at == this || older->aid() == id)) {
            at->streamDemuxer()->flowInDel(at->entityId());
          }
        }
        demuxer.flowInIs(entityId()).aidIs(id);
        markForSweep(d);
      } else if (type == transactionEnd && open != nullptr && open->aid() == id) {
        open->handlingTransactionIs(true);
        sweep(d);
      }
    }
  });
  if (type != transactionBegin && isRegistered()) {
    demuxer.flowInDel(entityId());
  }
}

template <class X>
void AdapterOf<X>::sweepMarksDel(AttributeId id) {
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (isKeyed<D>) {
      if (D::id == id) {
        clearSweepMarks(d);
      }
    }
  });
}

}  // namespace Kro::NboAttrLog
