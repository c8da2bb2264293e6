// The text form of the runtime's built-ins, and the helpers that every text reader uses.
//
// Strings stand in single quotes; \' \\ \n \r \t and \xHH for other bytes below 0x20 and for 0x7f, bytes from 0x80 up
// as they are. Integers are decimal, bool is true or false, a double is the shortest text that reads back. White space
// is that of the C locale. Errors are `RangeException`s that give the column, counted from 0.
#pragma once

#include <charconv>
#include <concepts>
#include <string>
#include <string_view>

#include "runtime/core/Exception.h"
#include "runtime/core/String8.h"

namespace Kro {

/// Consumes `pattern`. A blank in it matches any run of white space, also none, also at the end of the text; every
/// other character must match itself.
VORNACL_API void needString(String8::IteratorConst& it, String8::IteratorConst const& end, char const* pattern);

/// Reads one quoted string and returns its content.
VORNACL_API String8 sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, String8*);
/// Reads one decimal integer of at most 64 signed bits: an optional sign, no blank before it.
VORNACL_API long long sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, long long*);
/// Reads one decimal integer of at most 64 unsigned bits: no sign but a plus, no blank before it.
VORNACL_API unsigned long long sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end,
                                               unsigned long long*);
/// Reads `true` or `false`.
VORNACL_API bool sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, bool*);
/// Reads a number, `nan`, `inf` or `-inf`, which have no other spelling.
VORNACL_API double sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, double*);

/// Appends the quoted form of a string.
VORNACL_API void appendQuoted(std::string& text, std::string_view content);
/// Appends the shortest decimal text that reads back.
VORNACL_API void appendDouble(std::string& text, double value);
/// Appends a decimal number, whatever locale or stream state the caller has.
template <std::integral I>
void appendInteger(std::string& text, I value) {
  char digits[24];
  auto const done = std::to_chars(digits, digits + sizeof digits, value);
  text.append(digits, done.ptr);
}

/// The text between a position and the end.
VORNACL_API std::string_view restOf(String8::IteratorConst const& it, String8::IteratorConst const& end);

/// Throws "junk at column C deserializing TEXT".
[[noreturn]] VORNACL_API void throwJunk(String8::IteratorConst const& it, String8 const& text);

}  // namespace Kro
