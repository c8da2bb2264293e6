// Reading numbers that must fit. For the platform's own .cpp files.
#pragma once

#include <limits>

#include "runtime/value/Text.h"

namespace Dorix::detail {

/// Reads a decimal number that must fit the unsigned type `U`: one that wraps would let through what it was meant to
/// stop. `expected` says in the error what was asked for.
template <class U>
U readNumber(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end, char const* expected) {
  long long const column = it.index();
  long long const number = Kro::sequenceToValue(it, end, static_cast<long long*>(nullptr));
  if (number < 0 || number > std::numeric_limits<U>::max()) {
    Kro::throwRangeException(Kro::format("expected %s at column %lld", expected, column));
  }
  return static_cast<U>(number);
}

}  // namespace Dorix::detail
