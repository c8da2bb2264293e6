#include "runtime/log/Connection.h"

#include <algorithm>
#include <cstring>

#include "runtime/log/EntityType.h"

namespace Kro::NboAttrLog {

using Sa = Entity::KroNboAttrLogSa;

namespace {

constexpr char magic[] = {'K', 'r', 'o', 'L'};

/// Sets a flag for the extent of a scope.
class Within {
 public:
  explicit Within(bool& flag) : flag_(flag) { flag_ = true; }
  ~Within() { flag_ = false; }
  Within(Within const&) = delete;
  Within& operator=(Within const&) = delete;

 private:
  bool& flag_;
};

}  // namespace

Ptr<Connection> Connection::create(Role role, Limits const& limits) { return adopt(new Connection(role, limits)); }

Connection::Connection(Role role, Limits const& limits)
    : opener_(role == Role::opener),
      limits_(limits),
      out_(adopt(new Out(limits.bufferedBytes))),
      in_(adopt(new In)),
      demuxer_(out_, opener_, limits) {
  in_->maxStringIs(limits.stringBytes);
  in_->resolverIs(&demuxer_);
  out_->reverseLogIs(in_);
  writePreface();  // at once: nothing may come before it, whoever writes first
}

Connection::~Connection() {
  onState_ = nullptr;
  lose({});
  out_->reverseLogIs(nullptr);
}

// --- roots ---

void Connection::rootIs(Ptr<Entity> const& root, Access access) {
  if (!root) {
    throwRangeException("null ValidPtr");
  }
  if (state_ == State::lost) {
    throwInternalException("a root is attached to a lost connection: " + lastError_);
  }
  if (String8 const overlap = overlapOf(*root); !overlap.empty()) {
    throwInternalException(overlap);
  }
  unsigned const flags = access == Access::readOnly ? unsigned{Sa::readOnlyRemoteBit} : 0U;
  Ptr<Sa> const adapter = root->kroNboAttrLogSaIs(Entity::Kro_BitSet(flags), flags, out_, nullptr);
  try {
    adapter->flowOutIs(firstEntityAttributeId);
    roots_.push_back(adapter);
    demuxer_.queue().mark(*adapter);
    if (out_->hasSufficientBuffer()) {
      demuxer_.announceRoot(*adapter);
    }
  } catch (...) {
    rootDel(root);
    throw;
  }
}

/// What is wrong with attaching a root beside those that are: the text of the error, empty where nothing is.
String8 Connection::overlapOf(Entity& root) const {
  Ptr<Out const> const out(out_);
  if (Ptr<Sa> const adapter = root.kroNboAttrLogSa(out); adapter && adapter->parentAdapter() == nullptr) {
    return "a root is attached twice: " + root.fullName();
  }
  for (Ptr<Entity> above = root.parent(); above; above = above->parent()) {
    if (above->kroNboAttrLogSa(out)) {
      return "a root lies below an attached entity: " + root.fullName();
    }
  }
  for (auto const* const attached : {&roots_, &arrived_}) {
    for (Ptr<Sa> const& adapter : *attached) {
      Ptr<Entity> above = adapter->isRegistered() ? adapter->rawEntity().parent() : nullptr;
      for (; above; above = above->parent()) {
        if (above.get() == &root) {
          return "a root lies above an attached entity: " + root.fullName() + " above " +
                 adapter->rawEntity().fullName();
        }
      }
    }
  }
  return {};
}

bool Connection::rootDel(Ptr<Entity> const& root) {
  Ptr<Sa> const adapter = root ? root->kroNboAttrLogSa(Ptr<Out const>(out_)) : nullptr;
  if (!adapter || adapter->parentAdapter() != nullptr) {
    return false;
  }
  adapter->retire();
  std::erase(roots_, adapter);
  std::erase(arrived_, adapter);
  return true;
}

void Connection::rootOffer(Ptr<Entity> const& root) {
  if (!root) {
    throwRangeException("null ValidPtr");
  }
  offered_.push_back(root);
}

// --- output ---

void Connection::writePreface() {
  std::uint8_t* to = out_->room(prefaceSize);
  std::memcpy(to, magic, sizeof magic);
  to = storeBigEndian(to + sizeof magic, protocolVersion);
  to = storeBigEndian(to, static_cast<std::uint16_t>(opener_ ? 1 : 0));
  to = storeBigEndian(to, limits_.messageBytes);
  to = storeBigEndian(to, limits_.stringBytes);
  out_->endIs(to);
}

void Connection::writeComplete() {
  if (!completeDue_ || (roots_.empty() && state_ == State::opening)) {
    return;
  }
  std::uint8_t* const start = out_->room(WireHeader::size);
  WireHeader{0, MsgKind::complete, {}}.put(start);
  out_->messageWritten(start + WireHeader::size);
  completeDue_ = false;
}

std::span<std::uint8_t const> Connection::pending() {
  Ptr<Connection> const held = share(this);
  endIfFailed();
  if (state_ == State::lost) {
    tell();
    return {};
  }
  try {
    completeDue_ = completeDue_ || !demuxer_.isQueueEmpty();
    demuxer_.pump();
    if (demuxer_.isQueueEmpty() && out_->hasSufficientBuffer()) {
      writeComplete();
    }
  } catch (std::bad_alloc const&) {
    demuxer_.outOfMemory();
  } catch (std::exception const& error) {
    demuxer_.failureIs(demuxer_.reasonOf([&] { return "writing: " + String8(error.what()); }));
  }
  endIfFailed();
  tell();
  if (out_->length() == 0) {
    out_->rest();
  }
  return state_ == State::lost ? std::span<std::uint8_t const>() : out_->pending();
}

void Connection::sent(std::size_t n) {
  if (state_ != State::lost) {
    out_->taken(n);
  }
}

// --- input ---

void Connection::receive(std::span<std::uint8_t const> bytes) {
  if (state_ == State::lost) {
    return;
  }
  if (receiving_) {
    keep(later_, bytes);
    return;
  }
  Ptr<Connection> const held = share(this);
  try {
    Within const receiving(receiving_);
    if (!later_.empty()) {
      // Left over where user code threw: it came before these bytes.
      keep(later_, bytes);
      bytes = {};
    }
    consumeAll(bytes);
    while (!later_.empty() && !isOver()) {
      std::vector<std::uint8_t> const more = std::exchange(later_, {});
      consumeAll(more);
    }
    if (!isOver()) {
      demuxer_.writeAppliedIfMany();
    }
  } catch (std::bad_alloc const&) {
    demuxer_.outOfMemory();  // what was taken and what not is not known any more
  } catch (...) {
    endIfFailed();
    throw;  // of user code; its message was applied and the bytes behind it are kept
  }
  endIfFailed();
  tell();
}

void Connection::keep(std::vector<std::uint8_t>& kept, std::span<std::uint8_t const> bytes) noexcept {
  try {
    kept.insert(kept.end(), bytes.begin(), isOver() ? bytes.begin() : bytes.end());
  } catch (...) {
    demuxer_.outOfMemory();
  }
}

void Connection::consumeOrKeep(std::span<std::uint8_t const> bytes, std::span<std::uint8_t const> behind) {
  try {
    consume(bytes);
  } catch (...) {
    keep(kept_, bytes);
    keep(kept_, behind);
    throw;
  }
  keep(kept_, bytes);
}

void Connection::consumeAll(std::span<std::uint8_t const> bytes) {
  while (!kept_.empty() && !isOver()) {
    // Complete the message whose beginning was kept, and take no byte more: what follows is read in place.
    while (!bytes.empty() && kept_.size() < wanted(kept_)) {
      std::size_t const take = std::min(wanted(kept_) - kept_.size(), bytes.size());
      kept_.insert(kept_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(take));
      bytes = bytes.subspan(take);
    }
    if (kept_.size() < wanted(kept_)) {
      return;
    }
    std::vector<std::uint8_t> const whole = std::exchange(kept_, {});
    consumeOrKeep(whole, bytes);
  }
  if (!isOver()) {
    consumeOrKeep(bytes);
  }
}

std::size_t Connection::wanted(std::span<std::uint8_t const> bytes) const {
  if (state_ == State::opening) {
    return prefaceSize;
  }
  if (bytes.size() < WireHeader::size) {
    return WireHeader::size;
  }
  std::uint32_t const payload = loadBigEndian<std::uint32_t>(bytes.data());
  // A length beyond the limit is refused with the header alone.
  return WireHeader::size + (payload <= limits_.messageBytes ? payload : 0);
}

void Connection::consume(std::span<std::uint8_t const>& bytes) {
  while (!isOver()) {
    std::size_t const size = wanted(bytes);
    if (bytes.size() < size) {
      return;
    }
    std::uint8_t const* const from = bytes.data();
    bytes = bytes.subspan(size);
    if (state_ == State::opening) {
      takePreface(from);
    } else {
      takeMessage(WireHeader::get(from), {from + WireHeader::size, size - WireHeader::size});
    }
    offset_ += size;
  }
}

void Connection::takePreface(std::uint8_t const* from) {
  if (std::memcmp(from, magic, sizeof magic) != 0) {
    lose("the peer does not speak this protocol: expected \"KroL\" at its first byte");
    return;
  }
  std::uint16_t const version = loadBigEndian<std::uint16_t>(from + 4);
  if (version != protocolVersion) {
    lose(format("protocol version %d, expected %d", static_cast<int>(version), static_cast<int>(protocolVersion)));
    return;
  }
  std::uint16_t const role = loadBigEndian<std::uint16_t>(from + 6);
  if (role != (opener_ ? 0 : 1)) {
    lose(opener_ ? "both ends opened the connection" : "neither end opened the connection");
    return;
  }
  out_->maxPayloadIs(loadBigEndian<std::uint32_t>(from + 8));
  stateIs(State::synchronising);
}

void Connection::takeMessage(WireHeader const& wire, std::span<std::uint8_t const> payload) {
  bool const isWord = wire.kind == MsgKind::attribute || wire.kind == MsgKind::marker;
  demuxer_.messageBegins(isWord);
  ++messagesReceived_;
  try {
    if (wire.payloadLength > limits_.messageBytes) {
      throw AttrLogEntityException(format("message of %lld payload bytes, the limit is %lld",
                                          static_cast<long long>(wire.payloadLength),
                                          static_cast<long long>(limits_.messageBytes)));
    }
    in_->payloadIs(payload);
    switch (wire.kind) {
      case MsgKind::attribute:
        takeAttribute(wire, payload);
        break;
      case MsgKind::marker:
        takeMarker(wire, payload);
        break;
      case MsgKind::applied: {
        std::uint64_t const n = in_->nextU64();
        requireEnd();
        demuxer_.peerAppliedIs(n);
        break;
      }
      case MsgKind::complete:
        requireEnd();
        stateIs(State::inSync);
        break;
    }
  } catch (std::bad_alloc const&) {
    throw;  // whoever threw it: this end cannot tell what was applied
  } catch (std::exception const& error) {
    if (!demuxer_.applying()) {
      lose(demuxer_.reasonOf([&] { return placeOf(wire) + error.what(); }));
      return;
    }
    if (isWord) {
      demuxer_.messageApplied();
    }
    offset_ += WireHeader::size + payload.size();
    throw;
  } catch (...) {
    demuxer_.messageApplied();
    offset_ += WireHeader::size + payload.size();
    throw;
  }
  if (isWord) {
    demuxer_.messageApplied();
  }
}

void Connection::requireEnd() const {
  if (in_->remaining() != 0) {
    throw AttrLogEntityException("bytes left over at the end of the message");
  }
}

/// The registered adapter of an id; null, and the message skipped, where it is retired or was ignored.
Ptr<Sa> Connection::addressee(WireHeader const& wire, std::span<std::uint8_t const> payload) {
  EntityId const id = wire.header.entityId;
  Ptr<Sa> adapter = share(demuxer_.reactor(id));
  if (!adapter) {
    if (!demuxer_.wasGiven(id)) {
      throw AttrLogEntityException("entity id " + valueToStrep(id.value) + " was never given");
    }
    skip(wire, payload);
  }
  return adapter;
}

void Connection::takeAttribute(WireHeader const& wire, std::span<std::uint8_t const> payload) {
  if (wire.header.entityId == rootCreationEntityId && wire.header.attributeId == rootCreationAttributeId) {
    takeRoot(payload);
    return;
  }
  Ptr<Sa> const adapter = addressee(wire, payload);
  if (!adapter) {
    return;
  }
  if (!adapter->knowsAttribute(wire.header.attributeId)) {
    skip(wire, payload);
    return;
  }
  adapter->handleAttrDeserialization(wire.header.attributeId, StreamAdapter::noOptions, 0, nullptr);
}

void Connection::takeMarker(WireHeader const& wire, std::span<std::uint8_t const> payload) {
  std::uint8_t const type = in_->nextU8();
  if (type > StreamAdapter::transactionEnd || in_->remaining() != 0) {
    throw AttrLogEntityException("expected a transaction marker: one byte, 0 to 2");
  }
  Ptr<Sa> const adapter = addressee(wire, payload);
  if (!adapter) {
    return;
  }
  if (adapter->isAnnouncer() || adapter->is(Sa::readOnlyRemoteBit)) {
    throw AttrLogEntityException("a whole transfer of an entity that the peer did not announce");
  }
  adapter->handleAttrTransaction(wire.header.attributeId, static_cast<StreamAdapter::AttrTransactionType>(type), 0);
}

void Connection::takeRoot(std::span<std::uint8_t const> payload) {
  String8 const typeName = in_->nextString();
  EntityType const* const type = EntityType::find(typeName);
  if (type == nullptr) {
    skip(WireHeader{0, MsgKind::attribute, {{}, 0, true, 0, childCreationCode, false}}, payload);
    return;
  }
  // The id stands last. Where it names a root already, the peer announces that very root again.
  EntityId const last{payload.size() >= 8 ? loadBigEndian<std::uint64_t>(payload.data() + payload.size() - 8) : 0};
  Ptr<Entity> const known = demuxer_.isOwn(last) ? nullptr : share(demuxer_.entityById(last));
  Ptr<Entity> const root = type->boundOrNew(*in_, known ? std::span(&known, 1) : std::span(offered_));
  EntityId const id = in_->nextEntityId();
  if (in_->remaining() != 0) {
    throw AttrLogEntityException("bytes left over at the end of a root creation");
  }
  if (known && root == known) {
    demuxer_.applyingIs(true);
    return;
  }
  if (String8 const overlap = overlapOf(*root); !overlap.empty()) {
    throw AttrLogEntityException(overlap);
  }
  demuxer_.idSpent(id);
  demuxer_.requireRoomForEntity(nullptr);
  unsigned const flags = arrivingAccess_ == Access::readOnly ? unsigned{Sa::readOnlyBit} : 0U;
  Ptr<Sa> const adapter = root->kroNboAttrLogSaIs(Entity::Kro_BitSet(flags), flags, out_, nullptr);
  adapter->flowOutIs(FlowOut::nothing);
  adapter->doEntityIdIs(id, demuxer_);
  arrived_.push_back(adapter);
  std::erase(offered_, root);
  stateIs(State::synchronising);
  demuxer_.applyingIs(true);
  if (auto const callback = onRoot_) {
    (*callback)(root);
  }
}

/// Passes over a message that nobody here understands. A creation among them spends the id at its end.
void Connection::skip(WireHeader const& wire, std::span<std::uint8_t const> payload) {
  ++demuxer_.stats().skippedMessages;
  if (wire.header.code == childCreationCode && wire.header.attributeId >= 0 && payload.size() >= 8) {
    EntityId const id{loadBigEndian<std::uint64_t>(payload.data() + payload.size() - 8)};
    if (demuxer_.isNewOfPeer(id)) {
      demuxer_.idSpent(id);
    }
  }
}

String8 Connection::placeOf(WireHeader const& wire) const {
  String8 place = "received byte " + valueToStrep(offset_) + ": ";
  if (Sa* const adapter = demuxer_.reactor(wire.header.entityId)) {
    AttributeId const id = attributeOf(wire.header.attributeId);
    place += "entity " + adapter->rawEntity().fullName() + ", attribute ";
    String8 const name = adapter->rawEntity().attributeString(id);
    place += (name.empty() ? valueToStrep(id) : name) + ", byte " + valueToStrep(in_->offset()) + " of the message: ";
  } else {
    place += "entity id " + valueToStrep(wire.header.entityId.value) + ", attribute " +
             valueToStrep(wire.header.attributeId) + ": ";
  }
  return place;
}

// --- state ---

void Connection::close(String8 reason) {
  Ptr<Connection> const held = share(this);
  lose(std::move(reason));
  tell();
}

void Connection::close(char const* reason) {
  close(demuxer_.reasonOf([&] { return String8(reason); }));
}

void Connection::lose(String8 reason) {
  if (state_ == State::lost) {
    return;
  }
  state_ = State::lost;
  lastError_ = std::move(reason);
  demuxer_.failureIs(lastError_);
  demuxer_.retireAll();
  for (Ptr<Sa> const& root : std::exchange(roots_, {})) {
    root->retire();  // one that was not announced yet stands in no register
  }
  arrived_.clear();
  offered_.clear();
  kept_.clear();
  later_.clear();
  out_->clear();
}

void Connection::endIfFailed() {
  if (demuxer_.failed()) {
    lose(demuxer_.failure());
  }
}

void Connection::stateIs(State state) {
  if (state_ != State::lost) {
    state_ = state;
    wasInSync_ = wasInSync_ || state == State::inSync;
  }
}

/// Tells the owner what has happened to roots and to the connection.
void Connection::tell() {
  if (demuxer_.rootsRetired()) {
    tellRootsLeft(roots_);
    tellRootsLeft(arrived_);
  }
  if (toldState_ == state_) {
    return;
  }
  toldState_ = state_;
  if (auto const callback = onState_) {
    (*callback)(state_);
  }
}

void Connection::tellRootsLeft(std::vector<Ptr<Sa>>& roots) {
  // The callback may attach and detach others.
  for (std::size_t i = roots.size(); i-- > 0; i = std::min(i, roots.size())) {
    if (roots[i]->isRegistered()) {
      continue;
    }
    Ptr<Entity> const left = roots[i]->kroNotifierEntity();
    roots.erase(roots.begin() + static_cast<std::ptrdiff_t>(i));
    if (auto const callback = onRootLeft_) {
      (*callback)(left);
    }
  }
}

Stats Connection::stats() const {
  Stats all = demuxer_.stats();
  all.messagesSent = out_->messages();
  all.bytesSent = out_->bytes();
  all.messagesReceived = messagesReceived_;
  all.bytesReceived = offset_;
  return all;
}

}  // namespace Kro::NboAttrLog
