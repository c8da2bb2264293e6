// One end of the attribute log: an output, an input and a demultiplexer, joined to a peer by whoever owns the bytes.
//
// A connection does no I/O. Its owner hands received bytes to `receive`, takes the bytes that `pending` offers and
// reports with `sent` how many it moved: over a socket in any event loop, a pipe, a file, or a test. Ask `pending`
// again whenever entities changed, and after `receive`. Not locked: a connection and the entities it mirrors belong to
// one thread.
//
// The words of this folder
//  announce   write the creation message of an entity; whoever does, its announcer, decides where both ends write
//  spent      an id that was given once, taken or ignored, and is never given again
//  mark       a change that waits: the bit of a scalar or single child, the key of a collection
//  owed       the removal that must be written before anything new under its key
//  word       the last message of an end about a key or child; overtaken: the other end's stands, this one is dropped
//  exempt     a key that this end wrote into an entity of the peer's, which no transfer sweeps before the peer knows it
//  transfer   a whole collection between two markers; its bookmark is the key at which it goes on
//  sweep      remove at the end of a transfer what it did not repeat
//  yield      let the flow-out of a child that was just announced go first
//  held, muted, silent   not writing: by the state word, with its handlers off, by its owner, who has changes marked
//  given      an input that is read past, not applied: the value that stands here is written instead
//  retired    off the stream for good; messages to it are skipped
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "runtime/log/Demuxer.h"

namespace Kro::NboAttrLog {

/// One end of a connection.
class VORNACL_API Connection final : public PtrInterface {
 public:
  /// Which end this is. The opener gives odd entity ids, the acceptor even ones; one of each makes a connection.
  enum class Role { opener, acceptor };
  /// opening: the peer has not said hello; synchronising: its state has not come whole; inSync: it has; lost: over, see
  /// `lastError`.
  enum class State { opening, synchronising, inSync, lost };
  /// What may be changed where. With `readOnly` an entity sent from here takes no change of the peer, and a mirror here
  /// raises `ReadOnlyException` to who changes it: that change stands locally, nothing is sent, and the observers
  /// behind the stream adapter are not told of it.
  enum class Access { readWrite, readOnly };

  static Ptr<Connection> create(Role role, Limits const& limits = {});
  ~Connection() override;

  /// Sends a tree: the entity and everything below it, now and whenever it changes. Held until the connection ends or
  /// the root leaves it, see `onRootLeftIs`. Throws `RangeException` for a null entity, `InternalException` on a lost
  /// connection and for an entity that overlaps what is attached to this one: the same, one above it or one below.
  void rootIs(Ptr<Entity> const& root, Access access = Access::readWrite);
  /// Ends the attachment of a tree that is sent from here or has arrived; the peer is not told. Returns whether it was
  /// attached as a root: nothing is done to what only lies below one.
  bool rootDel(Ptr<Entity> const& root);
  /// Offers an entity to be bound: a root that arrives with its type and constructor parameters becomes this very
  /// entity instead of a new one. Its members are compared with what arrives; what the peer does not have is removed at
  /// the end of each completed transfer. Changes made here that the peer had not confirmed before are overwritten.
  void rootOffer(Ptr<Entity> const& root);
  /// What is allowed on roots that arrive from now on.
  void arrivingAccessIs(Access access) { arrivingAccess_ = access; }

  /// Called for each root that arrives, bound or new, before anything of its content is applied. Hold the entity: the
  /// connection holds it no longer than it lasts.
  void onRootIs(std::function<void(Ptr<Entity> const&)> callback) { onRoot_ = shared(std::move(callback)); }
  /// Called for each root, sent from here or arrived, whose attachment has ended without `rootDel` while the connection
  /// lives: the collection that holds it removed it, or it became part of another attached tree, which sends it then.
  /// Like `onStateIs`, never from within a change of an entity. The peer is told nothing: it keeps what it has of that
  /// root and gets no more. Where that must not be taken for the truth, close the connection.
  void onRootLeftIs(std::function<void(Ptr<Entity> const&)> callback) { onRootLeft_ = shared(std::move(callback)); }
  /// Called when `state` has changed, never from within a change of an entity.
  void onStateIs(std::function<void(State)> callback) { onState_ = shared(std::move(callback)); }

