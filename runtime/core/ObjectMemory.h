// Where small counted objects live. Member records come and go by the million, most of them of one size, and a general
// allocator costs more than all else that is done with them. Included by `PtrInterface.cpp` alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>

#include "runtime/core/VFPtrInterface.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KRO_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) || __has_feature(thread_sanitizer)
#define KRO_SANITIZED
#endif
#endif

namespace Kro::detail {

/// Places for small objects, in blocks from the general allocator. Locked while counting is atomic. Invariants:
///   1. the objects of a block are of one size; a block begins at a multiple of its size, so that a place tells its
///      block
///   2. a block with room is in the list of its size, an empty one among the spare ones (the last of its size stays in
///      the list), a full one in none
///   3. an empty block is used from its front again, for any size: objects that are made in a row lie in a row, however
///      scattered those before them were
///   4. empty blocks beyond `mostSpare` go back to the general allocator
class ObjectMemory {
 public:
  static constexpr std::size_t largest = 256;

  /// A place for an object of 1 to `largest` bytes. Throws `std::bad_alloc`.
  void* take(std::size_t size) {
    if (VFPtrInterface::enableThreadSafePointers != 0) [[unlikely]] {
      std::lock_guard const lock(mutex_);
      return takeAlone(size);
    }
    return takeAlone(size);
  }
  /// Takes back a place that `take` gave for this size.
  void giveBack(void* place, std::size_t size) noexcept {
    if (VFPtrInterface::enableThreadSafePointers != 0) [[unlikely]] {
      std::lock_guard const lock(mutex_);
      giveBackAlone(place, size);
    } else {
      giveBackAlone(place, size);
    }
  }

 private:
  /// The size of an object that wants more alignment is a multiple of that, and so is the distance of its place from
  /// the front of the block.
  static constexpr std::size_t grain = 8;
  static constexpr std::size_t blockSize = std::size_t{1} << 15U;
  /// Leaves room for what a general allocator puts between two blocks, which then can be neighbours.
  static constexpr std::size_t blockRoom = blockSize - 64;
  static constexpr std::size_t mostSpare = 32;

  struct Place {
    Place* next;
  };
  struct alignas(64) Block {
    Place* free;       ///< given back
    std::byte* fresh;  ///< never used from here on
    std::byte* end;
    std::size_t size;  ///< of an object
    std::size_t used;  ///< number of objects
    Block* next;       ///< in the list that it is in
    Block* before;

    std::byte* front() { return reinterpret_cast<std::byte*>(this + 1); }
    bool isFull() const { return free == nullptr && static_cast<std::size_t>(end - fresh) < size; }
  };

  /// The header is near the front of the memory, but not always at the same distance: the headers would compete for the
  /// same few lines of the processor's cache.
  static Block* blockAt(std::uintptr_t memory) {
    return reinterpret_cast<Block*>(memory + memory / blockSize % 8 * sizeof(Block));
  }
  static std::uintptr_t memoryOf(void const* inside) {
    return reinterpret_cast<std::uintptr_t>(inside) & ~(blockSize - 1);
  }

  Block*& withRoom(std::size_t size) { return withRoom_[(size - 1) / grain]; }

  void* takeAlone(std::size_t size) {
    Block*& first = withRoom(size);
    if (first == nullptr) [[unlikely]] {
      link(first, open((size + grain - 1) / grain * grain));
    }
    Block& block = *first;
    void* place = block.free;
    if (place != nullptr) {
      block.free = block.free->next;
    } else {
      place = block.fresh;
      block.fresh += block.size;
    }
    ++block.used;
    if (block.isFull()) [[unlikely]] {
      unlink(first, block);
    }
    return place;
  }

  void giveBackAlone(void* place, std::size_t size) noexcept {
    Block& block = *blockAt(memoryOf(place));
    Block*& first = withRoom(size);
    if (block.isFull()) [[unlikely]] {
      link(first, &block);
    }
    block.free = ::new (place) Place{block.free};
    if (--block.used == 0) [[unlikely]] {
      close(first, block);
    }
  }

  static void link(Block*& first, Block* block) noexcept {
    block->before = nullptr;
    block->next = first;
    if (first != nullptr) {
      first->before = block;
    }
    first = block;
  }
  static void unlink(Block*& first, Block& block) noexcept {
    (block.before != nullptr ? block.before->next : first) = block.next;
    if (block.next != nullptr) {
      block.next->before = block.before;
    }
  }

  /// An empty block, in no list, for objects of a size.
  Block* open(std::size_t size) {
    Block* block = spare_;
    if (block != nullptr) {
      unlink(spare_, *block);
      --spares_;
    } else {
      void* const memory = ::operator new(blockRoom, std::align_val_t(blockSize));
      block = ::new (static_cast<void*>(blockAt(memoryOf(memory)))) Block{};
      block->end = static_cast<std::byte*>(memory) + blockRoom;
    }
    block->free = nullptr;
    block->fresh = block->front();
    block->size = size;
    return block;
  }
  /// A block of the list has become empty.
  void close(Block*& first, Block& block) noexcept {
    if (block.next == nullptr && block.before == nullptr) {
      block.free = nullptr;
      block.fresh = block.front();
      return;  // lest an object that comes and goes alone opens a block each time
    }
    unlink(first, block);
    if (spares_ < mostSpare) {
      link(spare_, &block);
      ++spares_;
    } else {
      ::operator delete(reinterpret_cast<void*>(memoryOf(&block)), std::align_val_t(blockSize));
    }
  }

  std::mutex mutex_;
  Block* withRoom_[largest / grain] = {};  ///< first block of each size
  Block* spare_ = nullptr;
  std::size_t spares_ = 0;
};

/// Optimised builds pool small objects. Debug builds and sanitizers see each object by itself.
#if defined(NDEBUG) && !defined(KRO_SANITIZED)
inline constexpr bool poolsObjects = true;
#else
inline constexpr bool poolsObjects = false;
#endif

}  // namespace Kro::detail
