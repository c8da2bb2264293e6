// Reference hashes, read from vectors.txt beside this file: TYPE FIELDS... HASH.
#pragma once

#include <cstdint>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace VornTest {

/// One reference hash and the fields of the value that has it.
struct Vector {
  std::vector<std::string> fields;
  std::uint32_t hash = 0;

  std::uint32_t number(std::size_t field) const { return static_cast<std::uint32_t>(std::stoul(fields.at(field))); }
};

/// The rows of one type. Throws where there is none: a test over no rows would pass.
inline std::vector<Vector> vectorsOf(std::string const& type) {
  std::ifstream file(VORNACL_SOURCE_DIR "/tests/vectors.txt");
  std::vector<Vector> rows;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::vector<std::string> const fields{std::istream_iterator<std::string>(words), {}};
    if (fields.size() > 1 && fields[0] == type) {
      rows.push_back({{fields.begin() + 1, fields.end() - 1}, static_cast<std::uint32_t>(std::stoul(fields.back()))});
    }
  }
  if (rows.empty()) {
    throw std::runtime_error("no reference hash of " + type);
  }
  return rows;
}

}  // namespace VornTest
