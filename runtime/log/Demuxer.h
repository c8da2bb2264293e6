// The demultiplexer of one connection: which adapter has which entity id, what waits to be written and in which order,
// which transfers are open, and how far the peer has come.
//
// Invariants
//  1. An id is given once. This end's ids have its parity, the peer's the other one; both only grow.
//  2. A registered adapter is alive, has this demultiplexer and an id under which it is found here. One that was
//     registered and is no more is retired: its id stays spent.
#pragma once

#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "runtime/entity/StreamAdapter.h"
#include "runtime/log/FlowIn.h"
#include "runtime/log/Queue.h"

namespace Kro::NboAttrLog {

/// What one connection may take up, each with its default. A limit hit closes that connection only.
struct Limits {
  std::uint32_t messageBytes = 16U << 20U;   ///< payload of one message
  std::uint32_t stringBytes = 1U << 20U;     ///< one string within a message
  std::uint32_t bufferedBytes = 64U << 10U;  ///< pending output from which on changes wait as dirty marks
  std::uint32_t nesting = 16;                ///< depth of the entities below a root
  std::uint32_t entities = 1U << 20U;        ///< entities mirrored at a time
};

/// What a connection has done so far.
struct Stats {
  std::uint64_t messagesSent = 0;
  std::uint64_t bytesSent = 0;
  std::uint64_t messagesReceived = 0;
  std::uint64_t bytesReceived = 0;
  std::uint64_t mergedChanges = 0;   ///< changes of a key or attribute that was dirty already
  std::uint64_t dirtyMarks = 0;      ///< keys and attributes that changed and wait now
  std::uint64_t dirtyMarksPeak = 0;  ///< most that ever waited
  std::uint64_t unknownEnumerators = 0;
  std::uint64_t skippedMessages = 0;  ///< for retired or ignored entities and for unknown attributes
  std::uint64_t droppedChanges = 0;   ///< of the peer, overtaken by this end's own
  std::uint64_t nullReferences = 0;   ///< references to entities that this end does not have
};

class DemuxerManager;

class VORNACL_API Demuxer final : public EntityResolver {
 public:
  using Sa = Entity::KroNboAttrLogSa;

  /// `opener`: this end opened the connection and gives odd ids.
  Demuxer(Ptr<Out> out, bool opener, Limits const& limits);
  ~Demuxer() override;
  Demuxer(Demuxer const&) = delete;
  Demuxer& operator=(Demuxer const&) = delete;

  Ptr<Out> const& out() const { return out_; }
  Limits const& limits() const { return limits_; }
  Stats& stats() { return stats_; }
  Stats const& stats() const { return stats_; }

  // --- ids and adapters ---

  /// The adapter registered under an id, or null.
  Sa* reactor(EntityId id) const;
  void reactorIs(EntityId id, Sa& adapter);
  /// Retires the adapter registered under an id and returns it, or null.
  Ptr<Sa> reactorDel(EntityId id);
  /// Takes a retired adapter out of the register; returns the reference that was held.
  Ptr<Sa> unregister(Sa& adapter);
  /// Whether adapters without one above them were retired since this was asked last.
  bool rootsRetired() { return std::exchange(rootsRetired_, false); }
  /// Retires every adapter: the connection was lost.
  void retireAll();
  Entity* entityById(EntityId id) const override;

  /// A new id of this end's parity.
  EntityId newEntityId();
  /// Whether this end gives ids of this parity.
  bool isOwn(EntityId id) const { return (id.value & 1U) == (opener_ ? 1U : 0U); }
  /// Whether the id was ever given by either end.
  bool wasGiven(EntityId id) const;
  /// Whether the peer may announce an entity under this id now: it is new, of the peer's parity, and not the last one
  /// that there is.
  bool isNewOfPeer(EntityId id) const {
    return id.value > lastOfPeer_ && id.value >= 2 && id.value <= UINT64_MAX - 2 && !isOwn(id);
  }
  /// The peer has spent an id, whether its entity is taken or ignored; throws `AttrLogEntityException` unless
  /// `isNewOfPeer`.
  void idSpent(EntityId id);
  /// Throws where another entity below `parent` would break a limit.
  void requireRoomForEntity(Sa const* parent) const;

  /// Whether the entity has an adapter on this connection under another id: its creation then means a new object.
  bool checkEphemeralEntityDeletion(Entity* entity, EntityId const& id, bool) const;

  // --- the queue of flow-outs ---

  Queue& queue() { return queue_; }
  /// Writes what waits, as long as there is room. Throws what a writer throws.
  void pump();
  bool isQueueEmpty() const { return queue_.isEmpty(); }
  /// A root that waits to be announced.
  void announceRoot(Sa& adapter);

