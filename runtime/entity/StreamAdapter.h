// The base of stream adapters: what mirrors one entity into one attribute-log stream, whatever the entity's type. The
// part that knows the type's attributes is `NboAttrLog::AdapterOf` in the log's folder.
#pragma once

#include <cstdint>
#include <memory>

#include "runtime/entity/Entity.h"
#include "runtime/stream/In.h"
#include "runtime/stream/Out.h"

namespace Kro {

namespace NboAttrLog {

class Demuxer;

/// What one adapter still has to write, beyond the keys and bits that the adapter's own type adds.
class VORNACL_API FlowOut : public PtrInterface {
 public:
  static constexpr std::uint8_t suspendedBit = 0x10;
  /// From here on no attribute is left: a flow-out made with it starts clean and synced.
  static constexpr AttributeId nothing = 2147483647;

  ~FlowOut() override;

  /// The attribute that is being written.
  void attrIdIs(AttributeId id) { attrId_ = id; }
  AttributeId attrId() const { return attrId_; }
  void kroDataBitsIs(std::uint8_t bits) { dataBits_ = bits; }
  std::uint8_t kroDataBits() const { return dataBits_; }
  bool suspended() const { return (dataBits_ & suspendedBit) != 0; }
  void suspend() { dataBits_ |= suspendedBit; }
  /// Takes an attribute out of the transfers that must be told to have been dropped.
  void pendingAbortDel(AttributeId id);
  void pendingAbortIs(AttributeId id);
  /// The first dropped transfer that the peer was not told of, 0 where there is none.
  AttributeId pendingAbort() const { return pendingAborts_; }

  /// Whether anything waits to be written.
  virtual bool hasDirtyAttributes() const;

 private:
  AttributeId attrId_ = 0;
  AttributeId pendingAborts_ = 0;
  std::uint8_t dataBits_ = 0;
};

}  // namespace NboAttrLog

/// Base of all adapters between an entity and a stream.
class VORNACL_API StreamAdapter : public PtrInterface::NotifieeConst {
 public:
  enum SyncMode : unsigned { syncModeOff = 0, syncModeOn = 1, syncModeWhole = 2 };
  enum AttrTransactionType : unsigned { transactionBegin = 0, transactionAbort = 1, transactionEnd = 2 };
  enum DeserializationOptions : unsigned { noOptions = 0 };

  /// The enumerator of a number; any other throws `RangeException` "SyncMode".
  static SyncMode SyncModeInstance(unsigned number);

  ~StreamAdapter() override;
  bool isStreamAdapter() const override { return true; }
};

/// The state adapter of an entity on one attribute-log stream. It observes its entity ahead of ordinary observers and
/// turns each change into a message at once when the stream can take it, or marks it dirty and writes it when it is
/// flowed out. Owned by the demultiplexer of its stream under its entity id.
class VORNACL_API Entity::KroNboAttrLogSa : public StreamAdapter {
 public:
  /// Bits of the state word, which is the observer's flag word.
  enum StateBit : std::uint32_t {
    readOnlyBit = 0x4,          ///< a read-only proxy: a local change raises the read-only error
    readOnlyRemoteBit = 0x8,    ///< the peer's changes are refused
    applyingBit = 0x10,         ///< one-shot echo suppression while an incoming value is applied
    noIdBit = 0x20,             ///< no entity id yet: nothing is written
    heldBit = 0x100,            ///< nothing is written
    mutedBit = 0x2000,          ///< handlers do nothing
    deferredBit = 0x100000,     ///< deferred mode
    flowingOutBit = 0x400000,   ///< set while the flow-out runs
    announcedBit = 0x2000000,   ///< the creation message was written
    attachedBit = 0x4000000,    ///< must be set for anything to be written; set on construction
    forceDeferBit = 0x8000000,  ///< deferred mode: defer even with room
  };

  ~KroNboAttrLogSa() override;

  bool is(std::uint32_t bits) const { return (flagWord() & bits) != 0; }
  void stateIs(std::uint32_t bits, bool on) { flagWordIs(on ? flagWord() | bits : flagWord() & ~bits); }

