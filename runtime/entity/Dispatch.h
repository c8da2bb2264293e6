// Telling observers: a counted snapshot of the observer list, and one loop that holds the rules about exceptions and
// released observers.
#pragma once

#include <cstdint>
#include <memory>

#include "runtime/collection/ListRaw.h"
#include "runtime/core/AttributeId.h"
#include "runtime/core/Exception.h"
#include "runtime/entity/Notifiee.h"

namespace Kro {

class SnapshotSpare;

/// A counted copy of an observer list for one dispatch: every observer stays alive while the snapshot lives. Up to
/// eight observers take no allocation.
class VORNACL_API ObserverSnapshot {
 public:
  static constexpr std::uint32_t inlineRoom = 8;

  ObserverSnapshot(ObserverSnapshot const&) = delete;
  ObserverSnapshot& operator=(ObserverSnapshot const&) = delete;

  bool inside() const { return index_ < size_; }
  PtrInterface::NotifieeConst& current() const { return *entries_[index_]; }
  /// Releases the current observer, then every following one that only this snapshot still holds.
  void advance() { index_ = releasedFrom(entries_, index_, size_); }
  /// Tells the current observer, inside a catch block, that its handler threw, and advances.
  void reportException(AttributeId id);
  /// Calls `call(observer)` for the current observer and those behind it, advancing over each when its call has
  /// returned. What a call throws leaves this with that observer current.
  template <class Call>
  void callRest(Call const& call) {
    // In variables that no observer can reach, so that they stay in registers; the index is only noted for the rest.
    PtrInterface::NotifieeConst* const* const entries = entries_;
    std::uint32_t const size = size_;
    for (std::uint32_t at = index_; at < size; index_ = at) {
      call(*entries[at]);
      at = releasedFrom(entries, at, size);
    }
  }

 protected:
  /// Room for `count` entries; takes `spare` where it suffices. Throws `std::bad_alloc`.
  ObserverSnapshot(std::uint32_t count, SnapshotSpare& spare) : entries_(inline_) {
    if (count > inlineRoom) [[unlikely]] {
      makeRoom(count, spare);
    }
  }
  ~ObserverSnapshot() {
    while (index_ < size_) {
      entries_[index_++]->referencesDec();
    }
  }
  void append(PtrInterface::NotifieeConst* observer) {
    observer->referencesInc();
    entries_[size_++] = observer;
  }

 private:
  static std::uint32_t releasedFrom(PtrInterface::NotifieeConst* const* entries, std::uint32_t at, std::uint32_t size) {
    entries[at]->referencesDec();
    while (++at < size && (entries[at]->countWord() & VFPtrInterface::countMask) == 1) {
      entries[at]->referencesDec();
    }
    return at;
  }
  void makeRoom(std::uint32_t count, SnapshotSpare& spare);

  PtrInterface::NotifieeConst* inline_[inlineRoom];
  std::unique_ptr<PtrInterface::NotifieeConst*[]> heap_;
  PtrInterface::NotifieeConst** entries_;
  std::uint32_t size_ = 0;
  std::uint32_t index_ = 0;
};

/// Room for the next large snapshot of a list, allocated before a change is stored so that nothing that can fail stands
/// between storing a change and telling it.
class VORNACL_API SnapshotSpare {
 public:
  /// Makes room for `count` entries; throws `std::bad_alloc`.
  void reserve(std::uint32_t count) {
    if (count > ObserverSnapshot::inlineRoom && count > room_) [[unlikely]] {
      grow(count);
    }
  }

 private:
  friend class ObserverSnapshot;
  void grow(std::uint32_t count);

  std::unique_ptr<PtrInterface::NotifieeConst*[]> entries_;
  std::uint32_t room_ = 0;
};

/// The observers of one entity: the registered ones in the order in which they are told, and apart from them the weak
/// ones that are attached without being registered, so that a dying entity finds them.
template <class N>
class ObserverList : public ListRaw<N> {
 public:
  using Element = N;
  ListRaw<N>& silent() { return silent_; }
  ListRaw<N> const& silent() const { return silent_; }
  SnapshotSpare& spare() { return spare_; }
  /// Makes sure that the next dispatch needs no memory.
  void reserveDispatch() { spare_.reserve(this->count()); }
  unsigned auditErrors() const { return ListRaw<N>::auditErrors() + silent_.auditErrors(); }

 private:
  ListRaw<N> silent_;
  SnapshotSpare spare_;
};

template <class L>
class SnapshotIterator;

/// The snapshot of an observer list.
template <class N>
class SnapshotIterator<ListRaw<N>> : public ObserverSnapshot {
 public:
  explicit SnapshotIterator(ObserverList<N>& list) : ObserverSnapshot(list.count(), list.spare()) {
    for (N* at = list.head(); at != nullptr; at = at->kroNext()) {
      append(at);
    }
  }
};

/// Calls `call(observer)` for every observer of the snapshot. What a call throws is reported to that observer with the
/// attribute's id and ends there, unless the report throws itself: that ends the dispatch and leaves it. Loop and catch
/// stand where the caller is: behind a call of their own, telling one observer takes 9.0 ns instead of 7.3.
template <class Call>
void dispatch(ObserverSnapshot& snapshot, AttributeId id, Call const& call) {
  while (snapshot.inside()) {
    Expect const expect(Exception::noId);
    try {
      snapshot.callRest(call);
    } catch (...) {
      snapshot.reportException(id);
    }
  }
}

}  // namespace Kro