  // --- how far the ends have come ---

  /// Messages about entities written so far; the number of the last one.
  std::uint64_t sent() const { return sent_; }
  std::uint64_t messageSent() { return ++sent_; }
  /// The number of this end's last message that the peer has applied, as far as it told.
  std::uint64_t peerApplied() const { return peerApplied_; }
  /// The peer told how far it has come; throws where it cannot be.
  void peerAppliedIs(std::uint64_t n);
  /// The message at hand counts as applied. It does so before user code runs: what that writes comes after the message.
  void messageApplied() { applied_ += std::exchange(counted_, true) ? 0U : 1U; }
  /// Tells the peer how far this end has come, if that is new; the frame goes before the next message.
  void writeApplied();
  /// The same once in a while where nothing else is written, so that the peer can forget what it keeps for this.
  void writeAppliedIfMany();

  // --- transfers that arrive ---

  FlowIn* flowIn(EntityId id);
  FlowIn& flowInIs(EntityId id);
  void flowInDel(EntityId id);

  // --- references ---

  /// An adapter of an entity that holds references.
  void referenceHolderIs(Sa& holder) { referenceHolders_.push_back(&holder); }
  /// An entity was announced: references to it that could not be written are marked.
  void announced(Entity const& entity);
  /// The peer removed an entity. References to it that crossed this mean nothing to the peer: what stands is sent
  /// again.
  void removedByPeer(Entity const& entity);

  void unknownEnumsInc(unsigned n) { stats_.unknownEnumerators += n; }
  void dirtyMark(bool isNew);
  void dirtyUnmark(std::uint64_t n = 1) { stats_.dirtyMarks -= n; }

  /// Reading of the current message ended and applying began: what is thrown from now on comes from the applying end.
  void applyingIs(bool applying) { applying_ = applying; }
  bool applying() const { return applying_; }
  /// A message begins to be read, which will count as applied or not.
  void messageBegins(bool counts) {
    applying_ = false;
    counted_ = !counts;
  }

  /// The connection must be closed for this reason, as soon as no handler runs.
  void failureIs(String8 reason) noexcept;
  /// The same for lack of memory, for which the text is there already.
  void outOfMemory() noexcept { failureIs(outOfMemory_); }
  /// The text that `make` builds or, without memory for it, the one that is there.
  template <class Make>
  String8 reasonOf(Make const& make) const {
    try {
      return make();
    } catch (std::bad_alloc const&) {
      return outOfMemory_;
    }
  }
  bool failed() const { return failed_; }
  String8 const& failure() const { return failure_; }

  /// The next demultiplexer of this thread.
  Demuxer* next() const { return next_; }

 private:
  friend class DemuxerManager;
  void tellReferenceHolders(Sa const& retired) noexcept;

  Ptr<Out> out_;
  bool opener_;
  Limits limits_;
  Stats stats_;
  std::unordered_map<EntityId, Ptr<Sa>> reactors_;
  mutable Sa* lastFound_ = nullptr;
  std::unordered_map<EntityId, FlowIn> flowIns_;
  std::vector<Sa*> referenceHolders_;
  bool rootsRetired_ = false;
  std::uint64_t lastOwn_;
  std::uint64_t lastOfPeer_ = 0;
  Queue queue_;
  std::uint64_t sent_ = 0;
  std::uint64_t peerApplied_ = 0;
  std::uint64_t applied_ = 0;
  std::uint64_t appliedTold_ = 0;
  bool applying_ = false;
  bool counted_ = true;  ///< the message at hand counts as applied
  bool failed_ = false;
  String8 failure_;
  String8 const outOfMemory_ = "out of memory";
  Demuxer* next_ = nullptr;
  DemuxerManager* manager_;  ///< of the thread that made this, null when that has ended
};

/// The demultiplexers that this thread made. One that is used on another thread now leaves the list when it dies.
class VORNACL_API DemuxerManager {
 public:
  DemuxerManager() = default;
  ~DemuxerManager();
  DemuxerManager(DemuxerManager const&) = delete;
  DemuxerManager& operator=(DemuxerManager const&) = delete;

  Demuxer* first() const { return first_; }

 private:
  friend class Demuxer;
  Demuxer* first_ = nullptr;
};
VORNACL_API DemuxerManager& globalNboAttrLogDemuxerManager();

}  // namespace Kro::NboAttrLog

namespace Kro {

/// The demultiplexer of a stream, or null.
inline NboAttrLog::Demuxer* demuxFor(Ptr<NboAttrLog::Out const> const& out) { return out ? out->demuxer() : nullptr; }

}  // namespace Kro
