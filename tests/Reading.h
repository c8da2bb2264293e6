// Tables of texts and of what reading them gives, grouped by the result.
#pragma once

#include <initializer_list>
#include <string>

#include "tests/Contracts.h"

namespace VornTest {

/// What `read` makes of a text, or the message of the `RangeException` that it throws.
template <class Read>
std::string outcome(Read read, Kro::String8 const& text) {
  std::string result;
  std::string const error = messageOf<Kro::RangeException>([&] { result = read(text); });
  return error == "no error" ? result : error;
}

/// Each of the texts has this outcome.
template <class Read>
void expectOutcome(Read read, std::string const& result, std::initializer_list<char const*> texts) {
  for (char const* text : texts) {
    EXPECT_EQ(outcome(read, text), result) << '"' << text << '"';
  }
}

/// The text form of the `T` that is read from a whole text.
template <class T>
std::string reread(Kro::String8 const& text) {
  return std::string(Kro::valueToStrep(Kro::strepToValue<T>(text)).view());
}

}  // namespace VornTest
