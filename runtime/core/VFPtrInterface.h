// The reference-count word: one 32-bit word carried by every counted object and string block. Counting is inline; a
// copy of a counted pointer costs one test of the switch and one add.
#pragma once

#include <atomic>
#include <cstdint>

#include "runtime/core/Export.h"

namespace Kro {

/// Counted base without virtual functions: the count word alone.
///
///      31   30   29   28                                                0
///     +----+----+----+--------------------------------------------------+
///     | D  | R  | N  | number of counted references                     |
///     +----+----+----+--------------------------------------------------+
///
/// N: notification active; R: owned by the runtime (keeps the object from being released); D: marked for deletion.
/// An object is released when, after a decrement, the word masked with `releaseMask` is zero.
class VORNACL_API VFPtrInterface {
 public:
  static constexpr std::uint32_t countMask = 0x1fffffff;
  static constexpr std::uint32_t notificationActiveBit = 0x20000000;
  static constexpr std::uint32_t runtimeOwnedBit = 0x40000000;
  static constexpr std::uint32_t markedForDeletionBit = 0x80000000;
  static constexpr std::uint32_t releaseMask = countMask | runtimeOwnedBit;
  static_assert(releaseMask == 0x5fffffff);

  /// Process-wide switch: non-zero selects atomic increments and decrements of count words, zero plain ones. To be set
  /// before a second thread touches any counted object.
  static std::uint8_t enableThreadSafePointers;

  /// Adds one reference.
  void referencesInc() const {
    if (enableThreadSafePointers != 0) [[unlikely]] {
      std::atomic_ref(word_).fetch_add(1, std::memory_order_relaxed);
    } else {
      ++word_;
    }
  }

  /// The whole count word, for tests and tools.
  std::uint32_t countWord() const { return std::atomic_ref(word_).load(std::memory_order_relaxed); }

 protected:
  /// A new object holds the reference of its creator.
  VFPtrInterface() = default;
  /// A copy is an object of its own with a fresh word.
  VFPtrInterface(VFPtrInterface const&) {}
  VFPtrInterface& operator=(VFPtrInterface const&) { return *this; }
  ~VFPtrInterface() = default;

  /// Subtracts one reference and returns what this very subtraction left, masked with `releaseMask`: another thread may
  /// change the word before it could be read again.
  std::uint32_t subtractReference() const {
    if (enableThreadSafePointers != 0) [[unlikely]] {
      return (std::atomic_ref(word_).fetch_sub(1, std::memory_order_acq_rel) - 1) & releaseMask;
    }
    return --word_ & releaseMask;
  }

  /// Changes one bit; a reference that another thread counts meanwhile is not lost.
  void bitIs(std::uint32_t bit, bool on) const {
    if (enableThreadSafePointers == 0) [[likely]] {
      word_ = on ? word_ | bit : word_ & ~bit;
    } else if (on) {
      std::atomic_ref(word_).fetch_or(bit, std::memory_order_relaxed);
    } else {
      std::atomic_ref(word_).fetch_and(~bit, std::memory_order_relaxed);
    }
  }

 private:
  alignas(4) mutable std::uint32_t word_ = 1;
};

}  // namespace Kro
