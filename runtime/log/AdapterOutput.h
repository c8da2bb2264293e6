// The writing half of `AdapterOf`. Included by that header.
#pragma once

#include "runtime/log/AdapterOf.h"

namespace Kro::NboAttrLog {

template <class X>
template <class... Fields>
void AdapterOf<X>::write(MsgHeader const& header, Fields const&... fields) {
  beforeMessage();
  Out& out = *nboAttrLogOut();
  std::uint8_t* const start = out.room(WireHeader::size + (logRoom(fields) + ... + 0));
  std::uint8_t* end = start + WireHeader::size;
  ((end = Codec<Fields>::put(end, fields)), ...);
  auto const payload = static_cast<std::size_t>(end - start) - WireHeader::size;
  if (payload > out.maxPayload()) {
    throwRangeException(format("message of %lld payload bytes, the limit is %lld", static_cast<long long>(payload),
                               static_cast<long long>(out.maxPayload())));
  }
  WireHeader{static_cast<std::uint32_t>(payload), MsgKind::attribute, header}.put(start);
  out.messageWritten(end);
  afterMessage();
}

// --- marks ---

template <class X>
template <class D>
void AdapterOf<X>::markKey(D const&, typename D::Key const& key, bool removalOwed) noexcept {
  auto& keys = flow().template keys<D>();
  try {
    auto const place = keys.dirty.locate(key);
    streamDemuxer()->dirtyMark(place.member() == nullptr);
    if (place.member() != nullptr) {
      place.member()->valueIs({true, removalOwed || place.member()->value().removalOwed});
    } else {
      keys.dirty.newMember(key, {true, removalOwed}, place);
    }
  } catch (...) {
    // No memory for the mark: the whole is sent again, or, where this end may not do that, nothing more at all.
    streamDemuxer()->dirtyUnmark();
    if (!isAnnouncer()) {
      streamDemuxer()->failureIs("no memory for a change that waits");
      return;
    }
    if (keys.bookmark) {
      keys.bookmark.reset();
      flow().pendingAbortIs(D::id);
    }
    flow().template bitIs<D>(false);
  }
  queueFlowOut();
}

template <class X>
template <class D>
void AdapterOf<X>::markBit(D const&) noexcept {
  if (flow().template bit<D>()) {
    streamDemuxer()->dirtyMark(false);
  }
  flow().template bitIs<D>(true);
  queueFlowOut();
}

template <class X>
template <class D>
DirtyMark AdapterOf<X>::takeKey(D const&, typename D::Key const& key) {
  auto& dirty = flow().template keys<D>().dirty;
  if (dirty.size() == 0) {
    return {false, false};
  }
  auto* const record = dirty.find(key);
  if (record == nullptr) {
    return {false, false};
  }
  streamDemuxer()->dirtyUnmark();
  return dirty.memberDel(record)->value();
}

template <class X>
template <class D>
void AdapterOf<X>::wroteKey(D const& d, typename D::Key const& key) {
  if (isAnnouncer()) {
    return;
  }
  auto& exempt = flow().template keys<D>().exempt;
  if (exempt.insert_or_assign(key, streamDemuxer()->sent()).second && exempt.size() % 1024 == 0) {
    forgetKnown(exempt);
  }
  repeated(d, key);  // told without a change, in the middle of a transfer
}

template <class X>
void AdapterOf<X>::demuxerMarksGone() {
  if (flowOut() != nullptr && streamDemuxer() != nullptr) {
    streamDemuxer()->dirtyUnmark(flow().dirtyMarks());
  }
}

// --- handlers ---

template <class X>
template <class D>
void AdapterOf<X>::handleScalar(D const& d) {
  using Type = typename D::Type;
  switch (permissionToWrite(D::id)) {
    case Permission::ignore:
      return;
    case Permission::mark:
      markBit(d);
      return;
    case Permission::write:
      break;
  }
  // A bool and a counter tell their size in the header; other types carry their own structure.
  constexpr bool isSized = std::is_same_v<Type, bool> || D::kind == AttributeKind::counter;
  try {
    write(headerOf(D::id, !isSized, isSized ? sizeof(Type) : 0), (entity().*(d.get))());
    flow().template bitIs<D>(false);
  } catch (std::bad_alloc const&) {
    markBit(d);
    flow().suspend();
  }
}

template <class X>
template <class D>
void AdapterOf<X>::handleChild(D const& d) {
  if (is(mutedBit)) {
    return;
  }
  Ptr<typename D::Type> const child = entity().*(d.field);
  if (is(applyingBit) && child && !(pendingChildId_ == nullEntityId)) {
    stateIs(applyingBit, false);
    bindChild(*child);
    return;
  }
  bool const owed = flow().template removalOwed<D>() || !child;
  switch (permissionToWrite(D::id)) {
    case Permission::ignore:
      return;
    case Permission::mark:
      flow().template removalOwedIs<D>(owed);
      markBit(d);
      return;
    case Permission::write:
      break;
  }
  flow().template bitIs<D>(false);
  flow().template removalOwedIs<D>(false);
  try {
    if (owed) {
      write(headerOf(-D::id, false));
    }
    if (child) {
      announceChild(d, flagWord() & inheritedBits, *child);
    }
    flow().template keys<D>().lastWord = streamDemuxer()->sent();
  } catch (std::bad_alloc const&) {
    flow().template removalOwedIs<D>(owed);
    markBit(d);
    flow().suspend();
  }
}

template <class X>
template <class D>
void AdapterOf<X>::handleKey(D const& d, typename D::Key const& key) {
  auto const find = [&] { return (entity().*(d.field)).find(key); };
  if constexpr (D::kind == AttributeKind::values) {
    serializeFound(d, key, [&] {
      auto const* const record = find();
      return record != nullptr ? &record->value() : nullptr;
    });
  } else if constexpr (D::kind == AttributeKind::members) {
    auto* const record = find();
    if (is(applyingBit) && !is(mutedBit) && record != nullptr && !(pendingChildId_ == nullEntityId)) {
      stateIs(applyingBit, false);
      bindChild(*record);
      return;
    }
    serializeEntity(d, key, share(record));
  } else {
    auto const* const record = find();
    serializeReference(d, key, record != nullptr ? record->referenced() : nullptr);
  }
}

// --- writers of one entry ---

template <class X>
template <class D>
void AdapterOf<X>::serializeValue(D const& d, typename D::Key const& key, typename D::Element const* value) {
  serializeFound(d, key, [&] { return value; });
}

/// `find()` gives the value, null for a removal; it is not called where nothing is written now.
template <class X>
template <class D, class Find>
void AdapterOf<X>::serializeFound(D const& d, typename D::Key const& key, Find const& find) {
  switch (permissionToWrite(D::id)) {
    case Permission::ignore:
      return;
    case Permission::mark:
      markKey(d, key, false);
      return;
    case Permission::write:
      break;
  }
  takeKey(d, key);
  try {
    if (typename D::Element const* const value = find()) {
      entity().kroCountRead();
      write(headerOf(D::id, true), key, *value);
    } else {
      write(headerOf(-D::id, true), key);
    }
    wroteKey(d, key);
  } catch (std::bad_alloc const&) {
    markKey(d, key, false);
    flow().suspend();
  }
}

template <class X>
template <class D>
void AdapterOf<X>::serializeEntity(D const& d, typename D::Key const& key, Ptr<typename D::Element> const& member) {
  switch (permissionToWrite(D::id)) {
    case Permission::ignore:
      return;
    case Permission::mark:
      markKey(d, key, !member);
      return;
    case Permission::write:
      break;
  }
  bool const owed = takeKey(d, key).removalOwed || !member;
  try {
    if (owed) {
      write(headerOf(-D::id, true), key);
      if (isAnnouncer()) {
        flow().template keys<D>().removals.emplace_back(key, streamDemuxer()->sent());
      }
    }
    if (member) {
      announceMember(d, flagWord() & inheritedBits, *member);
    }
    wroteKey(d, key);
  } catch (std::bad_alloc const&) {
    markKey(d, key, owed);
    flow().suspend();
  }
}

template <class X>
template <class D>
void AdapterOf<X>::serializeReference(D const& d, typename D::Key const& key,
                                      Ptr<typename D::Element const> const& target) {
  switch (permissionToWrite(D::id)) {
    case Permission::ignore:
      return;
    case Permission::mark:
      markKey(d, key, false);
      return;
    case Permission::write:
      break;
  }
  takeKey(d, key);
  try {
    Ptr<KroNboAttrLogSa> const known = target ? childAdapter(d, *target) : nullptr;
    if (known && (known->is(announcedBit) || !known->isAnnouncer())) {
      entity().kroCountRead();
      write(headerOf(D::id, true), known->entityId());
    } else {
      // Nothing, or an entity that the peer does not have yet: when that is announced, the reference follows.
      write(headerOf(-D::id, true), key);
    }
    wroteKey(d, key);
  } catch (std::bad_alloc const&) {
    markKey(d, key, false);
    flow().suspend();
  }
}

template <class X>
void AdapterOf<X>::targetAnnounced(Entity const& target) {
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (D::kind == AttributeKind::references) {
      bool const isStillToCome = !flow().template bit<D>() && !flow().template keys<D>().bookmark;
      auto const* const typed = dynamic_cast<typename D::Element const*>(&target);
      if (typed == nullptr || isStillToCome) {
        return;
      }
      for (auto const& entry : entity().*(d.field)) {
        if (entry.referenced().get() == typed) {
          markKey(d, detail::keyOf<D>(entry), false);
        }
      }
    }
  });
}