  /// Applies every whole message in the bytes and keeps the rest. Bytes that cannot be applied, or cannot be kept for
  /// lack of memory, end the connection; the entities stay valid and whole. What an observer's failing report throws
  /// leaves `receive` after its message was applied; call again, also with no bytes, to go on. Called from a handler it
  /// only keeps the bytes.
  void receive(std::span<std::uint8_t const> bytes);
  /// The bytes to send: what was written, then what waits, as long as there is room. Valid until the next call of any
  /// member or change of an entity; empty when there is nothing, or the connection is lost.
  std::span<std::uint8_t const> pending();
  /// The first `n` of the pending bytes were moved.
  void sent(std::size_t n);
  /// Ends the connection for a reason of the owner's, such as a closed socket. No entity is changed.
  void close(String8 reason);
  /// The same; without memory for its text the reason is that.
  void close(char const* reason);

  State state() const { return state_; }
  /// Whether the peer's state came whole at least once.
  bool wasInSync() const { return wasInSync_; }
  /// Why the connection was lost: entity, attribute and offset in the received bytes where there are such. Empty
  /// before.
  String8 const& lastError() const { return lastError_; }
  Stats stats() const;

  /// A name of the peer for texts.
  void peerNameIs(String8 name) { out_->peerNameIs(std::move(name)); }
  Ptr<Out> const& out() const { return out_; }
  Demuxer& demuxer() { return demuxer_; }

  /// The preface that each end sends first, 16 bytes: "KroL", version, 1 for the opener and 0 for the acceptor, largest
  /// payload, longest string.
  static constexpr std::size_t prefaceSize = 16;
  static constexpr std::uint16_t protocolVersion = 1;

 private:
  Connection(Role role, Limits const& limits);

  /// Bytes that the message at the front takes, as far as these bytes tell.
  std::size_t wanted(std::span<std::uint8_t const> bytes) const;
  /// Takes whole messages off the front.
  void consume(std::span<std::uint8_t const>& bytes);
  /// Takes whole messages and keeps the rest; where user code throws, `behind` is kept, too.
  void consumeOrKeep(std::span<std::uint8_t const> bytes, std::span<std::uint8_t const> behind = {});
  /// What was kept, then these bytes.
  void consumeAll(std::span<std::uint8_t const> bytes);
  /// Appends bytes to what is kept; where that cannot be, nothing more is taken.
  void keep(std::vector<std::uint8_t>& kept, std::span<std::uint8_t const> bytes) noexcept;
  void takePreface(std::uint8_t const* from);
  void takeMessage(WireHeader const& wire, std::span<std::uint8_t const> payload);
  void takeAttribute(WireHeader const& wire, std::span<std::uint8_t const> payload);
  void takeMarker(WireHeader const& wire, std::span<std::uint8_t const> payload);
  void requireEnd() const;
  void takeRoot(std::span<std::uint8_t const> payload);
  void skip(WireHeader const& wire, std::span<std::uint8_t const> payload);
  Ptr<Entity::KroNboAttrLogSa> addressee(WireHeader const& wire, std::span<std::uint8_t const> payload);
  String8 placeOf(WireHeader const& wire) const;
  void writePreface();
  void writeComplete();
  void lose(String8 reason);
  String8 overlapOf(Entity& root) const;
  void stateIs(State state);
  void tell();
  void tellRootsLeft(std::vector<Ptr<Entity::KroNboAttrLogSa>>& roots);
  void endIfFailed();
  /// Whether nothing is taken any more.
  bool isOver() const { return state_ == State::lost || demuxer_.failed(); }

  /// A callback may set another one while it runs, and calling it must take no memory: what runs is held, not copied.
  template <class Function>
  using Shared = std::shared_ptr<Function const>;
  template <class Function>
  static Shared<Function> shared(Function callback) {
    return callback ? std::make_shared<Function const>(std::move(callback)) : nullptr;
  }

  bool opener_;
  Limits limits_;
  Ptr<Out> out_;
  Ptr<In> in_;
  Demuxer demuxer_;
  std::vector<Ptr<Entity::KroNboAttrLogSa>> roots_;    ///< sent from here
  std::vector<Ptr<Entity::KroNboAttrLogSa>> arrived_;  ///< roots of the peer
  std::vector<Ptr<Entity>> offered_;
  Access arrivingAccess_ = Access::readWrite;
  Shared<std::function<void(Ptr<Entity> const&)>> onRoot_;
  Shared<std::function<void(Ptr<Entity> const&)>> onRootLeft_;
  Shared<std::function<void(State)>> onState_;
  std::vector<std::uint8_t> kept_;   ///< received and not yet taken: mostly the beginning of a message
  std::vector<std::uint8_t> later_;  ///< received while a message was applied
  std::uint64_t offset_ = 0;         ///< received bytes before the message at hand
  std::uint64_t messagesReceived_ = 0;
  State state_ = State::opening;
  State toldState_ = State::opening;
  bool wasInSync_ = false;
  bool receiving_ = false;
  bool completeDue_ = true;
  String8 lastError_;
};

}  // namespace Kro::NboAttrLog
