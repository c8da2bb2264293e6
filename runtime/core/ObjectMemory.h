// Where small counted objects live. Member records come and go by the million, most of them of one size, and a general
// allocator costs more than all else that is done with them. Included by `PtrInterface.cpp` and `ObjectMemory.cpp`
// alone.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

#include "runtime/core/SparePlace.h"

namespace Kro::detail {

struct Ownerless;

/// Places for small objects, in blocks from the general allocator. Each thread has a memory of its own and takes no
/// lock; one more, which is locked, holds what ended threads have left. Invariants:
///   1. the objects of a block are of one size; a block begins at a multiple of its size, so that a place tells its
///      block
///   2. a block belongs to one memory, and only that memory's thread touches it, but for `strays`
///   3. what another thread gives back waits among the strays of its block, and its place is used until the block's own
///      thread has taken it in: a block lasts as long as any thread has to do with one of its places
///   4. a block with room is in the list of its size, an empty one among the spare ones (the last of its size stays in
///      the list); a full one has left the list when a place was looked for in vain
///   5. an empty block is used from its front again, for any size: objects that are made in a row lie in a row, however
///      scattered those before them were
///   6. empty blocks beyond `mostSpare` go back to the general allocator
///   7. a thread that ends leaves the blocks that still hold objects to the ownerless memory. From there a block goes
///      to the next thread that gives back one of its objects, or that needs room of its size
///   8. a memory gets another block only after a look for strays at `looks` of those that it has: what other threads
///      gave back stays a part of what it holds
class ObjectMemory {
 public:
  static constexpr std::size_t largest = 256;

  constexpr ObjectMemory() = default;

  /// A place for an object of 1 to `largest` bytes. Throws `std::bad_alloc`.
  static void* take(std::size_t size) {
    ObjectMemory* const own = ofThread_;
    return own != nullptr ? own->takeOwn(size) : takeWithoutOwn(size);
  }
  /// Takes back a place that `take` gave, to this thread or another.
  static void giveBack(void* place) noexcept {
    Block& block = *blockAt(memoryOf(place));
    ObjectMemory* const own = ofThread_;
    if (block.owner.load(std::memory_order_relaxed) == own) [[likely]] {
      own->giveBackOwn(block, place);
    } else {
      giveBackForeign(block, place);
    }
  }

 private:
  friend struct Ownerless;

  /// The size of an object that wants more alignment is a multiple of that, and so is the distance of its place from
  /// the front of the block.
  static constexpr std::size_t grain = 8;
  static constexpr std::size_t blockSize = std::size_t{1} << 15U;
  /// Leaves room for what a general allocator puts between two blocks, which then can be neighbours.
  static constexpr std::size_t blockRoom = blockSize - 64;
  static constexpr std::size_t mostSpare = 32;
  static constexpr int looks = 4;

  struct Place {
    Place* next;
  };
  struct Block;
  struct Links {
    Block* next;
    Block* before;
  };
  struct alignas(64) Block {
    std::atomic<ObjectMemory*> owner;
    std::atomic<Place*> strays;  ///< given back by other threads; the ownerless memory's mark where they take the lock
    Place* free;                 ///< given back
    Links list;                  ///< of the blocks of its size with room, or of the spare ones
    Links ring;                  ///< of the owner's blocks that are not spare
    std::uint16_t fresh;         ///< distance from the memory's begin; never used from here on
    std::uint16_t size;          ///< of an object
    std::uint16_t used;          ///< number of objects and strays
    bool isListed;               ///< in the list of its size

    bool hasRoom() const { return free != nullptr || fresh + std::size_t{size} <= blockRoom; }
    /// A free place, or null.
    void* take() {
      void* place = free;
      if (place != nullptr) {
        free = free->next;
      } else {
        if (!hasRoom()) [[unlikely]] {
          return nullptr;
        }
        place = reinterpret_cast<void*>(memoryOf(this) + fresh);
        fresh = static_cast<std::uint16_t>(fresh + size);
      }
      ++used;
      return place;
    }
    void putBack(Place* place) {
      place->next = free;
      free = place;
      --used;
    }
    void empty() {
      free = nullptr;
      fresh = static_cast<std::uint16_t>(reinterpret_cast<std::uintptr_t>(this + 1) - memoryOf(this));
      used = 0;
    }
  };
  static_assert(sizeof(Block) == 64 || sizeof(void*) < 8);

  /// The header is near the front of the memory, but not always at the same distance: the headers would compete for the
  /// same few lines of the processor's cache.
  static Block* blockAt(std::uintptr_t memory) {
    return reinterpret_cast<Block*>(memory + memory / blockSize % 8 * sizeof(Block));
  }
  static std::uintptr_t memoryOf(void const* inside) {
    return reinterpret_cast<std::uintptr_t>(inside) & ~(blockSize - 1);
  }
  static constexpr std::size_t classOf(std::size_t size) { return (size - 1) / grain; }
  Block*& withRoom(std::size_t size) { return withRoom_[classOf(size)]; }

  // What is rare is called last, by name: the common way then saves no registers, a tenth of its time.
  void* takeOwn(std::size_t size) {
    Block* const block = withRoom(size);
    if (block != nullptr) [[likely]] {
      if (void* const place = block->take()) [[likely]] {
        return place;
      }
    }
    return takeFromAnother(size);
  }
  void giveBackOwn(Block& block, void* place) noexcept {
    if (block.used == 1) [[unlikely]] {
      return close(block);
    }
    block.putBack(::new (place) Place);
    if (!block.isListed) [[unlikely]] {
      enlist(block);
    }
  }

  template <Links Block::*L>
  static void link(Block*& first, Block& block) noexcept {
    (block.*L) = {first, nullptr};
    if (first != nullptr) {
      (first->*L).before = &block;
    }
    first = &block;
  }
  template <Links Block::*L>
  static void unlink(Block*& first, Block& block) noexcept {
    auto const [next, before] = block.*L;
    (before != nullptr ? (before->*L).next : first) = next;
    if (next != nullptr) {
      (next->*L).before = before;
    }
  }

  struct Thread;
  static ObjectMemory* begin();
  void leave() noexcept;
  static void* takeWithoutOwn(std::size_t size);
  static void giveBackForeign(Block& block, void* at) noexcept;
  static bool giveBackOwnerless(Block& block, Place* place) noexcept;
  void adopt(Block& block) noexcept;
  bool takeOver(std::size_t size) noexcept;
  static bool takeIn(Block& block, Place* instead = nullptr) noexcept;
  void lookForStrays() noexcept;
  void* takeFromAnother(std::size_t size);
  void open(std::size_t size);
  void close(Block& block) noexcept;
  void gain(Block& block, Place* strays) noexcept;
  void lose(Block& block) noexcept;
  void enlist(Block& block) noexcept;
  void unlist(Block& block) noexcept;
  static Block* newBlock();
  static void freeBlock(Block& block) noexcept;

  /// The memory of this thread; null before its first object and near its end.
  KRO_NEAR_THREAD_LOCAL static inline constinit thread_local ObjectMemory* ofThread_ = nullptr;

  Block* withRoom_[largest / grain] = {};  ///< first block of each size
  Block* ring_ = nullptr;                  ///< all blocks that are not spare
  Block* nextLook_ = nullptr;              ///< where in the ring the look for strays goes on; null: at the first
  Block* spare_ = nullptr;
  std::size_t spares_ = 0;
};

}  // namespace Kro::detail
