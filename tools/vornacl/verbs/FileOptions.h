// The options of verbs that read files of rules.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/vornacl/rules/Read.h"

namespace Tools {

/// What may stand where a verb reads rules.
inline constexpr char const* sourceHelp =
    "A file of rules, \"-\" is standard input; or a process that serves them, as unix:PATH or tcp:HOST:PORT";

/// How files are read, and what is done with rules that cannot be.
struct FileOptions {
  ReadOptions read;
  bool skips = false;
  double seconds = 10;  ///< how long a process may take

  void declare(CLI::App& app);
  /// Reads a file, or the tree of a process where an address stands for it; notes go to standard error.
  RuleSet readFile(std::string const& path, Refusals& refusals) const;
  /// Lists on standard error the rules that were left out.
  void tell(Refusals const& refusals) const;
};

}  // namespace Tools
