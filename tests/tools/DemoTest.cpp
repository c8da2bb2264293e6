// Runs the program itself, both processes.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <sys/wait.h>

#include "tools/demo/Files.h"
#include "tools/demo/RuleFile.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

std::string const sample = std::filesystem::path(VORNACL_SOURCE_DIR) / "tools/demo/sample.rules";

struct Result {
  int status = -1;
  std::string output;
  std::string messages;
};

/// Runs the program through the shell.
Result run(std::string const& arguments) {
  Demo::TemporaryFolder const folder;
  std::string const out = folder.path() / "out";
  std::string const err = folder.path() / "err";
  std::string command(VORNACL_BIN_DIR);
  command.append("/vornacl-demo ").append(arguments).append(" >").append(out).append(" 2>").append(err);
  int const status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Demo::readFile(out), Demo::readFile(err)};
}

std::string canonicalLines(std::string const& path) {
  std::string text;
  std::uint32_t index = 0;
  for (Vorn::IpRuleConfig const& rule : Demo::readRuleFile(path).rules) {
    Demo::appendCanonicalLine(text, ++index, rule);
  }
  return text;
}

TEST(Demo, endsEqualAndTellsWhatItCouldNotHold) {
  Result const result = run("");
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_EQ(result.output, "equal: 61 rules in 1 ACLs mirrored, 10000 live changes followed\n");
  EXPECT_THAT(result.messages,
              HasSubstr("sample.rules: flags 0x0200/0x1200 of protocol 0x06/0xFF: 3 filters loaded with SYN set\n"));
  Result const twice = run(sample + " " + sample);
  EXPECT_EQ(twice.output, "equal: 122 rules in 2 ACLs mirrored, 10000 live changes followed\n") << twice.messages;
}

TEST(Demo, seesARuleThatTheMirrorAltered) {
  Result const result = run("--plant-difference");
  EXPECT_EQ(result.status, 1) << result.messages;
  EXPECT_THAT(result.output, MatchesRegex("differs: line 2, ipv4PAcl:0:in Value\\('Vorn::AceIndex'.*: "
                                          "\".*'log': .*\" in the source, \".*'log': .*\" in the mirror\n"));
}

TEST(Demo, printsTheRulesThatTheMirrorHolds) {
  Result const result = run("--rules " + sample);
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_EQ(result.output, canonicalLines(sample));
}

TEST(Demo, refusesWhatItCannotDo) {
  Demo::TemporaryFolder const folder;
  std::string const broken = folder.path() / "broken.rules";
  std::string const empty = folder.path() / "empty.rules";
  std::ofstream(broken) << "@0.0.0.0/0\t0.0.0.0/0\t0 : 65535\t0 : 65536\t0x06/0xFF\t\n";
  std::ofstream(empty).flush();
  std::string many;
  for (int i = 0; i < 256; ++i) {
    many.append(empty).append(" ");
  }
  struct {
    std::string arguments;
    int status;
    std::string message;
  } const cases[] = {
      {"--unknown", 2, "--unknown"},
      {many, 2, "at most 255 files"},
      {"--rules " + empty + " " + empty, 2, "takes one file"},
      {sample + " " + broken, 1, "vornacl-demo: " + broken + ":1:36: expected a port, 0 to 65535\n"},
      {broken + ".none", 1, "vornacl-demo: " + broken + ".none: cannot be opened: No such file or directory\n"},
  };
  for (auto const& c : cases) {
    Result const result = run(c.arguments);
    EXPECT_EQ(result.status, c.status) << c.arguments;
    EXPECT_EQ(result.output, "") << c.arguments;
    EXPECT_THAT(result.messages, HasSubstr(c.message));
  }
  EXPECT_EQ(run(empty).output, "equal: 0 rules in 1 ACLs mirrored, 0 live changes followed\n");
}

TEST(Demo, mirrorsThePublicSets) {
  char const* const chosen = std::getenv("VORNACL_DATA");
  std::filesystem::path const folder =
      std::filesystem::path(VORNACL_SOURCE_DIR) / (chosen != nullptr ? chosen : "../shared/data") / "acl/classbench";
  if (!std::filesystem::exists(folder)) {
    GTEST_SKIP() << "no rule sets at " << folder;
  }
  Result const result = run(folder.string() + "/*.rules");
  EXPECT_EQ(result.output, "equal: 108726 rules in 10 ACLs mirrored, 10000 live changes followed\n") << result.messages;
  std::string const file = folder / "acl1_1k.rules";
  EXPECT_TRUE(run("--rules " + file).output == canonicalLines(file));
}

}  // namespace
