// The program vornacl.
#include <signal.h>

#include <exception>
#include <system_error>

#include <CLI/CLI.hpp>

#include "tools/common/BadData.h"
#include "tools/vornacl/Verbs.h"

namespace {

using Tools::Exit;

Exit usageError(std::string const& what) {
  Tools::message(what);
  Tools::message("--help tells what can be asked for");
  return Exit::usage;
}

Exit parseAndRun(int argc, char** argv, Tools::Output& output) {
  CLI::App app;
  std::vector<Tools::Run> runs;
  output.colorIs(Tools::Color::automatic);
  declareProgram(app, output, runs);
  try {
    app.parse(argc, argv);
  } catch (CLI::CallForHelp const&) {
    output.text() += app.help();
    return Exit::done;
  } catch (CLI::ExtrasError const& error) {
    auto const words = app.remaining();
    return usageError(app.get_subcommands().empty() ? "there is no verb \"" + words.front() + "\"" : error.what());
  } catch (CLI::ParseError const& error) {
    return usageError(error.what());
  }
  auto const all = app.get_subcommands([](CLI::App const*) { return true; });
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i]->parsed()) {
      return runs.at(i)(output);
    }
  }
  return usageError("which verb?");
}

/// A file that is not there is not found; all else that the system refuses is data that cannot be read.
Exit exitOf(std::system_error const& error) {
  return error.code() == std::errc::no_such_file_or_directory ? Exit::notFound : Exit::badData;
}

/// Runs what was asked for; whatever ends it, results that there are by then are written.
Exit runProgram(int argc, char** argv, Tools::Output& output) {
  try {
    return parseAndRun(argc, argv, output);
  } catch (Tools::Failure const& failure) {
    Tools::message(failure.what());
    return failure.exit();
  } catch (Tools::BadData const& error) {
    Tools::message(error.what());
    return Exit::badData;
  } catch (std::system_error const& error) {
    Tools::message(error.what());
    return exitOf(error);
  } catch (std::exception const& error) {
    Tools::message(error.what());
    return Exit::failed;
  }
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that goes away shows as a write that fails.
  signal(SIGPIPE, SIG_IGN);
  Tools::Output output;
  Exit exit = runProgram(argc, argv, output);
  try {
    output.flush();
  } catch (Tools::Failure const& failure) {
    Tools::message(failure.what());
    exit = failure.exit();
  }
  return static_cast<int>(exit);
}
