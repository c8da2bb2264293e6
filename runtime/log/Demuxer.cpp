#include "runtime/log/Demuxer.h"

#include <algorithm>
#include <mutex>

#include "runtime/value/Codec.h"

namespace Kro::NboAttrLog {

EntityResolver::~EntityResolver() = default;

DemuxerManager& globalNboAttrLogDemuxerManager() {
  thread_local DemuxerManager manager;
  return manager;
}

namespace {

/// Held while the lists change: a connection may end on another thread than it began.
std::mutex& lists() {
  static auto* const instance = new std::mutex;
  return *instance;
}

}  // namespace

DemuxerManager::~DemuxerManager() {
  std::lock_guard const lock(lists());
  for (; first_ != nullptr; first_ = first_->next_) {
    first_->manager_ = nullptr;
  }
}

Demuxer::Demuxer(Ptr<Out> out, bool opener, Limits const& limits)
    : out_(std::move(out)),
      opener_(opener),
      limits_(limits),
      lastOwn_(opener ? 1 : 0),
      manager_(&globalNboAttrLogDemuxerManager()) {
  out_->demuxerIs(this);
  std::lock_guard const lock(lists());
  next_ = std::exchange(manager_->first_, this);
}

Demuxer::~Demuxer() {
  retireAll();
  out_->demuxerIs(nullptr);
  std::lock_guard const lock(lists());
  if (manager_ != nullptr) {
    Demuxer** link = &manager_->first_;
    while (*link != this) {
      link = &(*link)->next_;
    }
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
  queue_.leavePlaceToParent(adapter);
  rootsRetired_ = rootsRetired_ || adapter.parentAdapter() == nullptr;
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
    throw AttrLogEntityException("entity id " + valueToStrep(id.value) + ": expected a new id of the peer, above " +
                                 valueToStrep(lastOfPeer_) +
                                 (id.value > UINT64_MAX - 2 ? " and not the last one" : ""));
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
  return adapter && !adapter->is(Sa::noIdBit) && !(adapter->entityId() == id);
}

// --- the queue of flow-outs ---

void Demuxer::announceRoot(Sa& adapter) {
  adapter.doAssignEntityId();
  adapter.doSerializeOrphan();
}

void Demuxer::pump() {
  while (!failed_ && out_->hasSufficientBuffer()) {
    Sa* const adapter = queue_.next();
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
      queue_.letBelowGoFirst(*adapter);
      if (sent_ == before && out_->hasSufficientBuffer() && adapter->waiting().below == 0) {
        return;  // no memory for a message: later, perhaps
      }
    } else if (adapter->flowOut() == nullptr || !adapter->flowOut()->hasDirtyAttributes()) {
      queue_.remove(*adapter);
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

void Demuxer::flowInDel(EntityId id) { flowIns_.erase(id); }

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

void Demuxer::tellReferenceHolders(Sa const& retired) noexcept {
  if (failed_ || retired.is(Sa::noIdBit)) {
    return;
  }
  try {
    for (Sa* const holder : referenceHolders_) {
      holder->targetRetired(retired.entityId(), retired.rawEntity());
    }
  } catch (...) {
    outOfMemory();
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

void Demuxer::failureIs(String8 reason) noexcept {
  if (!failed_) {
    failed_ = true;
    failure_ = std::move(reason);
  }
}

}  // namespace Kro::NboAttrLog
