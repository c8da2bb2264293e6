// The program itself with all its processes, and what it is made of as far as a run does not show it.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include "runtime/tree/TreeObserver.h"
#include "tests/tools/Program.h"
#include "tools/demo/Changes.h"
#include "tools/demo/Dump.h"
#include "tools/demo/Files.h"

namespace {

using Demo::Tree;
using testing::HasSubstr;
using testing::MatchesRegex;
using Vorn::AceIndex;

std::string const sample = std::filesystem::path(VORNACL_SOURCE_DIR) / "tools/demo/sample.rules";
std::string const program = std::string(VORNACL_BIN_DIR) + "/vornacl-demo";

ProgramResult run(std::string const& arguments) { return runProgram("vornacl-demo", arguments); }

/// The last line of a run that ends equal; how many changes merged on their way is a matter of time.
std::string equalLine(std::string const& counts, std::string const& changes = "[1-9][0-9]*") {
  return "equal: " + counts + " mirrored to 2 processes, " + changes + " live changes followed\n";
}

TEST(Demo, endsEqualAndTellsWhatItCouldNotHold) {
  std::string files;
  for (int i = 0; i < 6; ++i) {
    files.append(sample).append(" ");
  }
  ProgramResult const result = run(files);
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, MatchesRegex(equalLine("366 rules in 6 ACLs on 4 chips")));
  EXPECT_THAT(result.messages,
              HasSubstr("sample.rules: flags 0x0200/0x1200 of protocol 0x06/0xFF: 3 filters loaded with SYN set\n"));
  EXPECT_THAT(result.messages, HasSubstr("\n10000 changes made and sent"));
}

TEST(Demo, namesEachFileOfAChip) {
  Tree const tree = Demo::loadTree(std::vector(5, sample));  // on four chips
  EXPECT_EQ(tree->chipRootConfig(0)->aclKeyToAclId()->keyToIdSize(), 2U) << "two files of one name";
}

TEST(Demo, seesARuleThatAMirrorAltered) {
  ProgramResult const result = run("--plant-difference");
  EXPECT_EQ(result.status, 1) << result.messages;
  EXPECT_THAT(result.output, MatchesRegex("differs: second mirror, line [0-9]+, demo/chipRootConfig.0./vornAclColl/"
                                          "acl.ipv4PAcl:0:in. ipRuleById Value\\('Vorn::AceIndex'.*: "
                                          "\".*'log': .*\" in the source, \".*'log': .*\" in the mirror\n"));
}

TEST(Demo, printsTypesAndTheRulesThatAMirrorHolds) {
  EXPECT_EQ(run("--rules " + sample + " | sha256sum").output,
            "f88a5c3f3c18b8bfcbd209f6d6d2e80b89421cc19b3b2d5aad79fd517b1e667a  -\n");
  ProgramResult const result = run("--types");
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_EQ(result.messages, "");
  std::istringstream lines(result.output);
  int headings = 0;
  for (std::string line; std::getline(lines, line);) {
    headings += line.starts_with("Vorn::") ? 1 : 0;
  }
  EXPECT_EQ(headings, 19);
  for (char const* const text :
       {"Vorn::VornAcl(aclId Vorn::AclId, aclType Acl::AclType, cliName Kro::Name): entity\n",
        "\n  261  ipRuleById                    values      Vorn::IpRuleConfig          by Vorn::AceIndex\n",
        "\n  263  equal                         function    bool                        (acl Vorn::VornAcl)\n",
        "\n    2  ruleInvalid                   constant    U32\n"}) {
    EXPECT_THAT(result.output, HasSubstr(text));
  }
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
      {sample + " " + broken, 1, "vornacl-demo: " + broken + ":1:36: found \"65536\", expected a port, 0 to 65535\n"},
      {"/dev/zero", 1,
       "vornacl-demo: /dev/zero:1:1048577: found a longer line, expected its end within 1048576 bytes\n"},
      {"--types >/dev/full", 1, "vornacl-demo: cannot write to standard output: No space left on device\n"},
      {broken + ".none", 1, "vornacl-demo: " + broken + ".none: cannot be opened: No such file or directory\n"},
  };
  for (auto const& c : cases) {
    ProgramResult const result = run(c.arguments);
    EXPECT_EQ(result.status, c.status) << c.arguments;
    EXPECT_EQ(result.output, "") << c.arguments;
    EXPECT_THAT(result.messages, HasSubstr(c.message));
  }
  ProgramResult const result = run(empty);
  EXPECT_EQ(result.output, equalLine("0 rules in 1 ACLs on 1 chips", "0"));
  EXPECT_THAT(result.messages, HasSubstr("\n0 changes made and sent"));
}

