// The writing half of `AdapterOf`: marks, and the messages about single attributes and entries. Included by that
// header.
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
      streamDemuxer()->outOfMemory();
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
  streamDemuxer()->dirtyMark(flow().template mark<D>());
  queueFlowOut();
}

template <class X>
template <class D>
void AdapterOf<X>::takeBit(D const&) {
  if (flow().template unmark<D>()) {
    streamDemuxer()->dirtyUnmark();
  }
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

/// The adapter goes off the stream: nothing waits here any more, and no transfer is open.
template <class X>
void AdapterOf<X>::marksGone() {
  if (flowOut() == nullptr || streamDemuxer() == nullptr) {
    return;
  }
  streamDemuxer()->dirtyUnmark(flow().dirtyMarks());
  forEachEntityAttribute<X>([&](auto const& d) {
    if constexpr (isKeyed<std::remove_cvref_t<decltype(d)>>) {
      clearSweepMarks(d);
    }
  });
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
    takeBit(d);
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
  bool owed = flow().template removalOwed<D>() || !child;
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
  takeBit(d);
  flow().template removalOwedIs<D>(false);
  try {
    auto& lastWord = flow().template keys<D>().lastWord;
    if (owed) {
      write(headerOf(-D::id, false));
      lastWord = streamDemuxer()->sent();
      owed = false;  // also where the creation has to wait
    }
    if (child) {
      announce(d, *child);
      lastWord = streamDemuxer()->sent();
    }
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

template <class X>
void AdapterOf<X>::handleChange(AttributeId id, void const* key) {
  withChange<X>(
      id, key, [&](auto const& d, auto const& of) { handleKey(d, of); },
      [&](auto const& d) {
        if constexpr (std::remove_cvref_t<decltype(d)>::kind == AttributeKind::child) {
          handleChild(d);
        } else {
          handleScalar(d);
        }
      });
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
  bool owed = takeKey(d, key).removalOwed || !member;
  try {
    if (owed) {
      auto& keys = flow().template keys<D>();
      decltype(keys.removals) removal;
      if (isAnnouncer()) {
        removal.emplace_back(key, 0);  // before the message, which must not be written and forgotten
      }
      write(headerOf(-D::id, true), key);
      if (isAnnouncer()) {
        removal.back().second = streamDemuxer()->sent();
        keys.forgetRemovals(streamDemuxer()->peerApplied());
        keys.removals.splice(keys.removals.end(), removal);
      }
      owed = false;  // also where the creation has to wait
    }
    if (member) {
      announce(d, *member);
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

}  // namespace Kro::NboAttrLog
