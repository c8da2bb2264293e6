// The rules of an ACL against a std::map of the same keys and values. Both hand out values by copy.
#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "bench/Bench.h"
#include "bench/Rules.h"

namespace Bench {

namespace {

/// The rules that the measured loops store, made beforehand, and an order to go through them.
struct Input {
  Input(std::uint32_t count, bool shuffled) : values(count), order(count) {
    for (std::uint32_t n = 0; n < count; ++n) {
      values[n] = ruleOf(n);
      order[n] = n;
    }
    if (shuffled) {
      std::shuffle(order.begin(), order.end(), std::mt19937(count));
    }
  }
  std::vector<Vorn::IpRuleConfig> values;
  std::vector<std::uint32_t> order;
};

class AclRules {
 public:
  void set(Vorn::AceIndex const& key, Vorn::IpRuleConfig const& rule) { acl_->ipRuleByIdIs(key, rule); }
  Vorn::IpRuleConfig get(Vorn::AceIndex const& key) const { return acl_->ipRuleById(key); }
  Vorn::IpRuleConfig del(Vorn::AceIndex const& key) { return acl_->ipRuleByIdDel(key); }
  template <class F>
  void walk(F const& f) const {
    for (auto const& record : acl_->ipRuleByIdMap()) {
      f(record.key(), record.value());
    }
  }

 private:
  Kro::Ptr<Vorn::VornAcl> acl_ = Kro::adopt(new Vorn::VornAcl({}, Acl::ip, Kro::Name("bench")));
};

class MapRules {
 public:
  void set(Vorn::AceIndex const& key, Vorn::IpRuleConfig const& rule) { map_.insert_or_assign(key, rule); }
  Vorn::IpRuleConfig get(Vorn::AceIndex const& key) const {
    auto const found = map_.find(key);
    return found != map_.end() ? found->second : Vorn::IpRuleConfig();
  }
  Vorn::IpRuleConfig del(Vorn::AceIndex const& key) {
    auto const node = map_.extract(key);
    return node ? node.mapped() : Vorn::IpRuleConfig();
  }
  template <class F>
  void walk(F const& f) const {
    for (auto const& [key, value] : map_) {
      f(key, value);
    }
  }

 private:
  std::map<Vorn::AceIndex, Vorn::IpRuleConfig> map_;
};

template <class Rules>
void fill(Rules& rules, Input const& input) {
  for (std::uint32_t const n : input.order) {
    rules.set(keyOf(n), input.values[n]);
  }
}

/// Sets every rule of an empty collection.
template <class Rules>
void insert(benchmark::State& state, std::uint32_t count, bool shuffled) {
  Input const input(count, shuffled);
  for (auto _ : state) {
    state.PauseTiming();
    auto rules = std::make_unique<Rules>();
    state.ResumeTiming();
    fill(*rules, input);
    state.PauseTiming();
    rules.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * count);
}

/// Calls `step(rules, n, values)` for each rule of a collection that holds them all, in random order. The collection is
/// filled in random order, too, as one is that has lived for a while; anew for each iteration where `refill` is set.
template <class Rules, class F>
void eachOf(benchmark::State& state, std::uint32_t count, bool refill, F const& step) {
  Input const input(count, true);
  std::vector<std::uint32_t> visits = input.order;
  std::shuffle(visits.begin(), visits.end(), std::mt19937(1));
  auto rules = std::make_unique<Rules>();
  fill(*rules, input);
  bool first = true;
  for (auto _ : state) {
    if (refill && !std::exchange(first, false)) {
      state.PauseTiming();
      fill(*rules, input);
      state.ResumeTiming();
    }
    for (std::uint32_t const n : visits) {
      step(*rules, n, input.values);
    }
  }
  state.SetItemsProcessed(state.iterations() * count);
}

template <class Rules>
void change(benchmark::State& state, std::uint32_t count) {
  std::uint32_t steps = 0;
  eachOf<Rules>(state, count, false, [&](Rules& rules, std::uint32_t n, auto& values) {
    Vorn::IpRuleConfig rule = values[n];
    rule.logIs(steps++ / count % 2 == 0);
    rules.set(keyOf(n), rule);
  });
}

template <class Rules>
void lookup(benchmark::State& state, std::uint32_t count) {
  eachOf<Rules>(state, count, false, [](Rules& rules, std::uint32_t n, auto&) {
    auto rule = rules.get(keyOf(n));
    benchmark::DoNotOptimize(rule);
  });
}

template <class Rules>
void erase(benchmark::State& state, std::uint32_t count) {
  eachOf<Rules>(state, count, true, [](Rules& rules, std::uint32_t n, auto&) {
    auto rule = rules.del(keyOf(n));
    benchmark::DoNotOptimize(rule);
  });
}

template <class Rules>
void walk(benchmark::State& state, std::uint32_t count) {
  Rules rules;
  fill(rules, Input(count, true));
  for (auto _ : state) {
    std::uint64_t sum = 0;
    rules.walk([&](auto const& key, auto const& value) { sum += key.ruleId() + (value.log() ? 1 : 0); });
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * count);
}

template <class Rules>
void addFor(std::string const& who) {
  for (std::uint32_t const count : {1'000U, 100'000U, 1'000'000U}) {
    std::string const of = ", " + std::to_string(count) + " rules";
    add("append" + of, who, [count](benchmark::State& state) { insert<Rules>(state, count, false); });
    add("insert at random" + of, who, [count](benchmark::State& state) { insert<Rules>(state, count, true); });
    add("change in place" + of, who, [count](benchmark::State& state) { change<Rules>(state, count); });
    add("look up" + of, who, [count](benchmark::State& state) { lookup<Rules>(state, count); });
    add("walk" + of, who, [count](benchmark::State& state) { walk<Rules>(state, count); });
    add("erase" + of, who, [count](benchmark::State& state) { erase<Rules>(state, count); });
  }
}

}  // namespace

void addCollections() {
  addFor<AclRules>(library);
  addFor<MapRules>("std::map");
}

}  // namespace Bench
