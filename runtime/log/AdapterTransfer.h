// Whole transfers of collections that arrive: the part of `AdapterOf` that marks what it has, takes the mark off what
// the peer repeats, and removes the rest at the end. Between markers one collection is transferred at a time; under the
// sync mode, all those of an entity into which no transfer is open. Included by that header.
#pragma once

#include <type_traits>
#include <utility>

#include "runtime/log/AdapterOf.h"

namespace Kro::NboAttrLog {

// --- sync mode ---

template <class X>
void AdapterOf<X>::deserializeSyncMode(In& in) {
  SyncMode const mode = SyncModeInstance(in.nextU32());
  if (mode == syncModeWhole) {
    forEachKeyed<X>([&](auto const& d) { countBegin(d); });
  }
  startApplying(in);
  syncModeIs(mode);
}

/// The peer begins or ends a whole transfer of the entity, which no markers enclose.
template <class X>
void AdapterOf<X>::syncModeIs(SyncMode mode) {
  KroNboAttrLogSa::syncModeIs(mode);
  if (streamDemuxer() == nullptr || streamDemuxer()->failed() || !is(applyingBit) || isAnnouncer()) {
    return;
  }
  stateIs(applyingBit, false);  // a sweep silences each removal of its own, and nothing else
  FlowIn const* const open = streamDemuxer()->flowIn(entityId());
  AttributeId const transferred = open != nullptr ? open->aid() : 0;
  detail::HeldBack thrown;
  forEachKeyed<X>([&](auto const& d) {
    if (!isRegistered() || d.id == transferred) {
      return;
    }
    if (mode == syncModeWhole) {
      markForSweep(d);
    } else {
      sweep(d, thrown);
    }
  });
  thrown.release();
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
  for (KroNboAttrLogSa* at = rawEntity().kroFirstAdapter(); at != nullptr; at = at->nextOfEntity()) {
    if (at != this) {
      at->sweepDel(D::id);  // of another connection: the younger one decides
    }
  }
  auto& keys = flow().keys(d);
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
    auto const key = keyOf<D>(record);
    return keys.exempt.count(key) != 0 || keys.dirty.find(key) != nullptr;
  };
  keys.isMarked = false;
  for (auto& record : entity().*(d.field)) {
    bool const marks = !isOwnWord(record);
    record.kroMarkedForDeletionIs(marks);
    keys.isMarked = keys.isMarked || marks;
  }
}

template <class X>
template <class D>
void AdapterOf<X>::repeated(D const& d, typename D::Key const& key) {
  if (!flow().keys(d).isMarked) {
    return;
  }
  if (auto* const record = (entity().*(d.field)).find(key)) {
    clearSweepMark(*record);
  }
}

template <class X>
template <class D>
void AdapterOf<X>::clearSweepMarks(D const& d) {
  if (std::exchange(flow().keys(d).isMarked, false)) {
    for (auto& record : entity().*(d.field)) {
      clearSweepMark(record);
    }
  }
}

/// Removes what the transfer did not repeat, through the ordinary removers: counted, told, not echoed.
template <class X>
template <class D>
void AdapterOf<X>::sweep(D const& d, detail::HeldBack& thrown) {
  Ptr<KroNboAttrLogSa> const held = share<KroNboAttrLogSa>(this);
  X& swept = entity();
  flow().keys(d).isConfirmed = true;
  flow().keys(d).begins = 0;
  auto const isMarked = [&] { return isRegistered() && flow().keys(d).isMarked; };
  isSweepingIs(true);
  using Iterator = typename D::MapType::Iterator;
  for (Iterator at = isMarked() ? Iterator(swept.*(d.field)) : Iterator(); at && isMarked(); at.advance()) {
    if (at->kroMarkedForDeletion()) {
      sweepingIs(D::id);
      thrown.run([&] { (swept.*(d.delAt))(at); });
      sweepingIs(0);
    }
  }
  isSweepingIs(false);
  if (isRegistered()) {
    flow().keys(d).isMarked = false;
  }
}

/// Each begin costs a walk over the whole collection, so a peer may not go on with them for ever.
template <class X>
template <class D>
void AdapterOf<X>::countBegin(D const& d) {
  constexpr unsigned most = 8;
  if (flow().keys(d).begins++ == most) {
    throw AttrLogEntityException(String8(d.name) +
                                 format(": a transfer begins after %u others that have no end", most));
  }
}

template <class X>
void AdapterOf<X>::handleAttrTransaction(AttributeId id, AttrTransactionType type, unsigned) {
  Demuxer& demuxer = *streamDemuxer();
  FlowIn* const open = demuxer.flowIn(entityId());
  detail::HeldBack thrown;
  withKeyed<X>(id, [&](auto const& d) {
    if (type == transactionBegin) {
      countBegin(d);
      demuxer.applyingIs(true);
      if (open != nullptr && open->aid() != id) {
        sweepDel(open->aid());
      }
      demuxer.flowInIs(entityId()).aidIs(id);
      markForSweep(d);
    } else if (type == transactionEnd && open != nullptr && open->aid() == id) {
      demuxer.applyingIs(true);
      open->handlingTransactionIs(true);
      sweep(d, thrown);
    }
  });
  // The sweep may have ended the connection, or the transfer.
  if (FlowIn const* const left = isRegistered() ? demuxer.flowIn(entityId()) : nullptr;
      left != nullptr && type != transactionBegin) {
    sweepDel(left->aid());
  }
  thrown.release();
}

template <class X>
void AdapterOf<X>::sweepDel(AttributeId id) {
  if (FlowIn const* const open = streamDemuxer()->flowIn(entityId()); open != nullptr && open->aid() == id) {
    streamDemuxer()->flowInDel(entityId());
  }
  withKeyed<X>(id, [&](auto const& d) { clearSweepMarks(d); });
}

}  // namespace Kro::NboAttrLog
