#include "runtime/reflection/Activity.h"

#include <algorithm>
#include <limits>

namespace Kro {

ActivityConfig::~ActivityConfig() { std::erase(scheduler_.queue_, this); }

void ActivityConfig::schedule() {
  if (!scheduled_) {
    scheduler_.queue_.push_back(this);
    scheduled_ = true;
  }
}

bool ActivityScheduler::step() {
  if (queue_.empty()) {
    return false;
  }
  ActivityConfig* const activity = queue_.front();
  queue_.pop_front();
  activity->scheduled_ = false;
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
