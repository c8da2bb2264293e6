// The program vornacl-demo.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/demo/RuleFile.h"

namespace {

void run(std::string const& path) {
  Demo::RuleFile const file = Demo::readRuleFile(path);
  for (Demo::Loosened const& loosened : file.loosened) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), Demo::toText(loosened).c_str());
  }
  std::string text;
  std::uint32_t index = 0;
  for (Vorn::IpRuleConfig const& rule : file.rules) {
    Demo::appendCanonicalLine(text, ++index, rule);
  }
  std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Reads rule files and shows what they hold");
  std::vector<std::string> files;
  app.add_option("FILE", files, "rule files in the ClassBench form")->required();
  CLI11_PARSE(app, argc, argv);
  try {
    for (std::string const& file : files) {
      run(file);
    }
  } catch (std::exception const& error) {
    std::fprintf(stderr, "vornacl-demo: %s\n", error.what());
    return 1;
  }
  return 0;
}
