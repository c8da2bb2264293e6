#include "tools/vornacl/match/RuleList.h"

#include <algorithm>

namespace Tools {

Acl::Action MatchedRule::action() const {
  return std::visit([](auto const& of) { return of.config.action(); }, rule->rule);
}

bool MatchedRule::matches(Cell const& packet) const {
  return std::any_of(cells.begin(), cells.end(), [&](Cell const& cell) { return cell.contains(packet); });
}

bool MatchedRule::covers(MatchedRule const& other) const {
  return std::all_of(other.cells.begin(), other.cells.end(), [&](Cell const& cell) { return matches(cell); });
}

RuleIndex RuleList::index() const {
  RuleIndex index;
  for (std::uint32_t i = 0; i < rules.size(); ++i) {
    for (Cell const& cell : rules[i].cells) {
      index.add(cell, i);
    }
  }
  return index;
}

std::vector<RuleList> ruleListsOf(RuleSet const& set) {
  std::vector<RuleList> lists(set.lists.size());
  for (std::size_t i = 0; i < lists.size(); ++i) {
    lists[i].set = &set;
    lists[i].list = &set.lists[i];
  }
  for (ListedRule const& rule : set.rules) {
    lists[rule.list].rules.push_back({&rule, std::visit([](auto const& of) { return cellsOf(of); }, rule.rule)});
  }
  std::erase_if(lists, [](RuleList const& list) { return list.rules.empty(); });
  for (RuleList& list : lists) {
    std::stable_sort(list.rules.begin(), list.rules.end(),
                     [](auto const& a, auto const& b) { return a.rule->position < b.rule->position; });
  }
  return lists;
}

}  // namespace Tools
