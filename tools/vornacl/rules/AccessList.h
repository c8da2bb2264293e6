// Reads the access-lists of router configurations.
#pragma once

#include <string_view>

#include "tools/vornacl/rules/Refusals.h"
#include "tools/vornacl/rules/Rule.h"

namespace Tools {

/// Whether a text has a line that begins an access-list.
bool hasAccessList(std::string_view text);

/// Reads the access-lists of a text, which may be a whole configuration; `name` is what errors call it. A list is
/// numbered, a rule a line,
///
///     access-list 151 permit tcp any host 192.0.2.7 eq www
///
/// or named, with its rules in the indented lines behind its name:
///
///     ip access-list [standard|extended] NAME        also "ipv4 access-list NAME"
///     ipv6 access-list NAME
///     mac access-list [extended] NAME                also "ethernet-services access-list NAME"
///      [NUMBER] permit|deny RULE
///
/// A rule without a number gets the highest of its list so far and 10; a rule that is refused has had its number.
/// Remarks, comments behind "!" and all other parts of a configuration are passed over. Throws `BadData` for a rule
/// that the grammar does not have; a rule that it has and that cannot be held is refused.
RuleSet readAccessLists(std::string_view text, std::string const& name, Refusals& refusals);

}  // namespace Tools
