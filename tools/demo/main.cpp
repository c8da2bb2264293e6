// The program vornacl-demo.
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>

#include "tools/demo/Mirror.h"
#include "tools/demo/Source.h"

namespace {

constexpr int failed = 1;
constexpr int usageError = 2;

struct Options {
  Demo::SourceOptions source;
  Demo::MirrorOptions mirror;
};

void declare(CLI::App& app, Options& options) {
  app.add_option("FILE", options.source.files, "Rule files in the ClassBench form; the project's own sample without");
  app.add_flag("--rules", options.source.printRules,
               "Print the rules of one file as the mirror holds them, nothing else");
  // For the program itself and for tests: an empty group hides them.
  app.add_option(Demo::MirrorOptions::socketName, options.mirror.socket)->group("");
  app.add_option(Demo::MirrorOptions::dumpName, options.mirror.dump)->group("");
  app.add_flag(Demo::MirrorOptions::plantName, options.source.plant)->group("");
  app.final_callback([&options] {
    std::size_t const files = options.source.files.size();
    if (files > Demo::SourceOptions::maxFiles) {
      throw CLI::ValidationError("FILE", "at most " + std::to_string(Demo::SourceOptions::maxFiles) + " files");
    }
    if (options.source.printRules && files > 1) {
      throw CLI::ValidationError("--rules", "takes one file");
    }
    if (files == 0) {
      options.source.files.emplace_back(VORNACL_SAMPLE_FILE);
    }
    options.mirror.plant = options.source.plant;
  });
}

int run(Options const& options) {
  bool const isMirror = options.mirror.socket >= 0;
  try {
    if (isMirror) {
      Demo::runMirror(options.mirror);
      return 0;
    }
    return Demo::runSource(options.source) ? 0 : failed;
  } catch (std::exception const& error) {
    std::fprintf(stderr, "vornacl-demo%s: %s\n", isMirror ? " (mirror)" : "", error.what());
    return failed;
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "Mirrors the rules of files in a second process while they change, and compares what both hold at the end.");
  Options options;
  declare(app, options);
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return app.exit(error) == 0 ? 0 : usageError;
  }
  return run(options);
}
