// The text form of the runtime's built-ins, and the helpers that every text reader uses.
//
// Strings stand in single quotes; \' \\ \n \r \t and \xHH for other bytes below 0x20 and for 0x7f, bytes from 0x80 up
// as they are. Integers are decimal, bool is true or false, a double is the shortest text that reads back. White space
// is that of the C locale. Errors are `RangeException`s that give the column, counted from 0.
#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "runtime/core/Exception.h"
#include "runtime/value/TextCursor.h"

namespace Kro {

/// Consumes `pattern`. A blank in it matches any run of white space, also none, also at the end of the text; every
/// other character must match itself.
VORNACL_API void needString(TextCursor& in, char const* pattern);
/// Reads one quoted string. The content lies in the text, or where it has escapes in `spare`.
VORNACL_API std::string_view readQuoted(TextCursor& in, std::string& spare);
/// Reads one decimal integer of at most 64 bits: a plus or, into a signed type, a minus, no blank before it.
template <class I>
requires(std::same_as<I, long long> || std::same_as<I, unsigned long long>) I readInteger(TextCursor& in);
extern template VORNACL_API long long readInteger(TextCursor& in);
extern template VORNACL_API unsigned long long readInteger(TextCursor& in);
/// Reads `true` or `false`.
VORNACL_API bool readBool(TextCursor& in);
/// Reads a number, `nan`, `inf` or `-inf`, which have no other spelling.
VORNACL_API double readDouble(TextCursor& in);

// The same for callers who hold positions in a string.
VORNACL_API void needString(String8::IteratorConst& it, String8::IteratorConst const& end, char const* pattern);
VORNACL_API String8 sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, String8*);
VORNACL_API long long sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, long long*);
VORNACL_API unsigned long long sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end,
                                               unsigned long long*);
VORNACL_API bool sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, bool*);
VORNACL_API double sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, double*);

// Writers write to a place that has room and return their end.

/// The room for a decimal number.
template <std::integral I>
inline constexpr std::size_t maxDigits = std::numeric_limits<I>::digits10 + 2;
/// The room for `true` or `false`, and for any double.
inline constexpr std::size_t maxBool = 8, maxDouble = 32;

/// The digits of a number below 1000, from the left, and how many they are.
struct ShortNumber {
  char digits[3];
  char length;
};
VORNACL_API extern std::array<ShortNumber, 1000> const shortNumbers;

/// Writes a decimal number, whatever locale or stream state the caller has.
template <std::integral I>
char* putInteger(char* to, I value) {
  // Nearly all are short: from a table one takes 0.5 ns, by to_chars 1.7.
  if (auto const number = static_cast<std::uint64_t>(value); number < shortNumbers.size()) [[likely]] {
    std::memcpy(to, &shortNumbers[number], sizeof(ShortNumber));
    return to + shortNumbers[number].length;
  }
  return std::to_chars(to, to + maxDigits<I>, value).ptr;
}
inline char* putBool(char* to, bool value) {
  std::memcpy(to, value ? "true    " : "false   ", maxBool);
  return to + (value ? 4 : 5);
}
VORNACL_API char* putDouble(char* to, double value);
inline char* putText(char* to, std::string_view text) {
  std::memcpy(to, text.data(), text.size());
  return to + text.size();
}
/// The quoted form of a string, and the room for it.
VORNACL_API char* putQuoted(char* to, std::string_view content);
constexpr std::size_t roomOfQuoted(std::string_view content) { return 4 * content.size() + 2; }

/// Appends a decimal number.
template <std::integral I>
void appendInteger(std::string& text, I value) {
  char digits[maxDigits<I>];
  text.append(digits, putInteger(digits, value));
}

/// Throws "junk at column C deserializing TEXT".
[[noreturn]] VORNACL_API void throwJunk(String8::IteratorConst const& it, String8 const& text);

}  // namespace Kro
