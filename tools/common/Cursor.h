// Reads one line of a text from left to right, and tells what was found and what was expected where it is not so.
#pragma once

#include <cstdint>
#include <string_view>

#include "tools/common/BadData.h"

namespace Tools {

/// A position in one line. Every reading member throws `BadData` for what is not there.
class Cursor {
 public:
  /// `line` without its end; it is number `number` of `file`, both of which must live as long as the cursor.
  Cursor(std::string_view line, std::string_view file, std::size_t number)
      : line_(line), file_(file), number_(number) {}

  bool atEnd() const { return at_ == line_.size(); }
  std::size_t position() const { return at_; }
  std::size_t lineNumber() const { return number_; }
  std::string_view rest() const { return from(at_); }
  /// What stands from a position on.
  std::string_view from(std::size_t at) const { return line_.substr(at); }

  /// Reads exactly `wanted`, which `expected` describes.
  void skip(std::string_view wanted, char const* expected);
  /// Passes over `wanted` if it stands here; returns whether it does.
  bool skipIf(std::string_view wanted);
  /// Passes over blanks and tabs.
  void skipBlanks();
  /// Reads what stands up to the next blank, tab or end, and the blanks behind it. There must be something.
  std::string_view word(char const* expected);
  /// The next word, not read; empty at the end.
  std::string_view peek() const { return line_.substr(at_, lengthOfWord()); }
  /// Reads the next word if it is `wanted`; returns whether it was.
  bool wordIf(std::string_view wanted);
  /// Nothing may follow.
  void end() const;

  /// Reads a decimal number without leading zeros.
  std::uint32_t decimal(std::uint32_t max, char const* expected);

  Place placeAt(std::size_t at) const { return {std::string(file_), number_, at + 1}; }
  /// What stands at a position, for people: a word in quotes, or "the end of the line".
  std::string found(std::size_t at) const;
  /// "found X, expected Y".
  std::string mismatch(std::size_t at, std::string_view expected) const;
  [[noreturn]] void fail(std::size_t at, std::string_view expected) const;

 private:
  std::size_t lengthOfWord() const;

  std::string_view line_;
  std::string_view file_;
  std::size_t number_;
  std::size_t at_ = 0;
};

/// The next line of a text without its end, a line feed or carriage return and line feed; it is taken off `text`.
std::string_view takeLine(std::string_view& text);

/// In quotes, shortened, control characters written out.
std::string quoted(std::string_view text);

}  // namespace Tools
