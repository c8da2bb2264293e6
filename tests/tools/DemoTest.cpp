// Runs the program itself, all its processes.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>
#include <sys/wait.h>

#include "tools/demo/Files.h"
#include "tools/demo/RuleFile.h"

namespace {

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

/// The last line of a run that ends equal; as many changes as can be were followed, but for those that merged.
std::string equalLine(std::string const& counts, std::string const& changes) {
  return "equal: " + counts + " mirrored to 2 processes, " + changes + " live changes followed\n";
}
std::string const someThousands = "[5-9][0-9][0-9][0-9]";

TEST(Demo, endsEqualAndTellsWhatItCouldNotHold) {
  Result const result = run("");
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, MatchesRegex(equalLine("61 rules in 1 ACLs on 1 chips", someThousands)));
  EXPECT_THAT(result.messages,
              HasSubstr("sample.rules: flags 0x0200/0x1200 of protocol 0x06/0xFF: 3 filters loaded with SYN set\n"));
  std::string files;
  for (int i = 0; i < 6; ++i) {
    files.append(sample).append(" ");
  }
  Result const several = run(files);
  EXPECT_THAT(several.output, MatchesRegex(equalLine("366 rules in 6 ACLs on 4 chips", someThousands)))
      << several.messages;
}

TEST(Demo, seesARuleThatAMirrorAltered) {
  Result const result = run("--plant-difference");
  EXPECT_EQ(result.status, 1) << result.messages;
  EXPECT_THAT(result.output, MatchesRegex("differs: second mirror, line [0-9]+, demo/chipRootConfig.0./vornAclColl/"
                                          "acl.ipv4PAcl:0:in. ipRuleById Value\\('Vorn::AceIndex'.*: "
                                          "\".*'log': .*\" in the source, \".*'log': .*\" in the mirror\n"));
}

TEST(Demo, printsTheRegistryOfTypes) {
  Result const result = run("--types");
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_EQ(result.messages, "");
  std::string headings;
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);) {
    headings += line.empty() || line.front() == ' ' ? "" : line.substr(0, line.find_first_of("(: ", 6)) + " ";
  }
  EXPECT_EQ(headings,
            "Vorn::L4PortRange Vorn::GenRangeType Vorn::GenRange Vorn::ChipId Vorn::ChipRuleListId Vorn::TableType "
            "Vorn::AclId Vorn::AceIndex Vorn::IpFilter Vorn::IpFilter Vorn::IpRuleConfig Vorn::MacFilter "
            "Vorn::MacRuleConfig Vorn::VornAcl Vorn::VornAclColl Vorn::AclKeyToAclIdMapping Vorn::RootAction "
            "Vorn::RootConfig Vorn::RootConfigColl ");
  char const* const expected[] = {
      "Vorn::VornAcl(aclId Vorn::AclId, aclType Acl::AclType, cliName Kro::Name): entity\n",
      "\n  261  ipRuleById                    values      Vorn::IpRuleConfig          by Vorn::AceIndex\n",
      "\n  263  equal                         function    bool                        (acl Vorn::VornAcl)\n",
      "\n    2  ruleInvalid                   constant    U32\n",
  };
  for (char const* const text : expected) {
    EXPECT_THAT(result.output, HasSubstr(text));
  }
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
      {"--types " + empty, 2, "takes no file"},
      {sample + " " + broken, 1, "vornacl-demo: " + broken + ":1:36: expected a port, 0 to 65535\n"},
      {broken + ".none", 1, "vornacl-demo: " + broken + ".none: cannot be opened: No such file or directory\n"},
  };
  for (auto const& c : cases) {
    Result const result = run(c.arguments);
    EXPECT_EQ(result.status, c.status) << c.arguments;
    EXPECT_EQ(result.output, "") << c.arguments;
    EXPECT_THAT(result.messages, HasSubstr(c.message));
  }
  EXPECT_EQ(run(empty).output, equalLine("0 rules in 1 ACLs on 1 chips", "0"));
}

