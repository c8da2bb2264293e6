#include "runtime/core/ObjectMemory.h"

#include <memory>
#include <mutex>
#include <utility>

#if defined(__unix__) || defined(__APPLE__)
#define KRO_POSIX
#include <cstdlib>
#endif

namespace Kro::detail {

/// What ended threads have left, behind a lock.
struct Ownerless {
  std::mutex mutex;
  ObjectMemory memory;
  /// A bit for each size that has room here; a hint that saves the lock.
  std::atomic<std::uint32_t> room = 0;
  static_assert(ObjectMemory::largest / ObjectMemory::grain <= 32);
  /// What the strays of a block here point to.
  ObjectMemory::Place mark{};

  void noteRoom() {
    std::uint32_t bits = 0;
    for (std::size_t n = 0; n < std::size(memory.withRoom_); ++n) {
      bits |= memory.withRoom_[n] != nullptr ? 1U << n : 0U;
    }
    room.store(bits, std::memory_order_relaxed);
  }
};

namespace {

/// Never destroyed: counted objects of static lifetime may outlive everything else.
constinit union NeverDestroyed {
  Ownerless value{};
  ~NeverDestroyed() {}
} storage;
constinit Ownerless& ownerless = storage.value;

/// Whether any thread ever gave back an object of another: if none did, no thread looks for strays.
constinit std::atomic<bool> anyStrays = false;

}  // namespace

// --- a thread's begin and end ---

/// Makes a thread's memory and dissolves it at the thread's end.
struct ObjectMemory::Thread {
  static inline constinit thread_local bool ended = false;

  std::unique_ptr<ObjectMemory> memory = std::make_unique<ObjectMemory>();

