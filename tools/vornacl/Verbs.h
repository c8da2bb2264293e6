// The verbs of the program: each is a file under verbs/ and a row of the table.
#pragma once

#include <functional>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/vornacl/Exit.h"
#include "tools/vornacl/Output.h"

namespace Tools {

/// Does what a verb was asked for.
using Run = std::function<Exit(Output&)>;

struct Verb {
  char const* name;
  char const* summary;
  /// Declares the options of the verb and returns what runs it once they are parsed.
  Run (*declare)(CLI::App& app);
};

/// All verbs, in the order of the help.
std::vector<Verb> const& verbs();

/// The whole program: its options, and each verb as a subcommand. `runs` gets what each subcommand runs, in their
/// order.
void declareProgram(CLI::App& app, Output& output, std::vector<Run>& runs);

Run declareLoad(CLI::App& app);
Run declareServe(CLI::App& app);
Run declareShow(CLI::App& app);
Run declareGet(CLI::App& app);
Run declareSet(CLI::App& app);
Run declareCall(CLI::App& app);
Run declareWait(CLI::App& app);
Run declareWatch(CLI::App& app);
Run declareCheck(CLI::App& app);
Run declareLookup(CLI::App& app);
Run declareDiff(CLI::App& app);
Run declareRecord(CLI::App& app);
Run declareReplay(CLI::App& app);
Run declareDump(CLI::App& app);
Run declareTypes(CLI::App& app);
Run declareCompletion(CLI::App& app);
Run declareMan(CLI::App& app);

}  // namespace Tools
