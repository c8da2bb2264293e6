#include "runtime/entity/Dispatch.h"

#include <utility>

namespace Kro {

void ObserverSnapshot::makeRoom(std::uint32_t count, SnapshotSpare& spare) {
  if (spare.room_ >= count) {
    heap_ = std::move(spare.entries_);
    spare.room_ = 0;
  } else {
    heap_.reset(new PtrInterface::NotifieeConst*[count]);
  }
  entries_ = heap_.get();
}

void SnapshotSpare::grow(std::uint32_t count) {
  entries_.reset(new PtrInterface::NotifieeConst*[count]);
  room_ = count;
}

void ObserverSnapshot::reportException(AttributeId id) {
  current().onNotificationException(id);
  advance();
}

}  // namespace Kro
