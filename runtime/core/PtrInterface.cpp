#include "runtime/core/PtrInterface.h"

#include <mutex>
#include <new>
#include <unordered_set>

#include "runtime/core/Exception.h"
#include "runtime/core/ObjectMemory.h"

namespace Kro {

std::uint8_t VFPtrInterface::enableThreadSafePointers = 0;
std::uint8_t ptrifTrackOn_ = 0;

namespace {

struct Tracked {
  std::mutex mutex;
  std::unordered_set<void const*> objects;
};

Tracked& tracked() {
  // Never destroyed: counted objects of static lifetime may outlive it.
  static auto* const instance = new Tracked;
  return *instance;
}

}  // namespace

void PtrTrack::ptrifAdd(void const* object) {
  std::lock_guard const lock(tracked().mutex);
  tracked().objects.insert(object);
}

void PtrTrack::ptrifDel(void const* object) {
  std::lock_guard const lock(tracked().mutex);
  tracked().objects.erase(object);
}

std::size_t PtrTrack::live() {
  std::lock_guard const lock(tracked().mutex);
  return tracked().objects.size();
}

void PtrInterface::requireUnheld() const {
  // A dying object is pinned by the runtime's bit; a count left beside it is a pointer that will dangle.
  if ((countWord() & runtimeOwnedBit) != 0 && (countWord() & countMask) != 0) {
    abortOnViolation("Kro::PtrInterface::~PtrInterface(): a pointer to a dying object was kept");
  }
}

void PtrInterface::hasNotificationActiveIs(bool active) { bitIs(notificationActiveBit, active); }
unsigned PtrInterface::kroAuditErrors(unsigned) const { return 0; }
unsigned PtrInterface::auditErrors(unsigned level) const { return kroAuditErrors(level); }
void PtrInterface::zeroReferencesIs(bool) {}

void PtrInterface::referencesLeak() const {
  referencesInc();
  if (ptrifTrackOn_ != 0) {
    PtrTrack::ptrifDel(this);
  }
}

void PtrInterface::handleZeroRef() const {
  // Pinned, so that handlers may take and drop pointers to the dying object without releasing it a second time.
  bitIs(runtimeOwnedBit, true);
  auto* const self = const_cast<PtrInterface*>(this);
  try {
    self->zeroReferencesIs(true);
  } catch (...) {  // a failing report must not keep the object from going
  }
#ifdef NDEBUG
  // A pointer kept from here on is the caller's fault; leaving the object to that pointer is the harmless answer.
  if ((countWord() & countMask) != 0) {
    bitIs(runtimeOwnedBit, false);
    return;
  }
#endif
  delete self;
}

constinit thread_local void* detail::SparePlace::place_ = nullptr;
constinit thread_local std::size_t detail::SparePlace::size_ = unknown;

bool detail::SparePlace::begin(void* place, std::size_t size) noexcept {
  struct Thread {
    ~Thread() {
      if (std::size_t const kept = std::exchange(size_, over); kept != none) {
        PtrInterface::operator delete(place_, kept);
      }
    }
  };
  thread_local Thread const thread;
  size_ = size;
  place_ = place;
  return true;
}

void* PtrInterface::operator new(std::size_t size) {
  if (detail::poolsObjects && size <= detail::ObjectMemory::largest) {
    return detail::ObjectMemory::take(size);
  }
  return ::operator new(size);
}
void PtrInterface::operator delete(void* object, std::size_t size) noexcept {
  if (detail::poolsObjects && size <= detail::ObjectMemory::largest) {
    detail::ObjectMemory::giveBack(object);
    return;
  }
#ifdef __cpp_sized_deallocation
  ::operator delete(object, size);
#else
  ::operator delete(object);
#endif
}

}  // namespace Kro
