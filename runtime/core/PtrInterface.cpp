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

/// Never destroyed: counted objects of static lifetime may outlive everything else.
constinit union NeverDestroyed {
  detail::ObjectMemory value{};
  ~NeverDestroyed() {}
} objectMemory;

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

void* PtrInterface::operator new(std::size_t size) {
  if (detail::poolsObjects && size <= detail::ObjectMemory::largest) {
    return objectMemory.value.take(size);
  }
  return ::operator new(size);
}
void PtrInterface::operator delete(void* object, std::size_t size) noexcept {
  if (detail::poolsObjects && size <= detail::ObjectMemory::largest) {
    objectMemory.value.giveBack(object, size);
    return;
  }
#ifdef __cpp_sized_deallocation
  ::operator delete(object, size);
#else
  ::operator delete(object);
#endif
}

}  // namespace Kro
