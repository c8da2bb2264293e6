// The options of verbs that read files of rules.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/vornacl/rules/Read.h"

namespace Tools {

/// How files are read, and what is done with rules that cannot be.
struct FileOptions {
  ReadOptions read;
  bool skips = false;

  void declare(CLI::App& app);
  /// Reads a file; notes go to standard error.
  RuleSet readFile(std::string const& path, Refusals& refusals) const;
  /// Lists on standard error the rules that were left out.
  void tell(Refusals const& refusals) const;
};

}  // namespace Tools
