#include "tools/vornacl/match/Check.h"

#include "tools/vornacl/match/Cover.h"

namespace Tools {

namespace {

class Checker {
 public:
  explicit Checker(RuleList const& list) : list_(list) {}

  std::vector<Verdict> run() {
    std::vector<Verdict> verdicts;
    for (std::uint32_t i = 0; i < list_.rules.size(); ++i) {
      MatchedRule const& rule = list_.rules[i];
      verdicts.push_back(verdictOn(rule));
      for (Cell const& cell : rule.cells) {
        index_.add(cell, i);
      }
    }
    return verdicts;
  }

 private:
  Verdict verdictOn(MatchedRule const& rule) const {
    if (rule.cells.empty()) {
      return {Verdict::empty, {}, {}};
    }
    Verdict const single = bySingle(rule);
    return single.kind != Verdict::met ? single : bySeveral(rule);
  }

  Verdict bySingle(MatchedRule const& rule) const {
    std::uint32_t firstAlike = RuleIndex::none;
    std::uint32_t first = RuleIndex::none;
    index_.forEachContaining(rule.cells[0], [&](std::uint32_t candidate, Cell const&) {
      MatchedRule const& earlier = list_.rules[candidate];
      bool const isCovered = rule.cells.size() == 1 || earlier.covers(rule);
      if (isCovered && candidate < first) {
        first = candidate;
      }
      if (isCovered && candidate < firstAlike && rule.covers(earlier)) {
        firstAlike = candidate;
      }
      return true;
    });
    if (first == RuleIndex::none) {
      return {};
    }
    std::uint32_t const by = firstAlike != RuleIndex::none ? firstAlike : first;
    return {kindOf(rule, by, firstAlike != RuleIndex::none), {by}, {}};
  }
  Verdict::Kind kindOf(MatchedRule const& rule, std::uint32_t by, bool isAlike) const {
    bool const isOpposite = list_.rules[by].action() != rule.action();
    return isOpposite ? Verdict::contradiction : isAlike ? Verdict::duplicate : Verdict::covered;
  }

  Verdict bySeveral(MatchedRule const& rule) const {
    Cover const cover = coverOf(rule.cells, index_);
    if (cover.kind != Cover::whole) {
      return {cover.kind == Cover::open ? Verdict::met : Verdict::undecided, {}, cover.witness};
    }
    bool const isSingle = cover.by.size() == 1;  // one that is made of other boxes
    Verdict::Kind const kind =
        isSingle ? kindOf(rule, cover.by[0], rule.covers(list_.rules[cover.by[0]])) : Verdict::coveredTogether;
    return {kind, cover.by, {}};
  }

  RuleList const& list_;
  RuleIndex index_;  ///< of the rules in front of the one that is looked at
};

}  // namespace

std::vector<Verdict> check(RuleList const& list) { return Checker(list).run(); }

char const* nameOf(Verdict::Kind kind) {
  switch (kind) {
    case Verdict::met:
      return "met";
    case Verdict::empty:
      return "empty";
    case Verdict::duplicate:
      return "duplicate";
    case Verdict::contradiction:
      return "contradiction";
    case Verdict::covered:
      return "covered";
    case Verdict::coveredTogether:
      return "covered-together";
    case Verdict::undecided:
      break;
  }
  return "undecided";
}

}  // namespace Tools
