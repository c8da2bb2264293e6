#include "tools/vornacl/Verbs.h"

namespace Tools {

namespace {

constexpr char const* footer =
    "Results go to standard output, messages to standard error. Exit status:\n"
    "  0  done\n"
    "  1  two things differ, or a condition does not hold\n"
    "  2  wrong arguments\n"
    "  3  a peer cannot be reached\n"
    "  4  data cannot be read; the message tells the place\n"
    "  5  timeout\n"
    "  6  something is not there\n"
    "  7  results could not be written\n"
    "  8  anything else, as a lack of memory";

}  // namespace

std::vector<Verb> const& verbs() {
  static std::vector<Verb> const all = {
      {"load", "Read rules from files", declareLoad},
      {"serve", "Serve rules to other processes", declareServe},
      {"show", "Show what a process serves", declareShow},
      {"get", "Tell an attribute of a process", declareGet},
      {"set", "Change an attribute of a process", declareSet},
      {"call", "Call a function of a process", declareCall},
      {"wait", "Wait until an attribute of a process has a value", declareWait},
      {"watch", "Tell each change of what a process serves", declareWatch},
      {"check", "Find rules that no packet meets", declareCheck},
      {"lookup", "Find the rule that a packet meets first", declareLookup},
      {"diff", "Compare the rules of two files or processes", declareDiff},
      {"record", "Write down what a process sends", declareRecord},
      {"replay", "Show the tree that a recorded stream makes", declareReplay},
      {"dump", "Print a recorded stream message by message", declareDump},
      {"types", "Tell the types of the model and their attributes", declareTypes},
      {"completion", "Print what completes this program's words in a shell", declareCompletion},
      {"man", "Print the manual page", declareMan},
  };
  return all;
}

void declareProgram(CLI::App& app, Output& output, std::vector<Run>& runs) {
  static std::map<std::string, Color> const colors = {
      {"auto", Color::automatic}, {"always", Color::always}, {"never", Color::never}};
  app.description("Reads, compares and checks the rules of packet-processing chips.");
  app.footer(footer);
  app.name("vornacl");
  app.option_defaults()->always_capture_default(false);
  app.require_subcommand(0, 1);
  app.fallthrough();
  app.add_option_function<Color>(
         "--color", [&output](Color color) { output.colorIs(color); },
         "Colors: auto (the default: on a terminal, unless NO_COLOR is set), always or never")
      ->transform(CLI::CheckedTransformer(colors).description(""))
      ->type_name("WHEN");
  for (Verb const& verb : verbs()) {
    runs.push_back(verb.declare(*app.add_subcommand(verb.name, verb.summary)));
  }
}

}  // namespace Tools
