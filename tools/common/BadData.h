// What is wrong with data that a user gave, and where.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace Tools {

/// A place in a text: lines and columns count from 1, columns in bytes; 0 is none.
struct Place {
  std::string file;
  std::size_t line = 0;
  std::size_t column = 0;

  /// "file:line:column", as far as there is one.
  std::string text() const {
    std::string result = file;
    for (std::size_t const number : {line, column}) {
      if (number > 0) {
        result += ':';
        result += std::to_string(number);
      }
    }
    return result;
  }
};

/// Data that cannot be read as what it must be; the message starts with the place.
class BadData : public std::runtime_error {
 public:
  BadData(Place const& place, std::string const& message) : runtime_error(place.text() + ": " + message) {}
};

}  // namespace Tools