template <class X>
void AdapterOf<X>::targetRetired(EntityId id, Entity const& target) {
  constexpr std::size_t most = 1024;  // more will not cross one message
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (D::kind == AttributeKind::references) {
      if (auto const* const typed = dynamic_cast<typename D::Element const*>(&target)) {
        auto& gone = flow().template keys<D>().goneTargets;
        gone.emplace_back(id, D::Record::KroHashLink::keyOfReferenced(*typed));
        if (gone.size() > most) {
          gone.pop_front();
        }
      }
    }
  });
}

// --- announcing children ---

template <class X>
template <class D, class C, class... P>
Ptr<Entity::KroNboAttrLogSa> AdapterOf<X>::announce(D const& d, std::uint32_t flags, C& child, P const&... parameters) {
  Expect const expect(Exception::childStreamId);
  Ptr<KroNboAttrLogSa> adapter = childAdapter(d, child);
  bool const isNew = !adapter;
  if (adapter) {
    adapter->flagWordIs((adapter->flagWord() & ~inheritedBits) | flags);
    if (adapter->is(announcedBit) || !adapter->isAnnouncer()) {
      return adapter;
    }
  } else {
    adapter = child.kroNboAttrLogSaIs(Kro_BitSet(flags), inheritedBits, nboAttrLogOut(), this);
    adapter->kroOnInit();
    adapter->flowOutIs(firstEntityAttributeId);
    adapter->doAssignEntityId();
  }
  try {
    write(headerOf(D::id, true, 0, childCreationCode), parameters..., adapter->entityId());
  } catch (...) {
    if (isNew) {
      adapter->retire();
    }
    throw;
  }
  adapter->stateIs(announcedBit, true);
  adapter->announcedAtIs(streamDemuxer()->sent());
  if (isNew) {
    streamDemuxer()->queue(*adapter);
    yieldToChild();
  }
  streamDemuxer()->announced(child);
  return adapter;
}

