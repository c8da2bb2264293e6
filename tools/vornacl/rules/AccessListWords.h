// Words that the rules of all access-lists share.
#pragma once

#include "tools/common/Cursor.h"
#include "tools/vornacl/rules/Refusals.h"

namespace Tools {

/// Whether a word is made of digits.
bool isNumber(std::string_view word);
/// Reads a decimal number that is a whole word.
std::uint32_t numberWord(Cursor& line, std::uint32_t max, char const* expected);

/// Throws `Refused` for the next word.
[[noreturn]] void refuse(Cursor const& line, std::string reason);
/// Refuses an option that is none of those that a filter holds.
[[noreturn]] void refuseOption(Cursor const& line);
/// Refuses the next word where it announces the name of a group.
void refuseGroup(Cursor const& line);

}  // namespace Tools