TEST(Demo, mirrorsThePublicSets) {
  char const* const chosen = std::getenv("VORNACL_DATA");
  std::filesystem::path const folder =
      std::filesystem::path(VORNACL_SOURCE_DIR) / (chosen != nullptr ? chosen : "../shared/data") / "acl";
  std::ifstream table(folder / "expected.tsv");
  if (!table) {
    GTEST_SKIP() << "no rule sets at " << folder;
  }
  ProgramResult const result = run((folder / "classbench/*.rules").string());
  EXPECT_THAT(result.output, MatchesRegex(equalLine("108726 rules in 10 ACLs on 4 chips"))) << result.messages;
  int sets = 0;
  std::string file, form, lines, rules, missing, single, digest;
  while (table >> file >> form >> lines >> rules >> missing >> single >> digest) {
    if (form == "classbench") {
      EXPECT_EQ(run("--rules " + (folder / file).string() + " | sha256sum").output, digest + "  -\n") << file;
      ++sets;
    }
  }
  EXPECT_EQ(sets, 10);
}

bool soon(std::function<bool()> const& condition) {
  for (int left = 2000; left > 0; --left) {
    if (condition()) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

/// A child of a process that stands still, 0 for none.
pid_t stoppedChildOf(pid_t parent) {
  for (auto const& entry : std::filesystem::directory_iterator("/proc")) {
    std::ifstream file(entry.path() / "stat");
    std::string id, name, state, parentId;
    if (file >> id >> name >> state >> parentId && state == "T" && parentId == std::to_string(parent)) {
      return std::stoi(id);
    }
  }
  return 0;
}

/// Whatever dies, the others end, and no file stays: also while one of them stands still.
TEST(Demo, leavesNothingBehindWhoeverDies) {
  ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0) << "processes that lose their parent are to become this one's";
  for (bool const isSource : {true, false}) {
    SCOPED_TRACE(isSource);
    Demo::TemporaryFolder const folder;
    std::string const temporary = folder.path();
    pid_t const source = fork();
    ASSERT_GE(source, 0);
    if (source == 0) {
      setenv("TMPDIR", temporary.c_str(), 1);
      dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
      execl(program.c_str(), program.c_str(), sample.c_str(), nullptr);
      _exit(127);
    }
    pid_t stopped = 0;
    EXPECT_TRUE(soon([&] { return (stopped = stoppedChildOf(source)) != 0; })) << "there never was a mirror that stood";
    EXPECT_EQ(kill(isSource || stopped == 0 ? source : stopped, SIGKILL), 0);
    int status = 0;
    EXPECT_EQ(waitpid(source, &status, 0), source);
    EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_TRUE(soon([] { return waitpid(-1, nullptr, WNOHANG) < 0; })) << "a mirror lives on";
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  }
}

std::string dumpOf(Tree const& tree) {
  Demo::UnnamedFile const file;
  Demo::writeDump(tree, Demo::streamTo(file.number()).get());
  return file.text();
}

/// Makes one chip for each number, whose only ACL has that many rules.
Tree const& filled(Tree const& tree, std::vector<std::uint32_t> const& rules) {
  for (std::uint16_t n = 0; n < rules.size(); ++n) {
    auto const chip = tree->chipRootConfigIs(n, Vorn::ChipId(n));
    chip->initialize();
    auto const acl = chip->vornAclColl()->aclIs({Vorn::ipv4PAcl, static_cast<std::uint8_t>(n), Acl::in}, Acl::ip, "a");
    for (std::uint32_t i = 1; i <= rules[n]; ++i) {
      acl->ipRuleByIdIs(AceIndex(i, 0, 0), {});
    }
  }
  return tree;
}

/// Every change is told once, and as many rules are added as removed.
TEST(Demo, changesRepeatThemselves) {
  for (std::vector<std::uint32_t> const& rules : {std::vector{1U, 0U}, {40U, 2U}}) {  // the first runs empty
    std::string dumps[2];
    for (std::string& dump : dumps) {
      Tree const tree = Vorn::rootConfigCollFactory("t");
      std::size_t told = 0;
      Kro::TreeObserver const follower(tree, [&](Kro::TreeChange const&) { ++told; });
      std::size_t expected = (filled(tree, rules), told);
      for (Demo::Changes changes(tree, 1000, 0); changes.next();) {
        ASSERT_EQ(told, ++expected);
      }
      EXPECT_EQ(Demo::countsOf(tree).rules, rules[0] + rules[1]);
      dump = dumpOf(tree);
    }
    EXPECT_EQ(dumps[0], dumps[1]) << "the same seed makes other changes";
  }
}

/// One difference anywhere in a tree shows in the dump, each in its own way; the order of creation does not.
TEST(Demo, dumpShowsEveryAttributeOfEveryEntity) {
  auto const onChip = [](auto change) { return [change](Tree const& tree) { change(*tree->chipRootConfig(1)); }; };
  auto const onAcl = [](auto change) {
    return [change](Tree const& t) { change(*t->chipRootConfig(1)->vornAclColl()->acl({Vorn::ipv4PAcl, 1, Acl::in})); };
  };
  Vorn::IpRuleConfig logged;
  logged.logIs(true);
  std::function<void(Tree const&)> const differences[] = {
      [](Tree const&) {},
      [](Tree const& t) { t->chipRootConfigIs(3, Vorn::ChipId(3)); },
      [](Tree const& t) { t->chipRootConfigIs(3, Vorn::ChipId(4)); },
      [](Tree const& t) { t->chipRootConfigLastFailedIs(t->chipRootConfig(0)); },
      [](Tree const& t) { t->chipRootConfigLastFailedIs(t->chipRootConfig(1)); },
      onChip([](auto& c) { c.activeIs(true); }),
      onChip([](auto& c) { c.vornRootKickInc(1); }),
      onChip([](auto& c) { c.vornAclCollDel(); }),
      onChip([](auto& c) { c.aclKeyToAclIdIs("another"); }),
      onChip([](auto& c) { c.aclKeyToAclId()->keyToIdIs(Zil::AclKey(Acl::ip, "a"), {}); }),
      onChip([](auto& c) { c.aclKeyToAclId()->keyToIdIs(Zil::AclKey(Acl::ip, "b"), {}); }),
      onChip([](auto& c) { c.vornAclColl()->aclIs({}, Acl::mac, "a"); }),
      onChip([](auto& c) { c.vornAclColl()->aclIs({}, Acl::ip, "a"); }),
      onChip([](auto& c) { c.vornAclColl()->aclIs({}, Acl::mac, "b"); }),
      onAcl([](auto& a) { a.ipRuleByIdIs(AceIndex(1, 0, 0), {}); }),
      onAcl([](auto& a) { a.ipRuleByIdIs(AceIndex(0, 1, 0), {}); }),
      onAcl([=](auto& a) { a.ipRuleByIdIs(AceIndex(1, 0, 0), logged); }),
      onAcl([](auto& a) { a.macRuleByIdIs(AceIndex(1, 0, 0), {}); }),
  };
  std::map<std::string, std::size_t> seen;
  for (std::size_t i = 0; i < std::size(differences); ++i) {
    Tree const tree = filled(Vorn::rootConfigCollFactory("t"), {0, 0});
    differences[i](tree);
    auto const [known, isNew] = seen.emplace(dumpOf(tree), i);
    EXPECT_TRUE(isNew) << i << " looks like " << known->second;
  }
  Tree const ascending = Vorn::rootConfigCollFactory("t");
  Tree const descending = Vorn::rootConfigCollFactory("t");
  for (std::uint16_t n = 0; n < 40; ++n) {
    auto const last = static_cast<std::uint16_t>(39 - n);
    ascending->chipRootConfigIs(n, Vorn::ChipId(n));
    descending->chipRootConfigIs(last, Vorn::ChipId(last));
  }
  EXPECT_EQ(dumpOf(ascending), dumpOf(descending));
}

TEST(Demo, tellsTheFirstDifferenceOfDumps) {
  std::string const same(60, '.');
  struct {
    std::string source, mirror, difference;
  } const cases[] = {
      {"a\tb\tc\nd\te\tf\n", "a\tb\tc\nd\te\tg\n", "line 2, d e: \"d e f\" in the source, \"d e g\" in the mirror"},
      {"a\tb\tc\nd\te\tf\n", "a\tb\tc\n", "line 2, d e: \"d e f\" in the source, nothing in the mirror"},
      {"", "a\tb\tc\n", "line 1, a b: nothing in the source, \"a b c\" in the mirror"},
      {"a\tb\tc", "a\tb\tcc", "line 1, a b: \"a b c\" in the source, \"a b cc\" in the mirror"},
      {"k\tl\t" + same + "1" + same, "k\tl\t" + same + "2",
       "line 1, k l: \"..." + same.substr(36) + "1" + same.substr(21) + "...\" in the source, \"..." + same.substr(36) +
           "2\" in the mirror"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(Demo::firstDifference(c.source, c.mirror), c.difference);
  }
}

}  // namespace
