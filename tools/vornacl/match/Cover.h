// Whether boxes are covered by others together.
#pragma once

#include "tools/vornacl/match/RuleIndex.h"

namespace Tools {

struct Cover {
  enum Kind { whole, open, undecided };
  Kind kind = whole;
  std::vector<std::uint32_t> by;  ///< the rules that cover, in ascending order
  Cell witness;                   ///< a packet in none of them, where some part is open
};

/// Whether the rules of an index together hold all that is in `cells`. After many steps it stays undecided.
Cover coverOf(std::vector<Cell> cells, RuleIndex const& index);

}  // namespace Tools