  /// The stream, null once the adapter is retired.
  Ptr<NboAttrLog::Out> const& nboAttrLogOut() const { return out_; }
  NboAttrLog::Demuxer* streamDemuxer() const { return demuxer_; }
  EntityId entityId() const { return entityId_; }
  virtual EntityId realEntityId() const { return entityId_; }
  /// The number of this end's message that announced the entity last, 0 where the peer announced it.
  std::uint64_t announcedAt() const { return announcedAt_; }
  void announcedAtIs(std::uint64_t message) { announcedAt_ = message; }
  /// The entity; alive as long as the adapter.
  Ptr<Entity> kroNotifierEntity() const { return entity_; }
  Entity& rawEntity() const { return *entity_; }
  KroNboAttrLogSa* parentAdapter() const { return parent_; }
  KroNboAttrLogSa* nextOfEntity() const { return nextOfEntity_; }
  NboAttrLog::FlowOut* flowOut() const { return flowOut_.get(); }
  SyncMode syncMode() const { return syncMode_; }
  /// This end gave the entity its id and alone sends whole transfers of it.
  bool isAnnouncer() const;

  /// Whether the peer has not applied all of this end's messages about this entity.
  bool peerIsBehind() const;

  String8 name() const override;
  bool isRegistered() const { return demuxer_ != nullptr; }
  /// The flow-out announced a child and goes on when that child's is done.
  bool isYielding() const { return yielding_; }

  /// Switched off, or detached from its entity, the adapter is silent: it writes nothing, and marks every change, which
  /// goes out when it is switched on and attached again. The peer's messages are applied all the same. What it has to
  /// write holds nobody else up; only the peer is not told meanwhile that all has come.
  void hasNotificationActiveIs(bool active) override;
  /// An adapter mirrors one entity for good: null or any other notifier detaches it, its own attaches it again.
  void notifierIs(Ptr<PtrInterface const> const& notifier) override;
  bool isSilent() const { return !hasNotificationActive() || isDetached_; }

  /// Writes what waits, from attribute `from` on; 0 when all was passed, else the attribute to resume at.
  virtual AttributeId handleAttrFlowOut(AttributeId from) = 0;
  /// Drops what a transfer that was interrupted keeps for its resumption.
  virtual void freeResyncState(NboAttrLog::FlowOut& flowOut) = 0;
  virtual void kroOnInit();
  /// Announces the children, as the first flow-out does.
  virtual void kroInstantiateSerialize();
  /// Writes the root creation message.
  virtual void doSerializeOrphan() = 0;
  /// Reads one message about attribute `id` (negated: a removal). With null `in` it is read from the own connection and
  /// applied; from a given `in` it is consumed and the current value is written instead.
  virtual void handleAttrDeserialization(AttributeId id, DeserializationOptions options, unsigned n,
                                         Ptr<NboAttrLog::In> const& in) = 0;
  virtual void handleAttrTransaction(AttributeId id, AttrTransactionType type, unsigned n) = 0;
  virtual void doAssignEntityId();
  /// Makes the flow-out: attributes from `from` on start dirty, those before it clean.
  virtual void flowOutIs(AttributeId from) = 0;
  /// Runs the handler of an attribute; `key` points to the key of a keyed one.
  virtual void doNotification(AttributeId id, void* key) = 0;
  virtual void syncModeIs(SyncMode mode);
  virtual void doRemountSelf(Ptr<NboAttrLog::Out> const& out);
  /// The adapter of a child or member: found, or made and announced. Null where the entity's type has no such one.
  virtual Ptr<KroNboAttrLogSa> childAdapterIs(Entity& child) = 0;
  /// Whether messages about this attribute (negated or not) are understood.
  virtual bool knowsAttribute(AttributeId id) const = 0;
  /// Forgets a whole transfer into attribute `id` of this entity: what it has marked stays.
  virtual void sweepDel(AttributeId id) = 0;
  /// References held here to this entity are written again: it was announced, or the peer removed it.
  virtual void targetAnnounced(Entity const& target);
  /// An entity goes off the stream that references may be to.
  virtual void targetRetired(EntityId id, Entity const& target);
  /// Consistency errors of the adapter itself.
  virtual unsigned audit() const;

  /// Whether a write-update of a read-only proxy is allowed all the same; never in the base.
  virtual bool readOnlyRemoteOk(AttributeId id) const;
  virtual bool convertedToWritable(bool force);
  [[noreturn]] void doThrowReadOnly(AttributeId id) const;

  /// Lets the read-only error pass to the caller of the mutator; any other failure closes the connection.
  void onNotificationException(AttributeId id) override;

