#include "tools/vornacl/match/Diff.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <unordered_map>

#include "tools/vornacl/match/Cover.h"

namespace Tools {

namespace {

using Indices = std::vector<std::uint32_t>;

/// Of how many pairs of equal rules the longest run is looked for; where rules repeat themselves more often than that,
/// all count as moved.
constexpr std::size_t mostPairs = 4000000;

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
  /// Pairs equal rules: those of the longest run that stands in both lists in the same order stayed, others were moved,
  /// the first with the first. The rest is left in `onlyA_` and `onlyB_`.
  void pairEqual() {
    std::unordered_map<std::string, std::pair<Indices, Indices>> equal;  // of both lists, descending
    for (auto i = static_cast<std::uint32_t>(a_.rules.size()); i-- > 0;) {
      equal[identityOf(a_.rules[i])].first.push_back(i);
    }
    for (auto i = static_cast<std::uint32_t>(b_.rules.size()); i-- > 0;) {
      equal[identityOf(b_.rules[i])].second.push_back(i);
    }
    std::vector<Indices const*> partners(a_.rules.size());
    std::size_t count = 0;
    for (auto const& [identity, of] : equal) {
      for (std::uint32_t const i : of.first) {
        partners[i] = &of.second;
        count += of.second.size();
      }
    }
    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
    for (std::uint32_t i = 0; count <= mostPairs && i < partners.size(); ++i) {
      for (std::uint32_t const partner : *partners[i]) {
        pairs.emplace_back(i, partner);
      }
    }
    auto const isRun = ascending(pairs);
    std::vector<bool> isPairedA(a_.rules.size());
    std::vector<bool> isPairedB(b_.rules.size());
    for (std::size_t i = 0; i < pairs.size(); ++i) {
      if (isRun[i]) {
        auto const [from, to] = pairs[i];
        isPairedA[from] = isPairedB[to] = true;
        bool const isRenumbered = !(a_.rules[from].rule->position == b_.rules[to].rule->position);
        result_.renumbered += isRenumbered ? 1U : 0U;
      }
    }
    for (auto& [identity, of] : equal) {
      auto& [fromA, fromB] = of;
      std::erase_if(fromA, [&](std::uint32_t i) { return isPairedA[i]; });
      std::erase_if(fromB, [&](std::uint32_t i) { return isPairedB[i]; });
      for (; !fromA.empty() && !fromB.empty(); fromA.pop_back(), fromB.pop_back()) {
        result_.differences.push_back({Difference::moved, {fromA.back()}, {fromB.back()}});
      }
      onlyA_.insert(onlyA_.end(), fromA.begin(), fromA.end());
      onlyB_.insert(onlyB_.end(), fromB.begin(), fromB.end());
    }
    std::sort(onlyA_.begin(), onlyA_.end());
    std::sort(onlyB_.begin(), onlyB_.end());
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
