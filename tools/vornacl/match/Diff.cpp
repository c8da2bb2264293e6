#include "tools/vornacl/match/Diff.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <unordered_map>

#include "tools/vornacl/match/Cover.h"

namespace Tools {

namespace {

using Indices = std::vector<std::uint32_t>;

/// What a rule does with the packets that it matches.
std::string effectOf(MatchedRule const& rule) {
  return std::visit(
      [](auto const& of) {
        std::string text(stringValue(of.config.action()).view());
        return text.append(of.config.log() ? " log" : "").append(of.config.count() ? " count" : "");
      },
      rule.rule->rule);
}

/// Equal for rules of equal boxes and effect, whatever the order of the boxes.
std::string identityOf(MatchedRule const& rule) {
  static_assert(std::has_unique_object_representations_v<Cell>);
  std::vector<std::string> cells;
  for (Cell const& cell : rule.cells) {
    cells.emplace_back(sizeof cell, '\0');
    std::memcpy(cells.back().data(), &cell, sizeof cell);
  }
  std::sort(cells.begin(), cells.end());
  return std::accumulate(cells.begin(), cells.end(), effectOf(rule));
}

/// The longest run of pairs that ascends in both lists; of each pair whether it is part of it. Pairs ascend in the
/// first.
std::vector<bool> ascending(std::vector<std::pair<std::uint32_t, std::uint32_t>> const& pairs) {
  constexpr std::size_t none = ~std::size_t{0};
  std::vector<std::size_t> tails;  // of the runs of each length, the pair with the lowest end
  std::vector<std::size_t> before(pairs.size(), none);
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    auto const place = std::lower_bound(tails.begin(), tails.end(), pairs[i].second,
                                        [&](std::size_t tail, std::uint32_t at) { return pairs[tail].second < at; });
    before[i] = place != tails.begin() ? *(place - 1) : none;
    place != tails.end() ? void(*place = i) : tails.push_back(i);
  }
  std::vector<bool> is(pairs.size());
  for (std::size_t at = tails.empty() ? none : tails.back(); at != none; at = before[at]) {
    is[at] = true;
  }
  return is;
}

class Differ {
 public:
  Differ(RuleList const& a, RuleList const& b) : a_(a), b_(b) {}

  ListDiff run() {
    pairEqual();
    splits();
    auto const firstOf = [](Difference const& d) {
      return std::pair(d.from.empty(), d.from.empty() ? d.to[0] : d.from[0]);
    };
    std::stable_sort(result_.differences.begin(), result_.differences.end(),
                     [&](auto const& x, auto const& y) { return firstOf(x) < firstOf(y); });
    return std::move(result_);
  }

 private:
  /// Pairs equal rules, the first of several with the first; the rest is left in `onlyA_` and `onlyB_`.
  void pairEqual() {
    std::unordered_map<std::string, Indices> inB;
    for (auto i = static_cast<std::uint32_t>(b_.rules.size()); i-- > 0;) {
      inB[identityOf(b_.rules[i])].push_back(i);
    }
    std::vector<bool> isPaired(b_.rules.size());
    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
    for (std::uint32_t i = 0; i < a_.rules.size(); ++i) {
      auto const equal = inB.find(identityOf(a_.rules[i]));
      if (equal == inB.end() || equal->second.empty()) {
        onlyA_.push_back(i);
        continue;
      }
      pairs.emplace_back(i, equal->second.back());
      isPaired[equal->second.back()] = true;
      equal->second.pop_back();
    }
    for (std::uint32_t i = 0; i < b_.rules.size(); ++i) {
      if (!isPaired[i]) {
        onlyB_.push_back(i);
      }
    }
    auto const stayed = ascending(pairs);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
      auto const [from, to] = pairs[i];
      if (!stayed[i]) {
        result_.differences.push_back({Difference::moved, {from}, {to}});
      } else if (!(a_.rules[from].rule->position == b_.rules[to].rule->position)) {
        ++result_.renumbered;
      }
    }
  }

  /// Of the rules that are left, joins those of both lists that cover each other; the others were removed or added.
  void splits() {
    std::uint32_t const countA = static_cast<std::uint32_t>(onlyA_.size());
    group_.resize(countA + onlyB_.size());
    std::iota(group_.begin(), group_.end(), 0U);
    isWhole_.resize(group_.size());
    join(a_, onlyA_, 0, b_, onlyB_, countA);
    join(b_, onlyB_, countA, a_, onlyA_, 0);
    std::vector<bool> isSplit(group_.size(), true);
    for (std::uint32_t i = 0; i < group_.size(); ++i) {
      if (!isWhole_[i]) {
        isSplit[leader(i)] = false;
      }
    }
    std::unordered_map<std::uint32_t, Difference> split;
    for (std::uint32_t i = 0; i < group_.size(); ++i) {
      bool const isA = i < countA;
      std::uint32_t const rule = isA ? onlyA_[i] : onlyB_[i - countA];
      if (isSplit[leader(i)]) {
        Difference& difference = split[leader(i)];
        (isA ? difference.from : difference.to).push_back(rule);
      } else if (isA) {
        result_.differences.push_back({Difference::removed, {rule}, {}});
      } else {
        result_.differences.push_back({Difference::added, {}, {rule}});
      }
    }
    for (auto& [of, difference] : split) {
      difference.kind = Difference::split;
      result_.differences.push_back(std::move(difference));
    }
  }

  /// Joins each rule with those of the other list that together cover it and have its effect.
  void join(RuleList const& list, Indices const& rules, std::uint32_t offset, RuleList const& others,
            Indices const& otherRules, std::uint32_t otherOffset) {
    std::unordered_map<std::string, RuleIndex> byEffect;
    for (std::uint32_t i = 0; i < otherRules.size(); ++i) {
      MatchedRule const& other = others.rules[otherRules[i]];
      for (Cell const& cell : other.cells) {
        byEffect[effectOf(other)].add(cell, i);
      }
    }
    for (std::uint32_t i = 0; i < rules.size(); ++i) {
      MatchedRule const& rule = list.rules[rules[i]];
      Cover const cover = coverOf(rule.cells, byEffect[effectOf(rule)]);
      isWhole_[offset + i] = cover.kind == Cover::whole && !rule.cells.empty();
      for (std::uint32_t const by : cover.by) {
        group_[leader(offset + i)] = leader(otherOffset + by);
      }
    }
  }
  std::uint32_t leader(std::uint32_t of) {
    while (group_[of] != of) {
      of = group_[of] = group_[group_[of]];
    }
    return of;
  }

  RuleList const& a_;
  RuleList const& b_;
  Indices onlyA_, onlyB_;
  Indices group_;  ///< what is left of the first list, then of the second: another one of the same group
  std::vector<bool> isWhole_;
  ListDiff result_;
};

}  // namespace

ListDiff diff(RuleList const& a, RuleList const& b) { return Differ(a, b).run(); }

char const* nameOf(Difference::Kind kind) {
  static constexpr char const* names[] = {"removed", "added", "moved", "split"};
  return names[kind];
}

}  // namespace Tools
