#include "runtime/entity/Dispatch.h"

#include <utility>

namespace Kro {

ObserverSnapshot::ObserverSnapshot(std::uint32_t count, SnapshotSpare& spare) : entries_(inline_) {
  if (count <= inlineRoom) {
    return;
  }
  if (spare.room_ >= count) {
    heap_ = std::move(spare.entries_);
    heapRoom_ = std::exchange(spare.room_, 0);
  } else {
    heap_.reset(new PtrInterface::NotifieeConst*[count]);
    heapRoom_ = count;
  }
  entries_ = heap_.get();
}

ObserverSnapshot::~ObserverSnapshot() {
  while (index_ < size_) {
    entries_[index_++]->referencesDec();
  }
}

void ObserverSnapshot::advance() {
  // The entry is dropped before the index moves: an observer that released itself dies here and unlinks itself.
  entries_[index_]->referencesDec();
  while (++index_ < size_ && (entries_[index_]->countWord() & VFPtrInterface::countMask) == 1) {
    entries_[index_]->referencesDec();
  }
}

void SnapshotSpare::grow(std::uint32_t count) {
  entries_.reset(new PtrInterface::NotifieeConst*[count]);
  room_ = count;
}

void dispatch(ObserverSnapshot& snapshot, AttributeId id, FunctionRef<void(PtrInterface::NotifieeConst&)> call) {
  for (; snapshot.inside(); snapshot.advance()) {
    Expect const expect(Exception::noId);
    PtrInterface::NotifieeConst& observer = snapshot.current();
    try {
      call(observer);
    } catch (...) {
      observer.onNotificationException(id);
    }
  }
}

}  // namespace Kro
