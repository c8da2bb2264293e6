// What differs between two lists of rules.
#pragma once

#include "tools/vornacl/match/RuleList.h"

namespace Tools {

/// One difference; rules are named by their index in the list.
struct Difference {
  enum Kind {
    removed,  ///< a rule of the first list only
    added,    ///< a rule of the second list only
    moved,    ///< a rule of both that stands at another place among those that stayed
    split,    ///< rules of the first that match and do the same as rules of the second, divided in another way
  };
  Kind kind = removed;
  std::vector<std::uint32_t> from;  ///< of the first list
  std::vector<std::uint32_t> to;    ///< of the second
};

struct ListDiff {
  std::vector<Difference> differences;
  /// Rules that stand at the same place and have another number.
  std::size_t renumbered = 0;
};

/// Two rules are the same where they match and do the same. Differences stand in the order of the first list, then of
/// the second.
ListDiff diff(RuleList const& a, RuleList const& b);

char const* nameOf(Difference::Kind kind);

}  // namespace Tools
