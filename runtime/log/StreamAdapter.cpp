#include "runtime/entity/StreamAdapter.h"

#include "runtime/log/Demuxer.h"
#include "runtime/value/Codec.h"

namespace Kro {

namespace NboAttrLog {

FlowOut::~FlowOut() = default;
bool FlowOut::hasDirtyAttributes() const { return pendingAborts_ != 0; }
void FlowOut::pendingAbortIs(AttributeId id) { pendingAborts_ = id; }
void FlowOut::pendingAbortDel(AttributeId id) {
  if (pendingAborts_ == id) {
    pendingAborts_ = 0;
  }
}

EntityId In::peekEntityId() {
  InCursor const here = cursor();
  EntityId const id = nextEntityId();
  cursorIs(here);
  return id;
}

Ptr<Entity> In::nextEntity() {
  EntityId const id = nextEntityId();
  return resolver_ != nullptr ? share(resolver_->entityById(id)) : nullptr;
}

In::~In() = default;

}  // namespace NboAttrLog

StreamAdapter::~StreamAdapter() = default;

StreamAdapter::SyncMode StreamAdapter::SyncModeInstance(unsigned number) {
  if (number > syncModeWhole) {
    throwRangeException("SyncMode");
  }
  return static_cast<SyncMode>(number);
}

using Sa = Entity::KroNboAttrLogSa;

Sa::KroNboAttrLogSa(std::uint32_t flags, Entity& entity, Ptr<NboAttrLog::Out> const& out, KroNboAttrLogSa* parent)
    : entity_(&entity, Share{}), out_(out), demuxer_(out->demuxer()), parent_(parent) {
  flagWordIs(flagWord() | flags | noIdBit);
  nextOfEntity_ = std::exchange(entity.firstAdapter_, this);
  if (parent_ != nullptr) {
    nextSibling_ = std::exchange(parent_->firstChild_, this);
    if (nextSibling_ != nullptr) {
      nextSibling_->previousSibling_ = this;
    }
  }
}

Sa::~KroNboAttrLogSa() = default;

bool Sa::isAnnouncer() const { return demuxer_ != nullptr && (is(noIdBit) || demuxer_->isOwn(entityId_)); }

String8 Sa::name() const { return entity_->name().string(); }

void Sa::hasNotificationActiveIs(bool active) {
  bool const silent = isSilent();
  StreamAdapter::hasNotificationActiveIs(active);
  silenceWas(silent);
}

void Sa::notifierIs(Ptr<PtrInterface const> const& notifier) {
  bool const silent = isSilent();
  isDetached_ = notifier.get() != entity_.get();
  silenceWas(silent);
}

void Sa::silenceWas(bool silent) {
  if (silent != isSilent() && demuxer_ != nullptr) {
    demuxer_->queue().silenceChanged(*this);
  }
}

void Sa::kroOnInit() {}
void Sa::kroInstantiateSerialize() {}

void Sa::doAssignEntityId() {
  if (is(noIdBit)) {
    doEntityIdIs(demuxer_->newEntityId(), *demuxer_);
  }
}

void Sa::doEntityIdIs(EntityId id, NboAttrLog::Demuxer& demuxer) {
  entityId_ = id;
  demuxer.reactorIs(id, *this);
  stateIs(noIdBit, false);
  keepNoMore();
}

void Sa::keepUntilAnnounced() {
  if (is(noIdBit) && !isKept_) {
    isKept_ = true;
    referencesInc();
  }
}

void Sa::keepNoMore() {
  if (std::exchange(isKept_, false)) {
    referencesDec();
  }
}

void Sa::syncModeIs(SyncMode mode) { syncMode_ = mode; }

void Sa::doRemountSelf(Ptr<NboAttrLog::Out> const&) {
  while (firstChild_ != nullptr) {
    firstChild_->retire();
  }
}

/// How many adapters below this one began to wait before a time.
std::uint32_t Sa::waitingBelow(std::uint64_t before) const {
  std::uint32_t n = 0;
  for (KroNboAttrLogSa const* at = firstChild_; at != nullptr; at = at->nextSibling_) {
    bool const counts = !at->isSilent() && at->waiting_.since != 0 && at->waiting_.since < before;
    n += at->waitingBelow(before) + (counts ? 1U : 0U);
  }
  return n;
}

unsigned Sa::audit() const {
  unsigned errors = demuxer_ == nullptr ? 1U : 0U;  // a retired adapter stands in no entity's list
  errors += !is(noIdBit) && demuxer_ != nullptr && demuxer_->reactor(entityId_) != this ? 1U : 0U;
  for (KroNboAttrLogSa const* at = firstChild_; at != nullptr; at = at->nextSibling_) {
    errors += at->parent_ != this ? 1U : 0U;
  }
  errors += waitingBelow(UINT64_MAX) != waiting_.below ? 1U : 0U;
  errors += waitingBelow(waiting_.lastMark) != waiting_.older ? 1U : 0U;
  return errors + (waiting_.inLine != (waiting_.since != 0 && waiting_.older == 0 && !isSilent()) ? 1U : 0U);
}

bool Sa::readOnlyRemoteOk(AttributeId) const { return false; }
bool Sa::convertedToWritable(bool) { return false; }
void Sa::targetAnnounced(Entity const&) {}
void Sa::targetRetired(EntityId, Entity const&) {}

void Sa::doThrowReadOnly(AttributeId id) const {
  throw ReadOnlyException("attribute " + entity_->attributeString(id) + " of read-only proxy " + entity_->fullName() +
                          " changed");
}

void Sa::onNotificationException(AttributeId id) {
  try {
    throw;
  } catch (ReadOnlyException const&) {
    throw;  // for the caller of the mutator
  } catch (std::bad_alloc const&) {
    if (demuxer_ != nullptr) {
      demuxer_->outOfMemory();
    }
  } catch (std::exception const& error) {
    if (demuxer_ != nullptr) {
      demuxer_->failureIs(demuxer_->reasonOf([&] {
        return "writing " + entity_->attributeString(id) + " of " + entity_->fullName() + ": " + String8(error.what());
      }));
    }
  }
}

void Sa::retire() {
  if (demuxer_ == nullptr) {
    return;
  }
  Ptr<NboAttrLog::Out> const out = out_;  // outlives what follows
  while (firstChild_ != nullptr) {
    firstChild_->retire();
  }
  Ptr<KroNboAttrLogSa> const held = demuxer_->unregister(*this);
  registrationDel();
  flowOut_ = nullptr;
  for (KroNboAttrLogSa** link = &entity_->firstAdapter_; *link != nullptr; link = &(*link)->nextOfEntity_) {
    if (*link == this) {
      *link = std::exchange(nextOfEntity_, nullptr);
      break;
    }
  }
  if (parent_ != nullptr) {
    if (nextSibling_ != nullptr) {
      nextSibling_->previousSibling_ = previousSibling_;
    }
    (previousSibling_ != nullptr ? previousSibling_->nextSibling_ : parent_->firstChild_) = nextSibling_;
    nextSibling_ = previousSibling_ = parent_ = nullptr;
  }
  demuxer_ = nullptr;
  out_ = nullptr;
  keepNoMore();
}

// --- guards of the writers ---

bool Sa::mayWriteAtAll(AttributeId id) {
  if (is(mutedBit) || (!is(applyingBit) && handlingFlowInFor(id))) {
    return false;
  }
  if (is(noIdBit | heldBit | applyingBit) || !is(attachedBit) || !out_) {
    stateIs(applyingBit, false);
    return false;
  }
  if (is(readOnlyBit) && !convertedToWritable(false)) {
    if (isSilent()) {
      return false;
    }
    doThrowReadOnly(id);
  }
  return true;
}

Sa::Permission Sa::permissionToWrite(AttributeId id) {
  if (!mayWriteAtAll(id)) {
    return Permission::ignore;
  }
  if (isSilent()) {
    return Permission::mark;
  }
  bool const bufferShort = !out_->hasSufficientBuffer();
  if (!is(deferredBit)) {
    return prepareImmediateTransmission(id, bufferShort) ? Permission::write : Permission::mark;
  }
  bool const mustWait = bufferShort || is(forceDeferBit) || waiting_.since != 0 || waiting_.below != 0;
  return !is(flowingOutBit) && mustWait ? Permission::mark : Permission::write;
}

bool Sa::prepareImmediateTransmission(AttributeId, bool bufferShort) {
  if (is(flowingOutBit)) {
    if (bufferShort) {
      flowOut_->suspend();
    }
    return !bufferShort;
  }
  return !bufferShort && waiting_.since == 0 && waiting_.below == 0;
}

bool Sa::continueFlowOut() const { return !yielding_ && out_->hasSufficientBuffer(); }

bool Sa::handlingFlowInFor(AttributeId id) {
  if (sweeping_ != id || id == 0) {
    return false;
  }
  sweeping_ = 0;
  return true;
}

void Sa::queueFlowOut() {
  if (!is(flowingOutBit)) {
    demuxer_->queue().mark(*this);
  }
}

// --- messages ---

void Sa::beforeMessage() { demuxer_->writeApplied(); }
void Sa::afterMessage() { lastSent_ = demuxer_->messageSent(); }
bool Sa::peerIsBehind() const { return demuxer_ != nullptr && lastSent_ > demuxer_->peerApplied(); }

void Sa::sendTransactionMarker(AttributeId id, AttrTransactionType type, unsigned) {
  beforeMessage();
  std::uint8_t* const start = out_->room(NboAttrLog::WireHeader::size + 1);
  NboAttrLog::WireHeader wire{1, NboAttrLog::MsgKind::marker, {}};
  wire.header.entityId = entityId_;
  wire.header.attributeId = id;
  wire.put(start);
  out_->messageWritten(Codec<std::uint8_t>::put(start + NboAttrLog::WireHeader::size, static_cast<std::uint8_t>(type)));
  afterMessage();
}

Sa::FlowingOut::FlowingOut(KroNboAttrLogSa& adapter) : adapter_(adapter), saved_(adapter.flagWord() & flowingOutBit) {
  if (adapter.flowOut_) {
    adapter.stateIs(flowingOutBit, true);
    adapter.flowOut_->kroDataBitsIs(
        static_cast<std::uint8_t>(adapter.flowOut_->kroDataBits() & ~NboAttrLog::FlowOut::suspendedBit));
  }
  adapter.yielding_ = false;
}

Sa::FlowingOut::~FlowingOut() { adapter_.stateIs(flowingOutBit, saved_ != 0); }

}  // namespace Kro
