// The process that reads rule files, offers them as ACLs and proves that a mirror followed them.
#pragma once

#include <string>
#include <vector>

namespace Demo {

struct SourceOptions {
  /// Rule files, one to `maxFiles`.
  std::vector<std::string> files;
  /// Let the mirror print the canonical lines of the files and change nothing.
  bool printRules = false;
  /// Have the mirror alter one rule of its own.
  bool plant = false;

  /// One ACL for each file, and 255 is no number of a rule list.
  static constexpr std::size_t maxFiles = 255;
};

/// Runs the source and, as a process of its own, the mirror. Writes the last line, "equal: ..." or "differs: ...", to
/// standard output, messages to standard error. Returns whether all is well; throws `std::runtime_error` where it
/// cannot be known.
bool runSource(SourceOptions const& options);

}  // namespace Demo