  /// Whether the flow-out may run now; otherwise what waits goes on waiting.
  bool mayFlowOut() const { return is(attachedBit) && !is(applyingBit | heldBit | mutedBit) && !isSweeping_; }

  /// Until it has an id, and with it an owner, the adapter keeps itself.
  void keepUntilAnnounced();

  /// Takes the adapter, and those of everything below, off the stream: the id is spent, nothing is written any more.
  void retire();
  /// Gives the adapter an id, registers it and lets it write.
  void doEntityIdIs(EntityId id, NboAttrLog::Demuxer& demuxer);

  void onZeroReferences() override {}

  /// What the queue of the stream knows of an adapter.
  struct Waiting {
    KroNboAttrLogSa* before = nullptr;
    KroNboAttrLogSa* behind = nullptr;
    std::uint64_t since = 0;  ///< when the flow-out began to wait; 0: it does not
    std::uint64_t lastMark = 0;
    std::uint32_t below = 0;  ///< adapters below this one that wait
    std::uint32_t older = 0;  ///< those of them that began before the last mark
    bool inLine = false;
  };
  Waiting& waiting() { return waiting_; }
  Waiting const& waiting() const { return waiting_; }

 protected:
  KroNboAttrLogSa(std::uint32_t flags, Entity& entity, Ptr<NboAttrLog::Out> const& out, KroNboAttrLogSa* parent);

  /// Whether a handler may write, must mark, or has nothing to do.
  enum class Permission { ignore, mark, write };
  /// The guards of every handler. `keyed` writers look at the buffer themselves.
  Permission permissionToWrite(AttributeId id);
  /// The guards of whole-collection writers: false when nothing may be written at all.
  bool mayWriteAtAll(AttributeId id);
  /// Whether the runtime lets a change be written out of the queue's turn.
  bool prepareImmediateTransmission(AttributeId id, bool bufferShort);
  /// Whether the flow-out may go on: there is room, and no child was announced that must go first.
  bool continueFlowOut() const;
  /// True for exactly the removal that a sweep is making.
  bool handlingFlowInFor(AttributeId id);
  void sweepingIs(AttributeId id) { sweeping_ = id; }
  /// A sweep begins or has ended.
  void isSweepingIs(bool sweeps) { isSweeping_ = sweeps; }

  /// Puts the adapter into the queue of its stream.
  void queueFlowOut();
  void sendTransactionMarker(AttributeId id, AttrTransactionType type, unsigned n);
  /// A message is about to be written, and was.
  void beforeMessage();
  void afterMessage();
  /// The child's flow-out goes first.
  void yieldToChild() { yielding_ = true; }
  void flowOutStored(Ptr<NboAttrLog::FlowOut> flowOut) { flowOut_ = std::move(flowOut); }
  /// The registration in the entity's observer list is dropped.
  virtual void registrationDel() = 0;

  /// Sets the state bit of a running flow-out and restores it on every way out.
  class FlowingOut {
   public:
    explicit FlowingOut(KroNboAttrLogSa& adapter);
    ~FlowingOut();
    FlowingOut(FlowingOut const&) = delete;
    FlowingOut& operator=(FlowingOut const&) = delete;

   private:
    KroNboAttrLogSa& adapter_;
    std::uint32_t saved_;
  };

 private:
  std::uint32_t waitingBelow(std::uint64_t before) const;
  void silenceWas(bool silent);
  void keepNoMore();

  Ptr<Entity> entity_;
  EntityId entityId_;
  Ptr<NboAttrLog::Out> out_;
  NboAttrLog::Demuxer* demuxer_ = nullptr;
  KroNboAttrLogSa* parent_;
  KroNboAttrLogSa* firstChild_ = nullptr;
  KroNboAttrLogSa* nextSibling_ = nullptr;
  KroNboAttrLogSa* previousSibling_ = nullptr;
  KroNboAttrLogSa* nextOfEntity_ = nullptr;
  Ptr<NboAttrLog::FlowOut> flowOut_;
  SyncMode syncMode_ = syncModeOff;
  AttributeId sweeping_ = 0;  ///< whose entry the sweep is removing
  bool isSweeping_ = false;
  bool isDetached_ = false;
  bool isKept_ = false;
  bool yielding_ = false;
  std::uint64_t lastSent_ = 0;  ///< number of the last message about this entity
  std::uint64_t announcedAt_ = 0;
  Waiting waiting_;
};

}  // namespace Kro
