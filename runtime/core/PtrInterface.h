// The polymorphic counted base of entities, member records, observers, type objects and reflection objects.
#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/core/VFPtrInterface.h"

namespace Kro {

template <class T>
class Ptr;
class KroType;

/// Process-wide switch: non-zero makes the runtime track live counted objects (see `PtrTrack`).
VORNACL_API extern std::uint8_t ptrifTrackOn_;

/// Counts live counted objects while `ptrifTrackOn_` is set; for leak tests.
class VORNACL_API PtrTrack {
 public:
  static void ptrifAdd(void const* object);
  /// Forgets an object that is meant to live for ever.
  static void ptrifDel(void const* object);
  /// Number of tracked objects that are alive.
  static std::size_t live();
};

/// Base of every counted object. Lives on the heap, is reached through `Ptr<T>`, is never copied as an object of
/// identity; its first pointer adopts the reference that construction left.
class VORNACL_API PtrInterface : public VFPtrInterface {
 public:
  class NotifieeConst;
  class Notifiee;

  PtrInterface() : PtrInterface(0) {}
  PtrInterface(PtrInterface const&) : PtrInterface() {}
  PtrInterface& operator=(PtrInterface const&) { return *this; }

  /// Sets or clears bit 29 of the count word; observers also link or unlink themselves.
  virtual void hasNotificationActiveIs(bool active);
  /// Number of consistency errors found in this object at the given depth; 0 in the base.
  virtual unsigned kroAuditErrors(unsigned level) const;
  /// Number of consistency errors found in this object and below it.
  virtual unsigned auditErrors(unsigned level) const;
  /// Tells the observers that the last reference went; the argument is not consulted.
  virtual void zeroReferencesIs(bool);
  /// The object's type descriptor, null where it has none.
  virtual Ptr<KroType const> fwkType() const;
  virtual ~PtrInterface() {
    if (ptrifTrackOn_ != 0) [[unlikely]] {
      PtrTrack::ptrifDel(this);
    }
#ifndef NDEBUG
    requireUnheld();
#endif
  }

  /// Drops one reference; releases the object when none is left and the runtime does not own it. Returns the masked
  /// result of this subtraction, also when the object is gone by then.
  std::uint32_t referencesDec() const {
    std::uint32_t const left = subtractReference();
    if (left == 0) {
      handleZeroRef();
    }
    return left;
  }

  /// Adds a reference that is never given back and takes the object out of the tracking of live objects.
  void referencesLeak() const;

  /// Sets or clears bit 31 of the count word: a zombie observer, or a member not yet repeated by a transfer.
  void kroMarkedForDeletionIs(bool marked) const { bitIs(markedForDeletionBit, marked); }
  bool kroMarkedForDeletion() const { return (countWord() & markedForDeletionBit) != 0; }
  bool hasNotificationActive() const { return (countWord() & notificationActiveBit) != 0; }

  static void* operator new(std::size_t size);
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* object, std::size_t size) noexcept;
  static void operator delete(void*, void*) noexcept {}

 protected:
  explicit PtrInterface(std::uint32_t bits) : VFPtrInterface(bits) {
    if (ptrifTrackOn_ != 0) [[unlikely]] {
      PtrTrack::ptrifAdd(this);
    }
  }

 private:
  void handleZeroRef() const;
  /// Stops the program where a pointer to this dying object was kept.
  void requireUnheld() const;
};

/// Base of counted objects that all threads come to share, as type objects. Until it is frozen such an object is
/// counted as any other; afterwards it stays for ever, and a `Ptr` to a type derived from this one counts nothing. (A
/// `Ptr<PtrInterface>` still counts; its count means nothing any more, but two threads must not have one.)
class VORNACL_API Freezable : public PtrInterface {
 public:
  using PtrInterface::PtrInterface;

  /// Freezes the object and what hangs on it. Precondition: no other thread knows it yet.
  virtual void freeze() const { freezeCount(); }

  void referencesInc() const {
    if (!isFrozen()) {
      PtrInterface::referencesInc();
    }
  }
  std::uint32_t referencesDec() const { return isFrozen() ? countWord() & releaseMask : PtrInterface::referencesDec(); }
};

}  // namespace Kro
