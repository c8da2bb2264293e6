// Input of primitives from bytes in network order. Nothing is read beyond the end of a message; every length is checked
// against what remains before anything is allocated.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

#include "runtime/core/Ptr.h"
#include "runtime/core/String8.h"

namespace Kro {

namespace detail {

template <class U, std::size_t... I>
constexpr U loadBytes(std::uint8_t const* from, std::index_sequence<I...>) {
  // Spelt as one expression, of which both compilers make one load and one swap.
  return static_cast<U>((... | (std::uint64_t{from[I]} << (8 * (sizeof(U) - 1 - I)))));
}

}  // namespace detail

/// Reads an unsigned integer in network byte order from a place that is known to hold it.
template <class U>
constexpr U loadBigEndian(std::uint8_t const* from) {
  return detail::loadBytes<U>(from, std::make_index_sequence<sizeof(U)>());
}

/// Writes an unsigned integer in network byte order and returns the place behind it.
template <class U>
inline std::uint8_t* storeBigEndian(std::uint8_t* to, U value) {
  // Whole words: stored byte by byte, neighbouring fields are merged by shifts that cost more than they save.
  U const swapped = loadBigEndian<U>(reinterpret_cast<std::uint8_t const*>(&value));
  std::memcpy(to, &swapped, sizeof swapped);
  return to + sizeof swapped;
}

/// A read position in a run of bytes, meant to be held by value in a hot loop. Reading past the end throws
/// `AttrLogEntityException`.
class InCursor {
 public:
  InCursor() = default;
  InCursor(std::uint8_t const* pos, std::uint8_t const* end)
      : pos_(pos), remaining_(static_cast<std::size_t>(end - pos)) {}

  std::size_t remaining() const { return remaining_; }
  std::uint8_t const* pos() const { return pos_; }

  /// The next unsigned integer of this width.
  template <class U>
  U next() {
    return loadBigEndian<U>(bytes(sizeof(U)).data());
  }
  /// The next `n` bytes, in place.
  std::span<std::uint8_t const> bytes(std::size_t n) {
    if (remaining_ < n) [[unlikely]] {
      throwShort(n, remaining_);
    }
    std::span<std::uint8_t const> const run(pos_, n);
    pos_ += n;
    remaining_ -= n;
    return run;
  }

 private:
  /// Static, so that a cursor stays in registers: no call takes its address.
  [[noreturn]] VORNACL_API static void throwShort(std::size_t n, std::size_t remaining);

  std::uint8_t const* pos_ = nullptr;
  std::size_t remaining_ = 0;
};

/// Selects the constructors that read a value from the attribute log.
struct StreamBogon {};

struct ByteConnection {
  class In;
};

/// The input side of a byte stream: the payload of one message. All readers throw `AttrLogEntityException` when the
/// payload ends first.
class VORNACL_API ByteConnection::In : public PtrInterface {
 public:
  In() = default;
  /// Reads from `payload`, which must outlive the reading; strings longer than `maxString` bytes are refused.
  explicit In(std::span<std::uint8_t const> payload, std::uint32_t maxString = defaultMaxString);
  ~In() override;

  static constexpr std::uint32_t defaultMaxString = 1U << 20U;

  void payloadIs(std::span<std::uint8_t const> payload) {
    begin_ = payload.data();
    cursor_ = InCursor(payload.data(), payload.data() + payload.size());
  }

  std::uint8_t nextU8() { return cursor_.next<std::uint8_t>(); }
  std::uint16_t nextU16() { return cursor_.next<std::uint16_t>(); }
  std::uint32_t nextU32() { return cursor_.next<std::uint32_t>(); }
  std::uint64_t nextU64() { return cursor_.next<std::uint64_t>(); }
  std::int32_t nextint() { return static_cast<std::int32_t>(nextU32()); }
  /// One byte, 0 or 1; any other throws.
  bool nextbool();
  /// A 32-bit length and that many bytes.
  String8 nextString();
  /// Skips `n` bytes.
  void nextBytes(std::size_t n) { cursor_.bytes(n); }
  /// Seconds as an IEEE 754 binary64 number.
  double nextSeconds() { return std::bit_cast<double>(nextU64()); }

  std::size_t remaining() const { return cursor_.remaining(); }
  /// Bytes read so far.
  std::size_t offset() const { return static_cast<std::size_t>(cursor_.pos() - begin_); }
  std::uint32_t maxString() const { return maxString_; }
  void maxStringIs(std::uint32_t limit) { maxString_ = limit; }

  /// The position itself, for readers that hold it by value.
  InCursor cursor() const { return cursor_; }
  void cursorIs(InCursor cursor) { cursor_ = cursor; }

 private:
  std::uint8_t const* begin_ = nullptr;
  InCursor cursor_;
  std::uint32_t maxString_ = defaultMaxString;
};

/// Throws for a byte that is no bool: it must never reach one.
[[noreturn]] VORNACL_API void throwNoBool(std::uint8_t byte);
/// Throws for a string longer than a limit allows.
[[noreturn]] VORNACL_API void throwStringTooLong(std::uint32_t length, std::uint32_t limit);

}  // namespace Kro
