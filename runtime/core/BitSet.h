// Flag bits in one machine word.
#pragma once

#include "runtime/core/Exception.h"

namespace Kro {

/// `bits` flags held in one `Word`. Positions are constants of the code; one outside 0 to `bits` - 1 is a violated
/// precondition.
template <int bits, class Word>
class BitSet {
  static_assert(bits > 0 && bits <= static_cast<int>(sizeof(Word) * 8), "the word must have room for all flags");

 public:
  BitSet() = default;
  /// The flags that are set in a word.
  explicit BitSet(Word word) : word_(word) {}
  void set(int pos) { word_ |= mask(pos); }
  void reset(int pos) { word_ &= ~mask(pos); }
  bool test(int pos) const { return (word_ & mask(pos)) != 0; }
  Word word() const { return word_; }

 private:
  static Word mask(int pos) {
    if (!(pos >= 0 && pos < bits)) {
      throwInternalException("pos>=0 && pos<bits");
    }
    return static_cast<Word>(Word{1} << pos);
  }

  Word word_ = 0;
};

}  // namespace Kro
