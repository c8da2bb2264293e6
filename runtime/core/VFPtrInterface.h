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
///
/// What all threads share, as type objects and their names, is frozen: it has the highest bit of the count set, is no
/// longer counted through pointers of its own type, and is never released. So no thread writes to its word.
class VORNACL_API VFPtrInterface {
 public:
  static constexpr std::uint32_t countMask = 0x1fffffff;
  static constexpr std::uint32_t frozenBit = 0x10000000;
  static constexpr std::uint32_t notificationActiveBit = 0x20000000;
  static constexpr std::uint32_t runtimeOwnedBit = 0x40000000;
  static constexpr std::uint32_t markedForDeletionBit = 0x80000000;
  static constexpr std::uint32_t releaseMask = countMask | runtimeOwnedBit;
  static_assert(releaseMask == 0x5fffffff);

  /// Process-wide switch: non-zero selects atomic increments and decrements of count words, zero plain ones. To be set
  /// before two threads count the same object or string. Threads that share none, each with trees of its own, need it
  /// not; nor does a tree that is handed over, if the threads agree on when.
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
  /// Whether the object is one that all threads share.
  bool isFrozen() const { return (countWord() & frozenBit) != 0; }

 protected:
  /// A new object holds the reference of its creator.
  VFPtrInterface() = default;
  /// One with flags from the start.
  explicit VFPtrInterface(std::uint32_t bits) : word_(1 | bits) {}
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

  /// Precondition: no other thread knows the object yet. Does nothing the second time.
  void freezeCount() const {
    if (!isFrozen()) {
      word_ |= frozenBit;
    }
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
