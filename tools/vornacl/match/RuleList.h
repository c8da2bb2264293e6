// The rules of one list in the order in which packets meet them.
#pragma once

#include <memory>

#include "tools/vornacl/match/RuleIndex.h"

namespace Tools {

/// A rule and its boxes.
struct MatchedRule {
  ListedRule const* rule = nullptr;
  std::vector<Cell> cells;

  Acl::Action action() const;
  bool matches(Cell const& packet) const;
  /// Whether it matches all that another one does, shown box by box.
  bool covers(MatchedRule const& other) const;
  /// Whether both match the same, shown box by box.
  bool isAlike(MatchedRule const& other) const { return covers(other) && other.covers(*this); }
};

/// A list of a rule set, which must live as long.
struct RuleList {
  RuleSet const* set = nullptr;
  List const* list = nullptr;
  std::vector<MatchedRule> rules;

  /// An index of all rules.
  RuleIndex index() const;
};

/// All lists that have rules, in the order of the file; rules in that of their positions.
std::vector<RuleList> ruleListsOf(RuleSet const& set);

}  // namespace Tools