namespace detail {

/// Calls `f` with the constructor parameters of an entity, each read counted.
template <class M, class F, std::size_t... I>
decltype(auto) withParameters(M const& entity, F const& f, std::index_sequence<I...>) {
  return f((entity.*(entityAttribute<M, I>.get))()...);
}
template <class M, class F>
decltype(auto) withParameters(M const& entity, F const& f) {
  return withParameters(entity, f, PositionsOfKind<M, AttributeKind::parameter>());
}

}  // namespace detail

template <class X>
template <class D>
Ptr<Entity::KroNboAttrLogSa> AdapterOf<X>::announceMember(D const& d, std::uint32_t flags,
                                                          typename D::Element& member) {
  Ptr<KroNboAttrLogSa> const known = childAdapter(d, member);
  if (known && (known->is(announcedBit) || !known->isAnnouncer())) {
    known->flagWordIs((known->flagWord() & ~inheritedBits) | flags);
    return known;
  }
  return detail::withParameters(member,
                                [&](auto const&... parameters) { return announce(d, flags, member, parameters...); });
}

template <class X>
void AdapterOf<X>::doSerializeOrphan() {
  Ptr<Out> const out = nboAttrLogOut();
  beforeMessage();
  out->nextHeaderIs(MsgHeader{rootCreationEntityId, rootCreationAttributeId, true, 0, 0, false});
  try {
    out << Out::TransactToken::begin;
    out->currentPayloadSectionIs(1);
    out << String8(X::Attributes::typeName);
    out->currentPayloadSectionIs(3);
    if constexpr (X::Attributes::isNamed) {
      out << entity().name();
    }
    detail::withParameters(entity(), [&](auto const&... parameters) { (void(out << parameters), ...); });
    out->currentPayloadSectionIs(4);
    out << entityId() << Out::TransactToken::end;
  } catch (...) {
    out->messageAbort();
    throw;
  }
  afterMessage();
  stateIs(announcedBit, true);
  announcedAtIs(streamDemuxer()->sent());
  streamDemuxer()->announced(entity());
}

