// Reference hashes, read from vectors.txt beside this file: TYPE FIELDS... HASH.
#pragma once

#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace VornTest {

#if defined(VORNACL_TEST_DIR)
inline constexpr char const* testFolder = VORNACL_TEST_DIR;
#elif defined(VORNACL_SOURCE_DIR)
inline constexpr char const* testFolder = VORNACL_SOURCE_DIR "/tests";
#else
inline constexpr char const* testFolder = "tests";
#endif

/// One reference hash and the fields of the value that has it.
struct Vector {
  std::vector<std::string> fields;
  std::uint32_t hash = 0;

  std::uint32_t number(std::size_t field) const { return static_cast<std::uint32_t>(std::stoul(fields.at(field))); }
};

/// The rows of one type. Throws where there is none: a test over no rows would pass.
inline std::vector<Vector> vectorsOf(std::string const& type) {
  std::ifstream file(std::string(testFolder) + "/vectors.txt");
  std::vector<Vector> rows;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string word;
    if (!(words >> word) || word != type) {
      continue;
    }
    Vector row;
    while (words >> word) {
      row.fields.push_back(word);
    }
    row.hash = static_cast<std::uint32_t>(std::stoul(row.fields.at(row.fields.size() - 1)));
    row.fields.pop_back();
    rows.push_back(row);
  }
  if (rows.empty()) {
    throw std::runtime_error("no reference hash of " + type + " in " + testFolder + "/vectors.txt");
  }
  return rows;
}

}  // namespace VornTest
