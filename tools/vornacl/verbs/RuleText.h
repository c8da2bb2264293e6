// Rules of lists in results.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "tools/vornacl/match/RuleList.h"

namespace Tools {

/// "FILE:LINE: LIST NUMBER RULE"; a rule of a live tree has no line.
std::string textOf(RuleList const& list, ListedRule const& rule);
/// The same as an object.
nlohmann::ordered_json jsonOf(RuleList const& list, ListedRule const& rule);

}  // namespace Tools