template <class X>
void AdapterOf<X>::kroInstantiateSerialize() {
  KroNboAttrLogSa::kroInstantiateSerialize();
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (D::kind == AttributeKind::child) {
      handleChild(d);
    } else if constexpr (D::kind == AttributeKind::members) {
      serializeCollection(d);
    }
  });
}

// --- flow-out ---

template <class X>
template <class D>
void AdapterOf<X>::reannounceMembers(D const& d) {
  if constexpr (D::kind == AttributeKind::members) {
    for (auto& member : entity().*(d.field)) {
      if (Ptr<KroNboAttrLogSa> const adapter = childAdapter(d, member)) {
        adapter->stateIs(announcedBit, false);
      }
    }
  }
}

/// Sends the collection whole, from its first entry or from where it was interrupted.
template <class X>
template <class D>
bool AdapterOf<X>::walkWhole(D const& d) {
  using Iterator = typename D::MapType::Iterator;
  auto& keys = flow().template keys<D>();
  auto& map = entity().*(d.field);
  if (!keys.bookmark) {
    reannounceMembers(d);
    sendTransactionMarker(D::id, transactionBegin, 0);
  }
  Iterator at = keys.bookmark ? Iterator(map, kroFlowOutBookmarkDeq<typename D::Key>(keys)) : Iterator(map);
  while (at) {
    typename D::Key const key = detail::keyOf<D>(*at);
    if constexpr (D::kind == AttributeKind::values) {
      serializeValue(d, key, detail::elementOf<D>(*at));
    } else if constexpr (D::kind == AttributeKind::members) {
      serializeEntity(d, key, detail::elementOf<D>(*at));
    } else {
      serializeReference(d, key, detail::elementOf<D>(*at));
    }
    if (flow().suspended()) {
      kroFlowOutBookmarkEnq<typename D::Key>(keys, key);  // not written: it stays dirty and comes again
      return false;
    }
    at.advance();
    if (at && !continueFlowOut()) {
      kroFlowOutBookmarkEnq<typename D::Key>(keys, detail::keyOf<D>(*at));
      return false;
    }
  }
  flow().template bitIs<D>(true);
  sendTransactionMarker(D::id, transactionEnd, 0);
  return true;
}

