// The process that reads rule files, offers them as a tree and proves that its mirrors followed it.
#pragma once

#include <string>
#include <vector>

namespace Demo {

struct SourceOptions {
  /// Rule files, one to `maxFiles`.
  std::vector<std::string> files;
  /// Let a mirror print the canonical lines of the files and change nothing.
  bool printRules = false;
  /// Have the second mirror alter one rule of its own.
  bool plant = false;

  /// One ACL for each file, and 255 is no number of a rule list.
  static constexpr std::size_t maxFiles = 255;
};

/// Runs the source and, as processes of their own, two mirrors. In the middle of the changes the first mirror is
/// stopped for a second, and the second one killed and started again. Writes the last line, "equal: ..." or "differs:
/// ...", to standard output, messages to standard error. Returns whether all is well; throws `std::runtime_error` where
/// it cannot be known.
bool runSource(SourceOptions const& options);

}  // namespace Demo
