// What a process holds, as text that two processes can be compared by.
#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "VornAclTable/VornAcl.h"

namespace Demo {

using Acls = std::vector<Kro::Ptr<Vorn::VornAcl>>;

/// Number of IP and MAC rules in all of them.
std::size_t ruleCount(Acls const& acls);

/// The same ACLs in ascending order of their ids.
Acls inOrderOfIds(Acls acls);

/// Writes a line for each ACL, with everything that it is made of, each followed by a line for each of its rules: the
/// ACL's id, the rule's position and every attribute of the rule, in columns between tabs. Throws `std::system_error`.
void writeDump(Acls const& acls, std::FILE* to);

/// Writes the canonical lines of all IP rules, whose index is their `ruleId`. Throws `std::system_error`.
void writeCanonicalLines(Acls const& acls, std::FILE* to);

/// Where two dumps begin to differ, with what stands there in each of them; nothing where they are equal byte by byte.
std::optional<std::string> firstDifference(std::string_view source, std::string_view mirror);

}  // namespace Demo
