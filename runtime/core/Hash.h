// The two hash functions of the model, portable to the bit.
#pragma once

#include <cstdint>

#include "runtime/core/Export.h"

namespace Kro {

/// Incremental MurmurHash3, x86 32-bit variant, seed 0. Bytes are cut into blocks of four across calls of `mix`; the
/// result is that of the whole stream in one piece.
class VORNACL_API Hash {
 public:
  /// Appends `length` bytes to the stream.
  void mix(void const* bytes, unsigned length);
  /// Appends the low `width` bytes of `value`, low byte first on any host; `width` 1, 2 or 4.
  void mixInteger(std::uint32_t value, unsigned width);
  /// The hash of all that was mixed so far; the state is left as it was.
  std::uint32_t value() const;

 private:
  void mixBlock(std::uint32_t block);

  std::uint32_t running_ = 0;
  std::uint32_t tail_ = 0;  ///< the up to three bytes that form no block yet, low byte first
  std::uint32_t length_ = 0;
};

/// Bob Jenkins's one-at-a-time hash.
class OneAtATimeHash {
 public:
  /// Appends the low `width` bytes of `value`, low byte first.
  void mixInteger(std::uint32_t value, unsigned width) {
    for (unsigned i = 0; i < width; ++i) {
      mixByte(static_cast<std::uint8_t>(value >> (8 * i)));
    }
  }
  void mixByte(std::uint8_t byte) {
    running_ += byte;
    running_ += running_ << 10;
    running_ ^= running_ >> 6;
  }
  std::uint32_t value() const {
    std::uint32_t h = running_;
    h += h << 3;
    h ^= h >> 11;
    return h + (h << 15);
  }

 private:
  std::uint32_t running_ = 0;
};

/// The bit order of the 32-bit value reversed: bit 0 becomes bit 31.
constexpr std::uint32_t bitReverse(std::uint32_t v) {
  v = ((v >> 1) & 0x55555555U) | ((v & 0x55555555U) << 1);
  v = ((v >> 2) & 0x33333333U) | ((v & 0x33333333U) << 2);
  v = ((v >> 4) & 0x0f0f0f0fU) | ((v & 0x0f0f0f0fU) << 4);
  v = ((v >> 8) & 0x00ff00ffU) | ((v & 0x00ff00ffU) << 8);
  return (v >> 16) | (v << 16);
}

}  // namespace Kro
