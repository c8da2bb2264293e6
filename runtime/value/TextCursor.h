// What the readers of texts read from: two pointers, where a public reader takes two positions in a string.
#pragma once

#include <algorithm>
#include <string_view>

#include "runtime/core/String8.h"

namespace Kro {

/// The text between a position and the end.
VORNACL_API std::string_view restOf(String8::IteratorConst const& it, String8::IteratorConst const& end);

constexpr bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The text that a reader has before it. Moves the position that it was made of behind what was read when it goes, also
/// where that is by an exception.
class TextCursor {
 public:
  TextCursor(String8::IteratorConst& it, String8::IteratorConst const& end) : it_(it), end_(end) { start(); }
  ~TextCursor() { it_.indexIs(column()); }
  TextCursor(TextCursor const&) = delete;
  TextCursor& operator=(TextCursor const&) = delete;

  bool atEnd() const { return at_ == last_; }
  /// The next character, NUL at the end.
  char front() const { return at_ != last_ ? *at_ : '\0'; }
  std::string_view rest() const { return {at_, static_cast<std::size_t>(last_ - at_)}; }
  /// Precondition: as many characters are left.
  void skip(std::size_t n) { at_ += n; }
  void skipBlanks() {
    while (at_ != last_ && isBlank(*at_)) {
      ++at_;
    }
  }
  /// Moves behind a word that stands here.
  bool take(std::string_view word) {
    if (!rest().starts_with(word)) {
      return false;
    }
    at_ += word.size();
    return true;
  }

  /// What errors tell: the index of the next character, and that of the end.
  long long column() const { return firstColumn_ + (at_ - first_); }
  long long endColumn() const { return end_.index(); }

  /// Calls a reader that takes positions.
  template <class Read>
  auto readBy(Read const& read) {
    it_.indexIs(column());
    struct Restart {
      TextCursor& in;
      ~Restart() { in.start(); }
    } const restart{*this};
    return read(it_, end_);
  }

 private:
  void start() {
    std::string_view const text = restOf(it_, end_);
    first_ = at_ = text.data();
    last_ = at_ + text.size();
    firstColumn_ = it_.index();
  }

  String8::IteratorConst& it_;
  String8::IteratorConst const& end_;
  char const* first_;
  char const* at_;
  char const* last_;
  long long firstColumn_;
};

}  // namespace Kro
