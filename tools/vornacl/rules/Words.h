// Words that several forms of rules share.
#pragma once

#include <optional>

#include "platform/Dorix/IpGenPrefix.h"
#include "tools/common/Cursor.h"
#include "tools/vornacl/rules/Refusals.h"

namespace Tools {

/// Whether a word is made of digits.
bool isNumber(std::string_view word);
/// The decimal number that a whole word is, without leading zeros.
std::optional<std::uint32_t> numberOf(std::string_view word, std::uint32_t max);
/// Reads such a word.
std::uint32_t numberWord(Cursor& line, std::uint32_t max, char const* expected);

/// The bytes of an address as text; nothing for other text, or an address of the other family.
std::optional<Dorix::IpBytes> addressBytes(std::string_view text, Dorix::IpFamily family);
/// Reads a word, or a text in double quotes, in which a backslash takes what follows as it is.
void skipQuoted(Cursor& line, char const* expected);

/// Throws `Refused` for the next word.
[[noreturn]] void refuse(Cursor const& line, std::string reason);
/// Refuses an option that is none of those that a filter holds.
[[noreturn]] void refuseOption(Cursor const& line);
/// Whether a word begins like a name.
bool isName(std::string_view word);
/// Refuses a word at `at`: a name that another reader may know, as those of new protocols and ports; what is no name
/// is an error.
[[noreturn]] void refuseName(Cursor const& line, std::size_t at, std::string_view expected);
/// Refuses the next word where it announces the name of a group.
void refuseGroup(Cursor const& line);

}  // namespace Tools
