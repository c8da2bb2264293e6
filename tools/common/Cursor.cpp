#include "tools/common/Cursor.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace Tools {

namespace {

constexpr std::string_view blanks = " \t";

}  // namespace

void Cursor::skip(std::string_view wanted, char const* expected) {
  if (!skipIf(wanted)) {
    fail(at_, expected);
  }
}

bool Cursor::skipIf(std::string_view wanted) {
  bool const isThere = rest().starts_with(wanted);
  at_ += isThere ? wanted.size() : 0;
  return isThere;
}

void Cursor::skipBlanks() { at_ = std::min(line_.find_first_not_of(blanks, at_), line_.size()); }

std::size_t Cursor::lengthOfWord() const { return std::min(rest().find_first_of(blanks), rest().size()); }

std::string_view Cursor::word(char const* expected) {
  std::string_view const word = peek();
  if (word.empty()) {
    fail(at_, expected);
  }
  at_ += word.size();
  skipBlanks();
  return word;
}

bool Cursor::wordIf(std::string_view wanted) {
  bool const isThere = !wanted.empty() && peek() == wanted;
  if (isThere) {
    at_ += wanted.size();
    skipBlanks();
  }
  return isThere;
}

void Cursor::end() const {
  if (!atEnd()) {
    fail(at_, "the end of the line");
  }
}

std::uint32_t Cursor::decimal(std::uint32_t max, char const* expected) {
  std::string_view const text = rest();
  std::uint32_t number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  auto const digits = static_cast<std::size_t>(end - text.data());
  if (error != std::errc() || number > max || (digits > 1 && text[0] == '0')) {
    fail(at_, expected);
  }
  at_ += digits;
  return number;
}

std::string Cursor::found(std::size_t at) const {
  std::string_view const text = line_.substr(at);
  return text.empty() ? "the end of the line"
                      : quoted(text.substr(0, std::max<std::size_t>(text.find_first_of(blanks), 1)));
}

std::string Cursor::mismatch(std::size_t at, std::string_view expected) const {
  return ("found " + found(at) + ", expected ").append(expected);
}

void Cursor::fail(std::size_t at, std::string_view expected) const {
  throw BadData(placeAt(at), mismatch(at, expected));
}

std::string_view takeLine(std::string_view& text) {
  std::size_t const end = text.find('\n');
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  if (line.ends_with('\r')) {
    line.remove_suffix(1);
  }
  return line;
}

std::string quoted(std::string_view text) {
  constexpr std::size_t most = 32;
  std::string result = "\"";
  for (char const c : text.substr(0, most)) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
      result += buffer;
    } else {
      result += c;
    }
  }
  return result += text.size() > most ? "...\"" : "\"";
}

}  // namespace Tools
