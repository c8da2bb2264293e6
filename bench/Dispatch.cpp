// Telling one change to observers, against a subject written by hand that calls each observer in a loop.
#include <vector>

#include "bench/Bench.h"
#include "bench/Rules.h"

namespace Bench {

namespace {

class Observer : public Vorn::VornAcl::NotifieeConst {
 public:
  void onIpRuleById(Vorn::AceIndex const& key) override { sum += key.ruleId(); }
  std::uint64_t sum = 0;
};

class HandObserver {
 public:
  virtual ~HandObserver() = default;
  virtual void onRule(Vorn::AceIndex const& key) = 0;
};
class HandAdder : public HandObserver {
 public:
  void onRule(Vorn::AceIndex const& key) override { sum += key.ruleId(); }
  std::uint64_t sum = 0;
};
/// There is more than one kind, lest the compiler guess which one is called.
class HandCounter : public HandObserver {
 public:
  void onRule(Vorn::AceIndex const&) override { ++count; }
  std::uint64_t count = 0;
};

class HandSubject {
 public:
  virtual ~HandSubject() = default;
  virtual void notify(Vorn::AceIndex const& key);
  std::vector<std::unique_ptr<HandObserver>> observers;
};

[[gnu::noinline]] void HandSubject::notify(Vorn::AceIndex const& key) {
  for (auto const& observer : observers) {
    observer->onRule(key);
  }
}

/// The keys are made beforehand: one that was put together just now cannot be copied before its parts have reached the
/// cache, which no change meets whose rule was looked up first.
template <class F>
void loop(benchmark::State& state, F const& notify) {
  std::vector<Vorn::AceIndex> keys;
  for (std::uint32_t n = 0; n < 64; ++n) {
    keys.push_back(keyOf(n));
  }
  std::uint32_t n = 0;
  for (auto _ : state) {
    notify(keys[n++ % 64]);
    benchmark::ClobberMemory();
  }
}

void tellLibrary(benchmark::State& state, unsigned count) {
  auto const acl = Kro::adopt(new Vorn::VornAcl({}, Acl::ip, Kro::Name("bench")));
  std::vector<Kro::Ptr<Observer>> observers;
  for (unsigned n = 0; n < count; ++n) {
    observers.push_back(Kro::adopt(new Observer));
    observers.back()->notifierIs(acl);
    observers.back()->isRegisteredNotifieeIs(true);
  }
  auto* subject = acl.get();
  benchmark::DoNotOptimize(subject);
  loop(state, [&](Vorn::AceIndex const& key) { subject->ipRuleByIdNotify(key); });
}

void tellByHand(benchmark::State& state, unsigned count) {
  auto const owner = std::make_unique<HandSubject>();
  for (unsigned n = 0; n < count; ++n) {
    owner->observers.push_back(std::make_unique<HandAdder>());
  }
  HandSubject* subject = owner.get();
  HandObserver* other = new HandCounter;
  benchmark::DoNotOptimize(other);
  benchmark::DoNotOptimize(subject);
  loop(state, [&](Vorn::AceIndex const& key) { subject->notify(key); });
  delete other;
}

}  // namespace

void addDispatch() {
  for (unsigned const count : {0U, 1U, 8U}) {
    std::string const work = "tell a change to " + std::to_string(count);
    add(work, library, [count](benchmark::State& state) { tellLibrary(state, count); });
    add(work, "loop of virtual calls", [count](benchmark::State& state) { tellByHand(state, count); });
  }
}

}  // namespace Bench
