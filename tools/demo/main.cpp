// The program vornacl-demo.
#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <system_error>

#include <CLI/CLI.hpp>

#include "tools/common/Types.h"
#include "tools/demo/Mirror.h"
#include "tools/demo/Process.h"
#include "tools/demo/Source.h"

namespace {

constexpr int failed = 1;
constexpr int usageError = 2;

constexpr char const* footer =
    "Each file becomes an ACL, dealt out over up to four chips. Two mirrors follow the tree through 10000 changes; "
    "the\n"
    "first is stopped for a second in the middle, so that changes wait for it and merge, and the second is killed and\n"
    "started again with nothing. At the end every process writes all that it holds to a file of its own.\n"
    "\n"
    "The last line is \"equal: R rules in A ACLs on N chips mirrored to 2 processes, C live changes followed\", status "
    "0:\n"
    "R, A and N are counted in the mirrors, C is how many changes the observers of the mirror that was told most of "
    "them\n"
    "heard after its first complete state. Or it is \"differs: ...\" with the first difference, status 1.";

struct Options {
  Demo::SourceOptions source;
  Demo::MirrorOptions mirror;
  bool types = false;

  bool isMirror() const { return mirror.socket >= 0; }
};

/// The sample that is installed with this program, wherever that is.
std::string sampleFile() {
  auto const folder = std::filesystem::read_symlink(Demo::ChildProcess::thisProgram).parent_path();
  return (folder / VORNACL_SAMPLE_FROM_PROGRAM).lexically_normal();
}

void check(Options& options) {
  std::size_t const files = options.source.files.size();
  if (files > Demo::SourceOptions::maxFiles) {
    throw CLI::ValidationError("FILE", "at most " + std::to_string(Demo::SourceOptions::maxFiles) + " files");
  }
  if (options.source.printRules && files > 1) {
    throw CLI::ValidationError("--rules", "takes one file");
  }
  if (options.types && (files > 0 || options.source.printRules)) {
    throw CLI::ValidationError("--types", "takes no file and stands alone");
  }
  if (options.source.printRules) {
    options.mirror.task = Demo::MirrorTask::printRules;
  } else if (options.source.plant) {
    options.mirror.task = Demo::MirrorTask::plantAndDump;
  }
}

void declare(CLI::App& app, Options& options) {
  app.footer(footer);
  app.add_option("FILE", options.source.files, "Rule files in the ClassBench form; the project's own sample without");
  app.add_flag(Demo::MirrorOptions::rulesName, options.source.printRules,
               "Print the rules of one file as a mirror holds them, nothing else");
  app.add_flag("--types", options.types, "Print the registry of types, nothing else");
  // For the program itself and for tests: an empty group hides them.
  app.add_option(Demo::MirrorOptions::socketName, options.mirror.socket)->group("");
  app.add_option(Demo::MirrorOptions::fileName, options.mirror.file)->group("");
  app.add_flag(Demo::MirrorOptions::plantName, options.source.plant)->group("");
  app.final_callback([&options] { check(options); });
}

/// Does what the options say; returns whether all is well.
bool run(Options const& options) {
  if (options.types) {
    std::fputs(Tools::typesText().c_str(), stdout);
    return true;
  }
  if (options.isMirror()) {
    Demo::runMirror(options.mirror);
    return true;
  }
  Demo::SourceOptions source = options.source;
  if (source.files.empty()) {
    source.files.push_back(sampleFile());
  }
  return Demo::runSource(source);
}

int statusOf(Options const& options) {
  try {
    bool const good = run(options);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
    }
    return good ? 0 : failed;
  } catch (std::exception const& error) {
    std::fprintf(stderr, "vornacl-demo%s: %s\n", options.isMirror() ? " (mirror)" : "", error.what());
    return failed;
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Mirrors the rules of files in two other processes while they change, and compares what all hold.");
  Options options;
  declare(app, options);
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return app.exit(error) == 0 ? 0 : usageError;
  }
  return statusOf(options);
}
