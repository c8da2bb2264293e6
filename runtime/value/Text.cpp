#include "runtime/value/Text.h"

#include <cmath>
#include <limits>

namespace Kro {

namespace {

constexpr bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

[[noreturn]] void throwExpected(char const* what, String8::IteratorConst const& it) {
  throwRangeException(format("expected %s at column %lld", what, it.index()));
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  char const lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// The character that an escape stands for; `at` is left on the escape's last character.
char unescaped(std::string_view text, std::size_t& at, String8::IteratorConst const& it) {
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
  throwExpected("one of \\' \\\\ \\n \\r \\t \\xHH",
                String8::IteratorConst(it.string(), it.index() + static_cast<long long>(at) - 1));
}

/// Reads with from_chars at the position and moves it behind what was read.
template <class T, class... Format>
std::errc readNumber(String8::IteratorConst& it, String8::IteratorConst const& end, T& value, Format... fmt) {
  std::string_view const text = restOf(it, end);
  char const* first = text.data();
  char const* const last = first + text.size();
  if (first != last && *first == '+' && first + 1 != last && first[1] != '-') {
    ++first;  // from_chars takes no plus
  }
  auto const done = std::from_chars(first, last, value, fmt...);
  if (done.ec == std::errc()) {
    it.indexIs(it.index() + (done.ptr - text.data()));
  }
  return done.ec;
}

/// Moves the position behind a word that stands there.
bool takeWord(String8::IteratorConst& it, String8::IteratorConst const& end, std::string_view word) {
  bool const isThere = restOf(it, end).substr(0, word.size()) == word;
  it.indexIs(it.index() + (isThere ? static_cast<long long>(word.size()) : 0));
  return isThere;
}

}  // namespace

std::string_view restOf(String8::IteratorConst const& it, String8::IteratorConst const& end) {
  std::string_view const all = it.string().view();
  auto const from = static_cast<std::size_t>(it.index() < 0 ? 0 : it.index());
  auto const to = static_cast<std::size_t>(end.index() < 0 ? 0 : end.index());
  return from < to && from <= all.size() ? all.substr(from, to - from) : std::string_view();
}

void needString(String8::IteratorConst& it, String8::IteratorConst const& end, char const* pattern) {
  std::string_view const text = restOf(it, end);
  std::size_t at = 0;
  for (char const* p = pattern; *p != '\0'; ++p) {
    if (*p == ' ') {
      while (at < text.size() && isBlank(text[at])) {
        ++at;
      }
    } else if (at < text.size() && text[at] == *p) {
      ++at;
    } else {
      it.indexIs(it.index() + static_cast<long long>(at));
      std::string_view wanted(pattern);
      wanted.remove_prefix(wanted.find_first_not_of(' '));
      wanted = wanted.substr(0, wanted.find_last_not_of(' ') + 1);
      throwExpected(("\"" + std::string(wanted) + "\"").c_str(), it);
    }
  }
  it.indexIs(it.index() + static_cast<long long>(at));
}

String8 sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, String8*) {
  std::string_view const text = restOf(it, end);
  if (text.empty() || text[0] != '\'') {
    throwExpected("a quoted string", it);
  }
  std::size_t const plain = text.find_first_of("'\\", 1);
  if (plain != std::string_view::npos && text[plain] == '\'') {
    it.indexIs(it.index() + static_cast<long long>(plain) + 1);
    return String8(text.substr(1, plain - 1));
  }
  std::string content;
  for (std::size_t at = 1; at < text.size(); ++at) {
    if (text[at] == '\'') {
      it.indexIs(it.index() + static_cast<long long>(at) + 1);
      return String8(std::string_view(content));
    }
    content += text[at] == '\\' ? unescaped(text, at, it) : text[at];
  }
  throwExpected("\"'\"", end);
}

long long sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, long long*) {
  long long value = 0;
  std::errc const error = readNumber(it, end, value);
  if (error != std::errc()) {
    throwExpected(error == std::errc::result_out_of_range ? "an integer of at most 64 bits" : "an integer", it);
  }
  return value;
}

unsigned long long sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, unsigned long long*) {
  unsigned long long value = 0;
  if (readNumber(it, end, value) != std::errc()) {
    throwExpected("an integer from 0 up, of at most 64 bits", it);
  }
  return value;
}

bool sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, bool*) {
  bool const value = takeWord(it, end, "true");
  if (!value && !takeWord(it, end, "false")) {
    throwExpected("true or false", it);
  }
  return value;
}

double sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, double*) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  if (takeWord(it, end, "nan")) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  if (takeWord(it, end, "inf")) {
    return infinity;
  }
  if (takeWord(it, end, "-inf")) {
    return -infinity;
  }
  // from_chars also takes these words with other letters, signs and endings.
  std::string_view const text = restOf(it, end);
  std::size_t const sign = text.find_first_of("+-") == 0 ? 1 : 0;
  double value = 0;
  if (text.find_first_of("0123456789.") != sign ||
      readNumber(it, end, value, std::chars_format::general) != std::errc()) {
    throwExpected("a number", it);
  }
  return value;
}

void appendQuoted(std::string& text, std::string_view content) {
  text += '\'';
  for (char const c : content) {
    auto const byte = static_cast<unsigned char>(c);
    if (c == '\'' || c == '\\') {
      text += '\\';
      text += c;
    } else if (c == '\n' || c == '\r' || c == '\t') {
      text += c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
    } else if (byte < 0x20 || byte == 0x7f) {
      text += "\\x";
      text += "0123456789abcdef"[byte >> 4U];
      text += "0123456789abcdef"[byte & 15U];
    } else {
      text += c;
    }
  }
  text += '\'';
}

void appendDouble(std::string& text, double value) {
  if (std::isnan(value)) {
    text += "nan";
    return;
  }
  char digits[32];
  auto const done = std::to_chars(digits, digits + sizeof digits, value);
  text.append(digits, done.ptr);
}

void throwJunk(String8::IteratorConst const& it, String8 const& text) {
  throw RangeException(format("junk at column %lld deserializing %s", it.index(), text.charPtr()));
}

}  // namespace Kro
