#include "runtime/value/Text.h"

#include <algorithm>
#include <cmath>

namespace Kro {

namespace {

[[noreturn]] void throwExpected(char const* what, long long column) {
  throwRangeException(format("expected %s at column %lld", what, column));
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  char const lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// The character that an escape stands for; `at` is left on the escape's last character.
char unescaped(std::string_view text, std::size_t& at, TextCursor const& in) {
  ++at;
  char const kind = at < text.size() ? text[at] : '\0';
  switch (kind) {
    case '\'':
    case '\\':
      return kind;
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case 'x':
      if (at + 2 < text.size() && hexDigit(text[at + 1]) >= 0 && hexDigit(text[at + 2]) >= 0) {
        int const code = hexDigit(text[at + 1]) * 16 + hexDigit(text[at + 2]);
        at += 2;
        return static_cast<char>(code);
      }
      break;
    default:
      break;
  }
  throwExpected("one of \\' \\\\ \\n \\r \\t \\xHH", in.column() + static_cast<long long>(at) - 1);
}

/// Reads with from_chars at the position and moves it behind what was read.
template <class T, class... Format>
std::errc readNumber(TextCursor& in, T& value, Format... fmt) {
  std::string_view const text = in.rest();
  char const* first = text.data();
  char const* const last = first + text.size();
  if (first != last && *first == '+' && first + 1 != last && first[1] != '-') {
    ++first;  // from_chars takes no plus
  }
  auto const done = std::from_chars(first, last, value, fmt...);
  if (done.ec == std::errc()) {
    in.skip(static_cast<std::size_t>(done.ptr - text.data()));
  }
  return done.ec;
}

}  // namespace

std::string_view restOf(String8::IteratorConst const& it, String8::IteratorConst const& end) {
  std::string_view const all = it.string().view();
  auto const from = static_cast<std::size_t>(it.index() < 0 ? 0 : it.index());
  auto const to = static_cast<std::size_t>(end.index() < 0 ? 0 : end.index());
  return from < to && from <= all.size() ? all.substr(from, to - from) : std::string_view();
}

void needString(TextCursor& in, char const* pattern) {
  for (char const* p = pattern; *p != '\0'; ++p) {
    if (*p == ' ') {
      in.skipBlanks();
    } else if (!in.take({p, 1})) {
      std::string_view wanted(pattern);
      wanted.remove_prefix(wanted.find_first_not_of(' '));
      wanted = wanted.substr(0, wanted.find_last_not_of(' ') + 1);
      throwExpected(("\"" + std::string(wanted) + "\"").c_str(), in.column());
    }
  }
}

std::string_view readQuoted(TextCursor& in, std::string& spare) {
  std::string_view const text = in.rest();
  if (text.empty() || text[0] != '\'') {
    throwExpected("a quoted string", in.column());
  }
  // Most strings are short: looking for their end with memchr or find_first_of took a fifth of reading a rule.
  std::size_t at = 1;
  while (at < text.size() && text[at] != '\'' && text[at] != '\\') {
    ++at;
  }
  std::string_view content = text.substr(1, at - 1);
  if (at < text.size() && text[at] == '\\') {
    spare = content;
    for (; at < text.size() && text[at] != '\''; ++at) {
      spare += text[at] == '\\' ? unescaped(text, at, in) : text[at];
    }
    content = spare;
  }
  if (at >= text.size()) {
    throwExpected("\"'\"", in.endColumn());
  }
  in.skip(at + 1);
  return content;
}

template <class I>
requires(std::same_as<I, long long> || std::same_as<I, unsigned long long>) I readInteger(TextCursor& in) {
  // A short number without a sign, as nearly all are: from_chars takes 2.5 times as long for one to three digits.
  std::string_view const text = in.rest();
  constexpr std::size_t never = std::numeric_limits<I>::digits10;  // that many digits may not fit
  std::size_t length = 0;
  I value = 0;
  while (length < text.size() && length < never && isDigit(text[length])) {
    value = value * 10 + static_cast<I>(text[length++] - '0');
  }
  if (length != 0 && length < never) {
    in.skip(length);
    return value;
  }
  std::errc const error = readNumber(in, value);
  if (error == std::errc()) {
    return value;
  }
  throwExpected(std::unsigned_integral<I>                 ? "an integer from 0 up, of at most 64 bits"
                : error == std::errc::result_out_of_range ? "an integer of at most 64 bits"
                                                          : "an integer",
                in.column());
}
template long long readInteger(TextCursor& in);
template unsigned long long readInteger(TextCursor& in);

bool readBool(TextCursor& in) {
  bool const value = in.take("true");
  if (!value && !in.take("false")) {
    throwExpected("true or false", in.column());
  }
  return value;
}

double readDouble(TextCursor& in) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  if (in.take("nan")) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  if (in.take("inf")) {
    return infinity;
  }
  if (in.take("-inf")) {
    return -infinity;
  }
  // from_chars also takes these words with other letters, signs and endings.
  std::string_view const text = in.rest();
  std::size_t const sign = text.find_first_of("+-") == 0 ? 1 : 0;
  double value = 0;
  if (text.find_first_of("0123456789.") != sign || readNumber(in, value, std::chars_format::general) != std::errc()) {
    throwExpected("a number", in.column());
  }
  return value;
}

void needString(String8::IteratorConst& it, String8::IteratorConst const& end, char const* pattern) {
  TextCursor in(it, end);
  needString(in, pattern);
}
String8 sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, String8*) {
  TextCursor in(it, end);
  std::string spare;
  return String8(readQuoted(in, spare));
}
long long sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, long long*) {
  TextCursor in(it, end);
  return readInteger<long long>(in);
}
unsigned long long sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, unsigned long long*) {
  TextCursor in(it, end);
  return readInteger<unsigned long long>(in);
}
bool sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, bool*) {
  TextCursor in(it, end);
  return readBool(in);
}
double sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, double*) {
  TextCursor in(it, end);
  return readDouble(in);
}

constexpr std::array<ShortNumber, 1000> const shortNumbers = [] {
  std::array<ShortNumber, 1000> all{};
  for (std::size_t n = 0; n < all.size(); ++n) {
    char const digits[] = {static_cast<char>('0' + n / 100), static_cast<char>('0' + n / 10 % 10),
                           static_cast<char>('0' + n % 10)};
    all[n].length = n < 10 ? 1 : n < 100 ? 2 : 3;
    std::copy_n(std::end(digits) - all[n].length, all[n].length, all[n].digits);
  }
  return all;
}();

char* putDouble(char* to, double value) {
  return std::isnan(value) ? putText(to, "nan") : std::to_chars(to, to + maxDouble, value).ptr;
}

char* putQuoted(char* to, std::string_view content) {
  *to++ = '\'';
  for (char const c : content) {
    auto const byte = static_cast<unsigned char>(c);
    if (c == '\'' || c == '\\') {
      *to++ = '\\';
      *to++ = c;
    } else if (c == '\n' || c == '\r' || c == '\t') {
      to = putText(to, c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t");
    } else if (byte < 0x20 || byte == 0x7f) {
      to = putText(to, "\\x");
      *to++ = "0123456789abcdef"[byte >> 4U];
      *to++ = "0123456789abcdef"[byte & 15U];
    } else {
      *to++ = c;
    }
  }
  *to++ = '\'';
  return to;
}

void throwJunk(String8::IteratorConst const& it, String8 const& text) {
  throw RangeException(format("junk at column %lld deserializing %s", it.index(), text.charPtr()));
}

}  // namespace Kro
