// The output of the attribute log: messages appended to a buffer that others move. It does no I/O.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "runtime/stream/In.h"
#include "runtime/stream/MsgHeader.h"

namespace Kro::NboAttrLog {

class Demuxer;

/// Output stream of one connection. A message is a header given by `nextHeaderIs`, the token 1, payload fields written
/// with `<<`, and the token 3. Single-threaded.
class VORNACL_API Out : public Connection::Out {
 public:
  static constexpr std::size_t defaultLimit = 64 * 1024;

  /// `limit` is the number of pending bytes from which on there is no room for another message.
  explicit Out(std::size_t limit = defaultLimit);
  ~Out() override;

  /// There is room for a message when nothing is pending or less than the limit is: a message begun is finished.
  bool hasSufficientBuffer() const { return length() == 0 || length() < limit_; }
  std::size_t limit() const { return limit_; }
  void limitIs(std::size_t limit) { limit_ = limit; }

  /// The header of the message to come.
  void nextHeaderIs(MsgHeader const& header, MsgKind kind = MsgKind::attribute) {
    next_.header = header;
    next_.kind = kind;
  }
  void tokenIs(TransactToken token);
  /// Announces the section of a root creation that follows: 1 type, 3 constructor parameters, 4 entity id.
  void currentPayloadSectionIs(unsigned section) { section_ = section; }
  unsigned currentPayloadSection() const { return section_; }
  /// Cuts a message that could not be finished off the buffer.
  void messageAbort();

  /// Place for at least `n` more bytes behind what was written; throws `std::bad_alloc`.
  std::uint8_t* room(std::size_t n) {
    if (static_cast<std::size_t>(capacity_ - end_) < n) [[unlikely]] {
      grow(n);
    }
    return end_;
  }
  /// Everything before `end` has been written.
  void endIs(std::uint8_t* end) { end_ = end; }

  /// A message was written to `room` in one piece, header included, up to `end`.
  void messageWritten(std::uint8_t* end) {
    ++messages_;
    bytes_ += static_cast<std::uint64_t>(end - end_);
    end_ = end;
  }
  std::uint32_t maxPayload() const { return maxPayload_; }

  /// What was written and not yet taken, in one piece; valid until the next call that writes or takes.
  std::span<std::uint8_t const> pending() const { return {begin_, end_}; }
  std::size_t length() const { return static_cast<std::size_t>(end_ - begin_); }
  /// Takes `n` bytes off the front; precondition: `n` are pending.
  void taken(std::size_t n);
  /// Drops all that is pending.
  void clear() { begin_ = end_ = buffer_.get(); }
  /// Nothing is pending, and for now nothing comes. Gives back a large buffer the second time in a row: a sender that
  /// is busy rests between two rounds, too, and would make it again in each; an idle one kept up to 128 KB.
  void rest();

  /// Messages finished so far.
  std::uint64_t messages() const { return messages_; }
  /// Bytes of finished messages so far.
  std::uint64_t bytes() const { return bytes_; }

  /// Largest payload that may be written; a longer one throws `RangeException` and leaves no trace.
  void maxPayloadIs(std::uint32_t limit) { maxPayload_ = limit; }

  /// The input that the peer's messages to these entities arrive on, null while there is none.
  Ptr<In> reverseLog() const { return reverse_; }
  void reverseLogIs(Ptr<In> const& in) { reverse_ = in; }

  /// The demultiplexer of the same connection, null while there is none.
  Demuxer* demuxer() const { return demuxer_; }
  void demuxerIs(Demuxer* demuxer) { demuxer_ = demuxer; }

  /// A name of the peer for texts.
  String8 const& peerName() const { return peerName_; }
  void peerNameIs(String8 name) { peerName_ = std::move(name); }

 private:
  void grow(std::size_t n);

  std::unique_ptr<std::uint8_t[]> buffer_;
  std::uint8_t* begin_ = nullptr;
  std::uint8_t* end_ = nullptr;
  std::uint8_t* capacity_ = nullptr;
  std::size_t messageStart_ = 0;  ///< distance from begin_
  bool inMessage_ = false;
  std::size_t limit_;
  std::uint32_t maxPayload_ = 0xffffffffU;
  WireHeader next_;
  unsigned section_ = 0;
  std::uint64_t messages_ = 0;
  std::uint64_t bytes_ = 0;
  std::uint64_t restedAt_ = 0;  ///< `bytes_` at the last rest
  Ptr<In> reverse_;
  Demuxer* demuxer_ = nullptr;
  String8 peerName_;
};

inline Ptr<Out> const& operator<<(Ptr<Out> const& out, Out::TransactToken token) {
  out->tokenIs(token);
  return out;
}

}  // namespace Kro::NboAttrLog
