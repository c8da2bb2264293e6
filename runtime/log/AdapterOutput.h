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
void AdapterOf<X>::markKey(D const& d, typename D::Key const& key, bool removalOwed) noexcept {
  auto& keys = flow().keys(d);
  try {
    auto const place = keys.dirty.locate(key);
    streamDemuxer()->dirtyMark(place.member() == nullptr);
    if (place.member() != nullptr) {
      place.member()->valueIs({removalOwed || place.member()->value().removalOwed});
    } else {
      keys.dirty.newMember(key, {removalOwed}, place);
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
    flow().bitIs(d, false);
  }
  queueFlowOut();
}

template <class X>
template <class D>
void AdapterOf<X>::markBit(D const& d) noexcept {
  streamDemuxer()->dirtyMark(flow().mark(d));
  queueFlowOut();
}

template <class X>
template <class D>
void AdapterOf<X>::takeBit(D const& d) {
  if (flow().unmark(d)) {
    streamDemuxer()->dirtyUnmark();
  }
}

template <class X>
template <class D>
DirtyMark AdapterOf<X>::takeKey(D const& d, typename D::Key const& key) {
  auto& dirty = flow().keys(d).dirty;
  if (dirty.size() == 0) {
    return {};
  }
  auto* const record = dirty.find(key);
  if (record == nullptr) {
    return {};
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
  auto& exempt = flow().keys(d).exempt;
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
  forEachKeyed<X>([&](auto const& d) { clearSweepMarks(d); });
}

// --- handlers ---

/// Does what every handler does: writes where that may be done now, else marks. Without memory for the message the
/// change is marked, too, and the flow-out stops.
template <class X>
template <class Mark, class Write>
void AdapterOf<X>::writeOrMark(AttributeId id, Mark const& mark, Write const& writeNow) {
  switch (permissionToWrite(id)) {
    case Permission::ignore:
      return;
    case Permission::mark:
      mark();
      return;
    case Permission::write:
      break;
  }
  try {
    writeNow();
  } catch (std::bad_alloc const&) {
    mark();
    flow().suspend();
  }
}

template <class X>
template <class D>
void AdapterOf<X>::handleScalar(D const& d) {
  using Type = typename D::Type;
  // A bool and a counter tell their size in the header; other types carry their own structure.
  constexpr bool isSized = std::is_same_v<Type, bool> || D::kind == AttributeKind::counter;
  writeOrMark(
      D::id, [&] { markBit(d); },
      [&] {
        write(headerOf(D::id, !isSized, isSized ? sizeof(Type) : 0), (entity().*(d.get))());
        takeBit(d);
      });
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
  bool owed = flow().removalOwed(d) || !child;
  auto const mark = [&] {
    flow().removalOwedIs(d, owed);
    markBit(d);
  };
  writeOrMark(D::id, mark, [&] {
    takeBit(d);
    flow().removalOwedIs(d, false);
    auto& lastWord = flow().keys(d).lastWord;
    if (owed) {
      write(headerOf(-D::id, false));
      lastWord = streamDemuxer()->sent();
      owed = false;  // also where the creation has to wait
    }
    if (child) {
      announce(d, *child);
      lastWord = streamDemuxer()->sent();
    }
  });
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
  writeOrMark(
      D::id, [&] { markKey(d, key, false); },
      [&] {
        takeKey(d, key);
        if (typename D::Element const* const value = find()) {
          entity().kroCountRead();
          write(headerOf(D::id, true), key, *value);
        } else {
          write(headerOf(-D::id, true), key);
        }
        wroteKey(d, key);
      });
}

template <class X>
template <class D>
void AdapterOf<X>::serializeEntity(D const& d, typename D::Key const& key, Ptr<typename D::Element> const& member) {
  bool owed = !member;
  auto const mark = [&] { markKey(d, key, owed); };
  writeOrMark(D::id, mark, [&] {
    owed = takeKey(d, key).removalOwed || owed;
    if (owed) {
      auto& keys = flow().keys(d);
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
  });
}

template <class X>
template <class D>
void AdapterOf<X>::serializeReference(D const& d, typename D::Key const& key,
                                      Ptr<typename D::Element const> const& target) {
  auto const mark = [&] { markKey(d, key, false); };
  writeOrMark(D::id, mark, [&] {
    takeKey(d, key);
    Ptr<KroNboAttrLogSa> const known = target ? childAdapter(d, *target) : nullptr;
    if (known && (known->is(announcedBit) || !known->isAnnouncer())) {
      entity().kroCountRead();
      write(headerOf(D::id, true), known->entityId());
    } else {
      // Nothing, or an entity that the peer does not have yet: when that is announced, the reference follows.
      write(headerOf(-D::id, true), key);
    }
    wroteKey(d, key);
  });
}

}  // namespace Kro::NboAttrLog
