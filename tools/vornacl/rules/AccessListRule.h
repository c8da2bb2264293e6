// One rule of a router access-list.
#pragma once

#include "tools/common/Cursor.h"
#include "tools/vornacl/rules/Refusals.h"
#include "tools/vornacl/rules/Rule.h"

namespace Tools {

/// What stands behind "permit" or "deny", by the kind of list.
enum class RuleGrammar {
  standard,   ///< an IPv4 source
  extended,   ///< protocol, IPv4 source and destination, options
  ipv6,       ///< protocol, IPv6 source and destination, options
  mac,        ///< Ethernet source and destination, EtherType
  macSource,  ///< an Ethernet source
};

/// A rule, and its number where it stands behind the rule.
struct AccessListRule {
  std::variant<IpRule, MacRule> rule;
  std::optional<std::uint32_t> sequence;
};

inline constexpr std::uint32_t maxSequence = Vorn::AceIndex::ruleInvalid - 1;
inline constexpr char const* sequenceExpected = "a sequence number, 1 to 4294967294";

/// Reads the rest of a line, behind the action. Throws `BadData` for what the grammar does not have, and `Refused` for
/// what it has and a rule cannot say.
AccessListRule readAccessListRule(Cursor& line, RuleGrammar grammar, Acl::Action action);
/// The same without the action, for the kinds of IP and of MAC lists.
AccessListRule readIpRule(Cursor& line, RuleGrammar grammar);
AccessListRule readMacRule(Cursor& line, RuleGrammar grammar);

}  // namespace Tools
