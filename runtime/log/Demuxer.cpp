#include "runtime/log/Demuxer.h"

#include <algorithm>

namespace Kro::NboAttrLog {

EntityResolver::~EntityResolver() = default;

DemuxerManager& globalNboAttrLogDemuxerManager() {
  thread_local DemuxerManager manager;
  return manager;
}

Demuxer::Demuxer(Ptr<Out> out, bool opener, Limits const& limits)
    : out_(std::move(out)), opener_(opener), limits_(limits), lastOwn_(opener ? 1 : 0) {
  out_->demuxerIs(this);
  DemuxerManager& manager = globalNboAttrLogDemuxerManager();
  next_ = std::exchange(manager.first_, this);
}

Demuxer::~Demuxer() {
  retireAll();
  out_->demuxerIs(nullptr);
  Demuxer** link = &globalNboAttrLogDemuxerManager().first_;
  while (*link != nullptr && *link != this) {
    link = &(*link)->next_;
  }
  if (*link == this) {
    *link = next_;
  }
}

// --- ids and adapters ---

Demuxer::Sa* Demuxer::reactor(EntityId id) const {
  if (lastFound_ != nullptr && lastFound_->entityId() == id) {
    return lastFound_;
  }
  auto const found = reactors_.find(id);
  if (found == reactors_.end()) {
    return nullptr;
  }
  lastFound_ = found->second.get();
  return lastFound_;
}

void Demuxer::reactorIs(EntityId id, Sa& adapter) { reactors_.insert_or_assign(id, share(&adapter)); }

Ptr<Demuxer::Sa> Demuxer::reactorDel(EntityId id) {
  Ptr<Sa> const adapter = share(reactor(id));
  if (adapter) {
    adapter->retire();
  }
  return adapter;
}

Ptr<Demuxer::Sa> Demuxer::unregister(Sa& adapter) {
  leavePlaceToParent(adapter);
  unqueue(adapter);
  std::erase(referenceHolders_, &adapter);
  tellReferenceHolders(adapter);
  flowInDel(adapter.entityId());
  if (lastFound_ == &adapter) {
    lastFound_ = nullptr;
  }
  Ptr<Sa> held = share(&adapter);
  if (auto const found = reactors_.find(adapter.entityId()); found != reactors_.end() && found->second == held) {
    reactors_.erase(found);
  }
  return held;
}

void Demuxer::retireAll() {
  while (!reactors_.empty()) {
    Ptr<Sa> const adapter = reactors_.begin()->second;
    adapter->retire();
  }
}

Entity* Demuxer::entityById(EntityId id) const {
  Sa* const adapter = reactor(id);
  return adapter != nullptr ? &adapter->rawEntity() : nullptr;
}

EntityId Demuxer::newEntityId() {
  lastOwn_ += 2;
  return EntityId{lastOwn_};
}

bool Demuxer::wasGiven(EntityId id) const { return id.value >= 2 && id.value <= (isOwn(id) ? lastOwn_ : lastOfPeer_); }

void Demuxer::idSpent(EntityId id) {
  if (!isNewOfPeer(id)) {
    throw AttrLogEntityException(format("entity id %lld: expected a new id of the peer, above %lld",
                                        static_cast<long long>(id.value), static_cast<long long>(lastOfPeer_)));
  }
  lastOfPeer_ = id.value;
}

void Demuxer::requireRoomForEntity(Sa const* parent) const {
  if (reactors_.size() >= limits_.entities) {
    throw AttrLogEntityException(
        format("more entities than the limit of %lld", static_cast<long long>(limits_.entities)));
  }
  std::uint32_t depth = 0;
  for (; parent != nullptr; parent = parent->parentAdapter()) {
    ++depth;
  }
  if (depth > limits_.nesting) {
    throw AttrLogEntityException(
        format("entities nested deeper than the limit of %lld", static_cast<long long>(limits_.nesting)));
  }
}

bool Demuxer::checkEphemeralEntityDeletion(Entity* entity, EntityId const& id, bool) const {
  if (entity == nullptr) {
    return false;
  }
  Ptr<Sa> const adapter = entity->kroNboAttrLogSa(Ptr<Out const>(out_));
  return adapter && !(adapter->entityId() == id);
}

// --- the queue of flow-outs ---

void Demuxer::countBelow(Sa& adapter, bool more) {
  for (Sa* above = adapter.parentAdapter(); above != nullptr; above = above->parentAdapter()) {
    above->waiting().below += more ? 1U : -1U;
  }
}

void Demuxer::queue(Sa& adapter) {
  Sa::Waiting& w = adapter.waiting();
  w.lastMark = ++clock_;
  if (w.since == 0) {
    insert(adapter, nullptr, clock_);
  }
}

/// Links an adapter that does not wait into the queue in front of another one, or at its end.
void Demuxer::insert(Sa& adapter, Sa* behind, std::uint64_t since) {
  Sa::Waiting& w = adapter.waiting();
  w.since = since;
  w.behind = behind;
  w.before = behind != nullptr ? behind->waiting().before : last_;
  (w.before != nullptr ? w.before->waiting().behind : first_) = &adapter;
  (behind != nullptr ? behind->waiting().before : last_) = &adapter;
  countBelow(adapter, true);
}

/// What waits in an adapter that is taken off the stream goes with it, and its removal takes the place in the queue:
/// nothing of the entities above it may overtake that.
void Demuxer::leavePlaceToParent(Sa& adapter) {
  Sa* const parent = adapter.parentAdapter();
  if (adapter.waiting().since == 0 || parent == nullptr) {
    return;
  }
  if (std::uint64_t const since = parent->waiting().since; since == 0 || since > adapter.waiting().since) {
    unqueue(*parent);
    insert(*parent, &adapter, adapter.waiting().since);
  }
}

void Demuxer::unqueue(Sa& adapter) {
  Sa::Waiting& w = adapter.waiting();
  if (w.since == 0) {
    return;
  }
  (w.before != nullptr ? w.before->waiting().behind : first_) = w.behind;
  (w.behind != nullptr ? w.behind->waiting().before : last_) = w.before;
  w.before = w.behind = nullptr;
  w.since = 0;
  countBelow(adapter, false);
}

bool Demuxer::isRunnable(Sa const& adapter) const {
  if (adapter.is(Sa::applyingBit | Sa::heldBit | Sa::mutedBit)) {
    return false;
  }
  if (FlowIn const* const transfer = const_cast<Demuxer*>(this)->flowIn(adapter.entityId());
      transfer != nullptr && transfer->handlingTransaction()) {
    return false;
  }
  if (adapter.waiting().below == 0) {
    return true;
  }
  // Older changes below it go first: the queue is in the order in which its adapters began to wait.
  for (Sa* at = first_; at != nullptr && at->waiting().since < adapter.waiting().lastMark; at = at->waiting().behind) {
    for (Sa const* above = at->parentAdapter(); above != nullptr; above = above->parentAdapter()) {
      if (above == &adapter) {
        return false;
      }
    }
  }
  return true;
}

Demuxer::Sa* Demuxer::nextRunnable() const {
  for (Sa* at = first_; at != nullptr; at = at->waiting().behind) {
    if (isRunnable(*at)) {
      return at;
    }
  }
  return nullptr;
}

void Demuxer::announceRoot(Sa& adapter) {
  adapter.doAssignEntityId();
  adapter.doSerializeOrphan();
}

void Demuxer::pump() {
  while (!failed_ && out_->hasSufficientBuffer()) {
    Sa* const adapter = nextRunnable();
    if (adapter == nullptr) {
      return;
    }
    if (adapter->is(Sa::noIdBit)) {
      announceRoot(*adapter);
      continue;
    }
    std::uint64_t const before = sent_;
    // Always from the first attribute: what became dirty before the one at which it stopped may be older.
    if (adapter->handleAttrFlowOut(0) != 0 || adapter->isYielding()) {
      // What it announced began to wait before; it is not done before that is, even with nothing left to write.
      adapter->waiting().lastMark = ++clock_;
      if (sent_ == before && out_->hasSufficientBuffer() && adapter->waiting().below == 0) {
        return;  // no memory for a message: later, perhaps
      }
    } else if (adapter->flowOut() == nullptr || !adapter->flowOut()->hasDirtyAttributes()) {
      unqueue(*adapter);
    } else if (sent_ == before) {
      throwInternalException("a flow-out writes nothing and stays dirty: " + adapter->rawEntity().fullName());
    }
  }
}

// --- how far the ends have come ---

void Demuxer::peerAppliedIs(std::uint64_t n) {
  if (n < peerApplied_ || n > sent_) {
    throw AttrLogEntityException(format("the peer applied %lld messages, expected %lld to %lld",
                                        static_cast<long long>(n), static_cast<long long>(peerApplied_),
                                        static_cast<long long>(sent_)));
  }
  peerApplied_ = n;
}

void Demuxer::writeApplied() {
  if (applied_ == appliedTold_) {
    return;
  }
  std::uint8_t* const start = out_->room(WireHeader::size + 8);
  WireHeader{8, MsgKind::applied, {}}.put(start);
  out_->messageWritten(storeBigEndian(start + WireHeader::size, applied_));
  appliedTold_ = applied_;
}

void Demuxer::writeAppliedIfMany() {
  constexpr std::uint64_t many = 1024;
  if (applied_ - appliedTold_ >= many && out_->hasSufficientBuffer()) {
    writeApplied();
  }
}

// --- transfers that arrive ---

FlowIn* Demuxer::flowIn(EntityId id) {
  if (flowIns_.empty()) {
    return nullptr;
  }
  auto const found = flowIns_.find(id);
  return found != flowIns_.end() ? &found->second : nullptr;
}

FlowIn& Demuxer::flowInIs(EntityId id) { return flowIns_[id]; }

void Demuxer::flowInDel(EntityId id) {
  auto const found = flowIns_.find(id);
  if (found == flowIns_.end()) {
    return;
  }
  AttributeId const attribute = found->second.aid();
  flowIns_.erase(found);
  if (auto const adapter = reactors_.find(id); adapter != reactors_.end()) {
    adapter->second->sweepMarksDel(attribute);
  }
}

// --- references ---

void Demuxer::announced(Entity const& entity) {
  for (Sa* const holder : referenceHolders_) {
    holder->targetAnnounced(entity);
  }
}

void Demuxer::removedByPeer(Entity const& entity) {
  for (Sa* const holder : referenceHolders_) {
    if (holder->isAnnouncer() && holder->peerIsBehind()) {
      holder->targetAnnounced(entity);
    }
  }
}

void Demuxer::tellReferenceHolders(Sa const& retired) {
  if (failed_ || retired.is(Sa::noIdBit)) {
    return;
  }
  try {
    for (Sa* const holder : referenceHolders_) {
      holder->targetRetired(retired.entityId(), retired.rawEntity());
    }
  } catch (std::bad_alloc const&) {
    failureIs("no memory for an entity that goes");
  }
}

void Demuxer::dirtyMark(bool isNew) {
  if (!isNew) {
    ++stats_.mergedChanges;
    return;
  }
  ++stats_.dirtyMarks;
  stats_.dirtyMarksPeak = std::max(stats_.dirtyMarksPeak, stats_.dirtyMarks);
}

void Demuxer::failureIs(String8 reason) {
  if (!failed_) {
    failed_ = true;
    failure_ = std::move(reason);
  }
}

}  // namespace Kro::NboAttrLog
