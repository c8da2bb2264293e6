// Deferred delivery without a thread or a clock: observers with an activity are told when its owner steps the
// scheduler.
#pragma once

#include <cstdint>

#include "runtime/entity/Notifiee.h"

namespace Kro {

class ActivityScheduler;

/// How far an activity has come; counts the points at which it would have let others run.
class VORNACL_API ActivitySm {
 public:
  std::uint64_t redispatches() const { return redispatches_; }
  void redispatch() { ++redispatches_; }

 private:
  std::uint64_t redispatches_ = 0;
};

/// The activity of one observer: while it has one, changes of collections are counted and told later. Owned by the
/// observer; the scheduler must outlive it.
class VORNACL_API ActivityConfig {
 public:
  /// What a pending-attribute word says beyond one attribute's number.
  static constexpr AttributeId nothing = 0;
  static constexpr AttributeId several = -1;  ///< more than one attribute
  static constexpr AttributeId bulk = -2;     ///< every attribute, each in bulk

  ActivityConfig(ActivityScheduler& scheduler, PtrInterface::NotifieeConst& observer)
      : scheduler_(scheduler), observer_(observer) {}
  ~ActivityConfig();
  ActivityConfig(ActivityConfig const&) = delete;
  ActivityConfig& operator=(ActivityConfig const&) = delete;

  ActivitySm& actsm() { return actsm_; }
  PtrInterface::NotifieeConst& observer() const { return observer_; }
  /// Puts the activity into the scheduler's queue, once. Takes no memory: what waits is never lost.
  void schedule();

 private:
  friend class ActivityScheduler;
  ActivityScheduler& scheduler_;
  PtrInterface::NotifieeConst& observer_;
  ActivitySm actsm_;
  bool scheduled_ = false;
  ActivityConfig* next_ = nullptr;  ///< in the queue
};

/// Runs activities when its owner says so.
class VORNACL_API ActivityScheduler {
 public:
  ActivityScheduler() = default;
  ActivityScheduler(ActivityScheduler const&) = delete;
  ActivityScheduler& operator=(ActivityScheduler const&) = delete;

  bool empty() const { return first_ == nullptr; }
  /// Runs the activity that was scheduled first; returns whether there was one.
  bool step();
  /// Runs activities until none is left.
  void run() {
    while (step()) {
    }
  }

 private:
  friend class ActivityConfig;
  void unlink(ActivityConfig** link);

  ActivityConfig* first_ = nullptr;
  ActivityConfig** end_ = &first_;  ///< where the next one is linked
};

}  // namespace Kro
