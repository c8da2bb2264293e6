// Rules as people write them.
#pragma once

#include <string>

#include "tools/vornacl/rules/Rule.h"

namespace Tools {

/// A rule on a line, as "permit tcp 192.0.2.0/24 any dport 80 established"; what a rule leaves open does not show, but
/// for its addresses.
std::string describe(IpRule const& rule);
std::string describe(MacRule const& rule);
inline std::string describe(ListedRule const& rule) {
  return std::visit([](auto const& of) { return describe(of); }, rule.rule);
}

/// The number of a rule, with what stands behind it where that is not 0, as "10" or "10.1".
std::string positionText(Vorn::AceIndex const& position);

/// An address without a length.
std::string addressText(Dorix::IpFamily family, Dorix::IpBytes const& bytes);
/// ADDR/LEN or ADDR&CARE.
std::string wildcardText(Wildcard const& wildcard);

}  // namespace Tools