  Thread() { ofThread_ = memory.get(); }
  ~Thread() {
    ended = true;
    ofThread_ = nullptr;
    memory->leave();
  }
};

/// The memory of this thread, made when there is none yet; null when the thread is about to end: what dies or is made
/// behind the thread's own variables, as objects of static lifetime do, uses the ownerless memory. Throws
/// `std::bad_alloc`.
ObjectMemory* ObjectMemory::begin() {
  if (Thread::ended) {
    return nullptr;
  }
  thread_local Thread const thread;
  return ofThread_;
}

void ObjectMemory::leave() noexcept {
  std::lock_guard const lock(ownerless.mutex);
  while (Block* const block = ring_) {
    lose(*block);
    takeIn(*block, &ownerless.mark);
    if (block->used == 0) {
      freeBlock(*block);
    } else {
      ownerless.memory.gain(*block, &ownerless.mark);
    }
  }
  while (Block* const block = spare_) {
    unlink<&Block::list>(spare_, *block);
    freeBlock(*block);
  }
  ownerless.noteRoom();
}

// --- objects that come and go apart from their thread ---

void* ObjectMemory::takeWithoutOwn(std::size_t size) {
  if (ObjectMemory* const own = begin()) {
    return own->takeOwn(size);
  }
  std::lock_guard const lock(ownerless.mutex);
  void* const place = ownerless.memory.takeOwn(size);
  ownerless.noteRoom();
  return place;
}

void ObjectMemory::giveBackForeign(Block& block, void* at) noexcept {
  auto* const place = ::new (at) Place{};
  Place* first = block.strays.load(std::memory_order_relaxed);
  do {
    while (first == &ownerless.mark) {
      if (giveBackOwnerless(block, place)) {
        return;
      }
      first = block.strays.load(std::memory_order_relaxed);
    }
    place->next = first;
  } while (!block.strays.compare_exchange_weak(first, place, std::memory_order_release, std::memory_order_relaxed));
  // The block may be gone by now.
  if (!anyStrays.load(std::memory_order_relaxed)) {
    anyStrays.store(true, std::memory_order_relaxed);
  }
}

/// Gives back a place in a block that was seen ownerless, which this thread takes over; false where another one has.
bool ObjectMemory::giveBackOwnerless(Block& block, Place* place) noexcept {
  ObjectMemory* own = nullptr;
  try {
    own = ofThread_ != nullptr ? ofThread_ : begin();
  } catch (...) {  // no memory for a memory: the block stays where it is
  }
  std::lock_guard const lock(ownerless.mutex);
  if (block.strays.load(std::memory_order_relaxed) != &ownerless.mark) {
    return false;
  }
  if (own != nullptr) {
    own->adopt(block);
    own->giveBackOwn(block, place);
  } else {
    ownerless.memory.giveBackOwn(block, place);
    ownerless.noteRoom();
  }
  return true;
}

/// Takes over an ownerless block; its lock is held.
void ObjectMemory::adopt(Block& block) noexcept {
  lookForStrays();
  ownerless.memory.lose(block);
  ownerless.noteRoom();
  gain(block, nullptr);
}

/// Takes over an ownerless block with room for an object of this size, if there is one.
bool ObjectMemory::takeOver(std::size_t size) noexcept {
  if ((ownerless.room.load(std::memory_order_relaxed) >> classOf(size) & 1U) == 0) {
    return false;
  }
  std::lock_guard const lock(ownerless.mutex);
  Block* const block = ownerless.memory.withRoom(size);
  if (block == nullptr) {
    return false;
  }
  adopt(*block);
  return true;
}

// --- blocks ---

/// Takes in the strays of an own block; whether there were any. The next stray finds `instead` in their place.
bool ObjectMemory::takeIn(Block& block, Place* instead) noexcept {
  Place* stray = block.strays.load(std::memory_order_relaxed);
  if (stray == instead || stray == &ownerless.mark) {
    return false;
  }
  stray = block.strays.exchange(instead, std::memory_order_acquire);
  bool const any = stray != nullptr;
  while (stray != nullptr) {
    block.putBack(std::exchange(stray, stray->next));
  }
  return any;
}

/// Looks at some of the blocks for strays.
void ObjectMemory::lookForStrays() noexcept {
  if (!anyStrays.load(std::memory_order_relaxed)) {
    return;
  }
  for (int look = 0; look < looks && ring_ != nullptr; ++look) {
    Block& block = nextLook_ != nullptr ? *nextLook_ : *ring_;
    nextLook_ = block.ring.next;
    if (!takeIn(block)) {
      continue;
    }
    if (block.used == 0) {
      close(block);
    } else if (!block.isListed) {
      enlist(block);
    }
  }
}

/// The first block of this size is full, or there is none.
void* ObjectMemory::takeFromAnother(std::size_t size) {
  for (;; open(size)) {
    while (Block* const block = withRoom(size)) {
      takeIn(*block);
      if (void* const place = block->take()) {
        return place;
      }
      unlist(*block);
    }
  }
}

/// Lists a block with room for an object of this size, where there was none.
void ObjectMemory::open(std::size_t size) {
  bool const isOwnerless = this == &ownerless.memory;
  if (spare_ == nullptr && !isOwnerless) {
    lookForStrays();
    if (withRoom(size) != nullptr || (spare_ == nullptr && takeOver(size))) {
      return;
    }
  }
  Block* block = spare_;
  if (block != nullptr) {
    unlink<&Block::list>(spare_, *block);
    --spares_;
  } else {
    block = newBlock();
  }
  block->size = static_cast<std::uint16_t>((size + grain - 1) / grain * grain);
  gain(*block, isOwnerless ? &ownerless.mark : nullptr);
}

/// The last object of an own block has gone.
void ObjectMemory::close(Block& block) noexcept {
  block.empty();
  if (withRoom(block.size) == &block && block.list.next == nullptr) {
    return;  // lest an object that comes and goes alone opens a block each time
  }
  lose(block);
  if (spares_ < mostSpare) {
    link<&Block::list>(spare_, block);
    ++spares_;
  } else {
    freeBlock(block);
  }
}

/// The block belongs to this memory from here on, or no longer.
void ObjectMemory::gain(Block& block, Place* strays) noexcept {
  block.owner.store(this, std::memory_order_relaxed);
  block.strays.store(strays, std::memory_order_relaxed);
  link<&Block::ring>(ring_, block);
  if (block.hasRoom()) {
    enlist(block);
  }
}
void ObjectMemory::lose(Block& block) noexcept {
  if (block.isListed) {
    unlist(block);
  }
  if (nextLook_ == &block) {
    nextLook_ = block.ring.next;
  }
  unlink<&Block::ring>(ring_, block);
}

void ObjectMemory::enlist(Block& block) noexcept {
  block.isListed = true;
  link<&Block::list>(withRoom(block.size), block);
}
void ObjectMemory::unlist(Block& block) noexcept {
  block.isListed = false;
  unlink<&Block::list>(withRoom(block.size), block);
}

/// Memory for a block. The aligned `operator new` of a library may round the size up to a multiple of the alignment,
/// and blocks would lie twice as far apart: a quarter more resident memory for a rule, and half more time to append
/// one.
ObjectMemory::Block* ObjectMemory::newBlock() {
#ifdef KRO_POSIX
  void* memory = nullptr;
  if (posix_memalign(&memory, blockSize, blockRoom) != 0) {
    throw std::bad_alloc();
  }
#else
  void* const memory = ::operator new(blockRoom, std::align_val_t(blockSize));
#endif
  auto* const block = ::new (static_cast<void*>(blockAt(memoryOf(memory)))) Block{};
  block->empty();
  return block;
}

void ObjectMemory::freeBlock(Block& block) noexcept {
  auto* const memory = reinterpret_cast<void*>(memoryOf(&block));
#ifdef KRO_POSIX
  std::free(memory);
#else
  ::operator delete(memory, std::align_val_t(blockSize));
#endif
}

}  // namespace Kro::detail
