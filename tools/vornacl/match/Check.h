// Finds the rules of a list that no packet ever meets.
#pragma once

#include "tools/vornacl/match/RuleList.h"

namespace Tools {

/// What becomes of a rule because of those in front of it.
struct Verdict {
  enum Kind {
    met,              ///< there is a packet that meets it first
    empty,            ///< it matches nothing by itself
    duplicate,        ///< an earlier one matches the same and does the same
    contradiction,    ///< an earlier one matches all that it does, and does the opposite
    covered,          ///< an earlier one matches all that it does and more, and does the same
    coveredTogether,  ///< several earlier ones together match all that it does
    undecided,        ///< no single one does, and whether several do takes too many steps to find out
  };
  Kind kind = met;
  /// The earlier rules, by their index in the list. Of several single ones, the first that is alike, else the first.
  std::vector<std::uint32_t> by;
  /// A packet that meets the rule first.
  Cell witness;
};

/// The verdict on each rule.
std::vector<Verdict> check(RuleList const& list);

char const* nameOf(Verdict::Kind kind);

}  // namespace Tools
