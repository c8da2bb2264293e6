#include "runtime/reflection/Activity.h"

#include <limits>
#include <utility>

namespace Kro {

ActivityConfig::~ActivityConfig() {
  if (scheduled_) {
    ActivityConfig** link = &scheduler_.first_;
    while (*link != this) {
      link = &(*link)->next_;
    }
    scheduler_.unlink(link);
  }
}

void ActivityConfig::schedule() {
  if (!scheduled_) {
    scheduled_ = true;
    *scheduler_.end_ = this;
    scheduler_.end_ = &next_;
  }
}

void ActivityScheduler::unlink(ActivityConfig** link) {
  ActivityConfig& activity = **link;
  *link = std::exchange(activity.next_, nullptr);
  end_ = *link == nullptr ? link : end_;
  activity.scheduled_ = false;
}

bool ActivityScheduler::step() {
  ActivityConfig* const activity = first_;
  if (activity == nullptr) {
    return false;
  }
  unlink(&first_);
  Ptr<PtrInterface::NotifieeConst> const held = share(&activity->observer_);
  held->handleNotification(activity);
  return true;
}

bool PtrInterface::NotifieeConst::kroOnAttribute(AttributeId, unsigned char* pendingCount) {
  ActivityConfig* const activity = activityPtr();
  if (activity == nullptr) {
    return false;
  }
  if (*pendingCount < std::numeric_limits<unsigned char>::max()) {  // more are told in bulk all the same
    ++*pendingCount;
  }
  activity->schedule();
  return true;
}

void PtrInterface::NotifieeConst::redispatch(ActivitySm* machine) {
  if (machine != nullptr) {
    machine->redispatch();
  }
}

}  // namespace Kro
