// Whole transfers of collections that arrive: the part of `AdapterOf` that marks what it has, takes the mark off what
// the peer repeats, and removes the rest at the end. Included by that header.
#pragma once

#include <utility>

#include "runtime/log/AdapterOf.h"
#include "runtime/log/Applying.h"

namespace Kro::NboAttrLog {

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
  isSweepingIs(true);
  using Iterator = typename D::MapType::Iterator;
  for (Iterator at = marked_ == D::id ? Iterator(swept.*(d.field)) : Iterator(); at && isRegistered(); at.advance()) {
    if (at->kroMarkedForDeletion()) {
      sweepingIs(D::id);
      thrown.run([&] { (swept.*(d.delAt))(at); });
      sweepingIs(0);
    }
  }
  isSweepingIs(false);
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
        flow().template keys<D>().isConfirmed = true;
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