TEST(Demo, mirrorsThePublicSets) {
  char const* const chosen = std::getenv("VORNACL_DATA");
  std::filesystem::path const folder =
      std::filesystem::path(VORNACL_SOURCE_DIR) / (chosen != nullptr ? chosen : "../shared/data") / "acl/classbench";
  if (!std::filesystem::exists(folder)) {
    GTEST_SKIP() << "no rule sets at " << folder;
  }
  Result const result = run(folder.string() + "/*.rules");
  EXPECT_THAT(result.output, MatchesRegex(equalLine("108726 rules in 10 ACLs on 4 chips", someThousands)))
      << result.messages;
  std::string const file = folder / "acl1_1k.rules";
  EXPECT_TRUE(run("--rules " + file).output == canonicalLines(file));
}

// --- what is left behind ---

/// Processes that have `parent` as theirs, as far as they are more than remains.
std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  std::error_code gone;
  for (auto const& entry : std::filesystem::directory_iterator("/proc", gone)) {
    std::ifstream file(entry.path() / "stat");
    std::string text;
    std::getline(file, text);
    char state = 0;
    pid_t its = 0;
    std::istringstream fields(text.substr(std::min(text.size(), text.rfind(')') + 1)));
    if (fields >> state >> its && its == parent) {
      children.push_back(std::stoi(entry.path().filename()));
    }
  }
  return children;
}

/// The state letter of a process, as '?' where there is none any more.
char stateOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string text;
  std::getline(file, text);
  std::size_t const end = text.rfind(')');
  return end == std::string::npos ? '?' : text[end + 2];
}

template <class Condition>
bool soon(Condition condition) {
  for (int left = 2000; left > 0; --left) {
    if (condition()) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

/// Whatever dies, the others end, and no file stays: also while one of them stands still.
TEST(Demo, leavesNothingBehindWhoeverDies) {
  enum class Victim { source, runningMirror };
  for (Victim const victim : {Victim::source, Victim::runningMirror}) {
    SCOPED_TRACE(static_cast<int>(victim));
    Demo::TemporaryFolder const folder;
    std::string const temporary = folder.path();
    pid_t const source = fork();
    ASSERT_GE(source, 0);
    if (source == 0) {
      std::string const program = std::string(VORNACL_BIN_DIR) + "/vornacl-demo";
      setenv("TMPDIR", temporary.c_str(), 1);
      dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
      execl(program.c_str(), program.c_str(), sample.c_str(), nullptr);
      _exit(127);
    }
    // The second mirror is killed and started again soon after the first is stopped: wait until that is over.
    std::vector<pid_t> mirrors;
    std::vector<pid_t> stopped;
    auto since = std::chrono::steady_clock::now();
    bool const isHalf = soon([&] {
      auto const before = std::exchange(mirrors, childrenOf(source));
      stopped.clear();
      std::copy_if(mirrors.begin(), mirrors.end(), std::back_inserter(stopped),
                   [](pid_t p) { return stateOf(p) == 'T'; });
      auto const now = std::chrono::steady_clock::now();
      if (mirrors != before || mirrors.size() != 2 || stopped.size() != 1) {
        since = now;
      }
      return now - since > std::chrono::milliseconds(300);
    });
    if (!isHalf) {
      kill(source, SIGKILL);
      waitpid(source, nullptr, 0);
      FAIL() << "there never were two mirrors of which one stood still";
    }
    pid_t const running = mirrors[0] == stopped[0] ? mirrors[1] : mirrors[0];
    EXPECT_EQ(kill(victim == Victim::source ? source : running, SIGKILL), 0);
    int status = 0;
    EXPECT_EQ(waitpid(source, &status, 0), source);
    EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_TRUE(soon([&] {
      return std::all_of(mirrors.begin(), mirrors.end(),
                         [](pid_t p) { return std::string("?Z").find(stateOf(p)) < 2; });
    })) << "a mirror lives on";
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  }
}

}  // namespace
