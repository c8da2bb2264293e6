// A tree, or a part of it, as results.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/common/Trees.h"
#include "tools/vornacl/Output.h"

namespace Tools {

/// Which part of a tree is told, and how.
struct TreeView {
  std::string path;
  bool isJson = false;
  bool isText = false;
  bool isTable = false;  ///< which it is anyway

  /// Declares PATH and the options.
  void declare(CLI::App& app);
  /// Throws `Failure` of `Exit::notFound` where there is nothing at the path.
  void tell(Tree const& tree, Output& output) const;
};

}  // namespace Tools