template <class X>
template <class D>
bool AdapterOf<X>::walkDirtyKeys(D const& d) {
  auto& dirty = flow().template keys<D>().dirty;
  while (dirty.size() != 0) {
    if (!continueFlowOut()) {
      return false;
    }
    typename D::Key const key = dirty.begin()->key();
    handleKey(d, key);
    if (flow().suspended()) {
      return false;
    }
  }
  return true;
}

template <class X>
template <class D>
bool AdapterOf<X>::serializeCollection(D const& d) {
  if (!mayWriteAtAll(D::id) || flowOut() == nullptr) {
    return true;
  }
  if (!flow().template bit<D>() && !walkWhole(d)) {
    return false;
  }
  return walkDirtyKeys(d);
}

template <class X>
template <class D>
bool AdapterOf<X>::flowOutAttribute(D const& d, AttributeId from, AttributeId& resumeAt) {
  if constexpr (isTold<D>) {
    if (D::id < from) {
      return true;
    }
    resumeAt = D::id;
    if (!continueFlowOut()) {
      return false;
    }
    flow().attrIdIs(D::id);
    if constexpr (isKeyed<D>) {
      if (!serializeCollection(d)) {
        return false;
      }
    } else if (flow().template bit<D>()) {
      if constexpr (D::kind == AttributeKind::child) {
        handleChild(d);
      } else {
        handleScalar(d);
      }
      if (flow().suspended()) {
        return false;
      }
    }
    resumeAt = 0;
  }
  return true;
}

template <class X>
AttributeId AdapterOf<X>::handleAttrFlowOut(AttributeId from) {
  if (flowOut() == nullptr) {
    return 0;
  }
  FlowingOut const flowing(*this);
  while (AttributeId const aborted = flow().pendingAbort()) {
    sendTransactionMarker(aborted, transactionAbort, 0);
    flow().pendingAbortDel(aborted);
  }
  AttributeId resumeAt = 0;
  std::apply([&](auto const&... d) { (void)(flowOutAttribute(d, from, resumeAt) && ...); }, X::Attributes::all);
  return resumeAt;
}

template <class X>
void AdapterOf<X>::freeResyncState(FlowOut& flowOut) {
  auto& typed = static_cast<Flow&>(flowOut);
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (isKeyed<D>) {
      if (D::id == typed.attrId()) {
        typed.template keys<D>().bookmark.reset();
      }
    }
  });
}

template <class X>
void AdapterOf<X>::doNotification(AttributeId id, void* key) {
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (isTold<D>) {
      if (D::id != id) {
        return;
      }
      if constexpr (isKeyed<D>) {
        handleKey(d, *static_cast<typename D::Key const*>(key));
      } else if constexpr (D::kind == AttributeKind::child) {
        handleChild(d);
      } else {
        handleScalar(d);
      }
    }
  });
}

template <class X>
unsigned AdapterOf<X>::audit() const {
  unsigned errors = KroNboAttrLogSa::audit();
  if (flowOut() != nullptr) {
    forEachEntityAttribute<X>([&](auto const& d) {
      using D = std::remove_cvref_t<decltype(d)>;
      if constexpr (isKeyed<D>) {
        errors += flow().template keys<D>().dirty.auditErrors(0);
      }
    });
    errors += flow().hasDirtyAttributes() && waiting().since == 0 ? 1U : 0U;  // what is dirty must wait somewhere
  }
  return errors;
}

}  // namespace Kro::NboAttrLog
