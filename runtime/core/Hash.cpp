#include "runtime/core/Hash.h"

#include <bit>

namespace Kro {

namespace {

constexpr std::uint32_t scramble(std::uint32_t block) { return std::rotl(block * 0xcc9e2d51U, 15) * 0x1b873593U; }

}  // namespace

void Hash::mixBlock(std::uint32_t block) { running_ = std::rotl(running_ ^ scramble(block), 13) * 5 + 0xe6546b64U; }

void Hash::mix(void const* bytes, unsigned length) {
  auto const* const first = static_cast<std::uint8_t const*>(bytes);
  for (unsigned i = 0; i < length; ++i) {
    mixInteger(first[i], 1);
  }
}

void Hash::mixInteger(std::uint32_t value, unsigned width) {
  unsigned const pending = length_ % 4;
  std::uint64_t const wanted = width == 4 ? value : value & ((1U << (8 * width)) - 1);
  std::uint64_t const bytes = tail_ | (wanted << (8 * pending));
  length_ += width;
  if (pending + width >= 4) {
    mixBlock(static_cast<std::uint32_t>(bytes));
    tail_ = static_cast<std::uint32_t>(bytes >> 32);
  } else {
    tail_ = static_cast<std::uint32_t>(bytes);
  }
}

std::uint32_t Hash::value() const {
  std::uint32_t h = running_;
  if (length_ % 4 != 0) {
    h ^= scramble(tail_);
  }
  h ^= length_;
  h ^= h >> 16;
  h *= 0x85ebca6bU;
  h ^= h >> 13;
  h *= 0xc2b2ae35U;
  return h ^ (h >> 16);
}

}  // namespace Kro
