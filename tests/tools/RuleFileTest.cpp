#include "tools/demo/RuleFile.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

#include <gtest/gtest.h>

namespace {

using Vorn::IpFilter;
using Vorn::L4PortRange;

/// A line of the documentation's networks with this protocol and flags field.
std::string lineOf(std::string_view rest) {
  std::string line = "@192.0.2.0/24\t198.51.100.7/32\t0 : 65535\t0 : 65535\t";
  return line.append(rest);
}

/// The error that reading `text` ends in, or "no error".
std::string errorOf(std::string const& text) {
  try {
    Demo::readRules(text, "f");
  } catch (Demo::RuleFileError const& error) {
    return error.what();
  }
  return "no error";
}

std::string canonicalLines(std::vector<Vorn::IpRuleConfig> const& rules) {
  std::string text;
  std::uint32_t index = 0;
  for (Vorn::IpRuleConfig const& rule : rules) {
    Demo::appendCanonicalLine(text, ++index, rule);
  }
  return text;
}

TEST(RuleFile, readsEveryFieldAndPrintsTheCanonicalLine) {
  struct {
    char const* line;
    char const* canonical;
    L4PortRange sport;
    L4PortRange dport;
    bool matchProto;
    bool l4Rule;
  } const cases[] = {
      {"@192.0.2.0/24\t198.51.100.7/32\t0 : 65535\t0 : 65535\t0x11/0xFF\t",
       "192.0.2.0/24 198.51.100.7/32 0-65535 0-65535 0x11/0xFF",
       {0, 65535},
       {0, 65535},
       true,
       false},
      {"@192.0.2.1/32\t0.0.0.0/0\t1024 : 65535\t0 : 65535\t0x2f/0xff\t",
       "192.0.2.1/32 0.0.0.0/0 1024-65535 0-65535 0x2F/0xFF",
       {1024, 65535},
       {0, 65535},
       true,
       true},
      {"@255.255.255.255/32\t255.255.255.255/1\t0 : 65535\t0 : 65534\t0x06/0x00\t0x0200/0x0000\t",
       "255.255.255.255/32 128.0.0.0/1 0-65535 0-65534 0x06/0x00",
       {0, 65535},
       {0, 65534},
       false,
       true},
      {"@203.0.113.255/0\t203.0.113.255/25\t80 : 80\t1 : 65535\t0xFF/0xFF\t",
       "0.0.0.0/0 203.0.113.128/25 80-80 1-65535 0xFF/0xFF",
       {80, 80},
       {1, 65535},
       true,
       true},
  };
  std::string text;
  std::string canonical;
  char index = '1';
  for (auto const& c : cases) {
    SCOPED_TRACE(c.line);
    text.append(text.empty() ? "" : "\n").append(c.line);
    ((canonical += index++) += ' ').append(c.canonical) += '\n';
    Demo::RuleFile const file = Demo::readRules(c.line, "f");
    ASSERT_EQ(file.rules.size(), 1U);
    EXPECT_TRUE(file.loosened.empty());
    IpFilter expected;
    IpFilter const& filter = file.rules[0].filter();
    expected.sourceIs(filter.source());
    expected.destinationIs(filter.destination());
    expected.protoIs(filter.proto());
    expected.sportRangeIs(c.sport);
    expected.dportRangeIs(c.dport);
    expected.matchProtoIs(c.matchProto);
    expected.l4RuleIs(c.l4Rule);
    EXPECT_EQ(filter, expected);
    EXPECT_EQ(file.rules[0].action(), Acl::permit);
  }
  EXPECT_EQ(canonicalLines(Demo::readRules(text, "f").rules), canonical);
  EXPECT_EQ(canonicalLines(Demo::readRules(text + '\n', "f").rules), canonical);
  EXPECT_TRUE(Demo::readRules("", "f").rules.empty());
}

TEST(RuleFile, holdsWhatAFilterCanHoldOfTheFlags) {
  constexpr std::uint16_t any = IpFilter::icmpAll;
  struct {
    char const* rest;
    unsigned tcpFlag;
    std::uint16_t icmpType;
    std::uint16_t icmpCode;
    bool l4Rule;
    char const* loosened;
  } const cases[] = {
      {"0x06/0xFF\t0x0000/0x0000\t", 0, any, any, false, ""},
      {"0x06/0xFF\t0x0200/0x0000\t", 0, any, any, false, ""},
      {"0x06/0xFF\t0x1000/0x1000\t", 16, any, any, true, ""},
      {"0x06/0xFF\t0xff00/0x3f00\t", 63, any, any, true, ""},
      {"0x06/0xFF\t0xffff/0x0200\t", 2, any, any, true, ""},
      {"0x06/0xFF\t0x0200/0x1200\t", 2, any, any, true,
       "flags 0x0200/0x1200 of protocol 0x06/0xFF: 1 filter loaded with SYN set"},
      {"0x06/0xFF\t0x0000/0x0200\t", 0, any, any, false,
       "flags 0x0000/0x0200 of protocol 0x06/0xFF: 1 filter loaded with nothing matched of them"},
      {"0x06/0xFF\t0xe900/0xe900\t", 41, any, any, true,
       "flags 0xe900/0xe900 of protocol 0x06/0xFF: 1 filter loaded with FIN+PSH+URG set"},
      {"0x06/0xFF\t0x0401/0x0401\t", 4, any, any, true,
       "flags 0x0401/0x0401 of protocol 0x06/0xFF: 1 filter loaded with RST set"},
      {"0x01/0xFF\t0x0000/0x0000\t", 0, any, any, false, ""},
      {"0x01/0xFF\t0x0000/0xff00\t", 0, 0, any, true, ""},
      {"0x01/0xFF\t0xff07/0xff00\t", 0, 255, any, true, ""},
      {"0x01/0xFF\t0x0304/0xffff\t", 0, 3, 4, true, ""},
      {"0x01/0xFF\t0x0304/0x0f00\t", 0, any, any, false,
       "flags 0x0304/0x0f00 of protocol 0x01/0xFF: 1 filter loaded with nothing matched of them"},
      {"0x01/0xFF\t0x0304/0x00ff\t", 0, any, any, false,
       "flags 0x0304/0x00ff of protocol 0x01/0xFF: 1 filter loaded with nothing matched of them"},
      {"0x06/0x00\t0x1000/0x1000\t", 0, any, any, false,
       "flags 0x1000/0x1000 of protocol 0x06/0x00: 1 filter loaded with nothing matched of them"},
      {"0x3A/0xFF\t0x8000/0xff00\t", 0, any, any, false,
       "flags 0x8000/0xff00 of protocol 0x3A/0xFF: 1 filter loaded with nothing matched of them"},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.rest);
    Demo::RuleFile const file = Demo::readRules(lineOf(c.rest), "f");
    ASSERT_EQ(file.rules.size(), 1U);
    IpFilter const& filter = file.rules[0].filter();
    EXPECT_EQ(filter.tcpFlag().value(), c.tcpFlag);
    EXPECT_EQ(filter.icmpType(), c.icmpType);
    EXPECT_EQ(filter.icmpCode(), c.icmpCode);
    EXPECT_EQ(filter.l4Rule(), c.l4Rule);
    EXPECT_EQ(file.loosened.empty() ? "" : Demo::toText(file.loosened[0]), c.loosened);
  }
}

TEST(RuleFile, countsEachLooseCombination) {
  std::string text;
  for (char const* rest : {"0x06/0xFF\t0x0200/0x1200\t", "0x06/0xFF\t0x0000/0x0200\t", "0x06/0xFF\t0x0200/0x1200\t",
                           "0x06/0x00\t0x0200/0x1200\t", "0x06/0xFF\t0x0200/0x0200\t", "0x06/0xFF\t0x1000/0x1200\t"}) {
    text += lineOf(rest) + '\n';
  }
  std::string lines;
  for (Demo::Loosened const& loosened : Demo::readRules(text, "f").loosened) {
    lines += Demo::toText(loosened) + '\n';
  }
  EXPECT_EQ(lines,
            "flags 0x0200/0x1200 of protocol 0x06/0xFF: 2 filters loaded with SYN set\n"
            "flags 0x0000/0x0200 of protocol 0x06/0xFF: 1 filter loaded with nothing matched of them\n"
            "flags 0x0200/0x1200 of protocol 0x06/0x00: 1 filter loaded with nothing matched of them\n"
            "flags 0x1000/0x1200 of protocol 0x06/0xFF: 1 filter loaded with ACK set\n");
}

TEST(RuleFile, stopsAtTheFirstPlaceThatIsNotAsItMustBe) {
  struct {
    char const* line;
    char const* error;
  } const cases[] = {
      {"", "1: expected \"@\" at the start of a filter"},
      {"# a comment", "1: expected \"@\" at the start of a filter"},
      {"@", "2: expected a number of an IPv4 address, 0 to 255"},
      {"@192.0.256.0/24\t", "8: expected a number of an IPv4 address, 0 to 255"},
      {"@192.0.02.0/24\t", "8: expected a number of an IPv4 address, 0 to 255"},
      {"@192.-1.2.0/24\t", "6: expected a number of an IPv4 address, 0 to 255"},
      {"@99999999999.0.2.0/24\t", "2: expected a number of an IPv4 address, 0 to 255"},
      {"@192.0.2/24\t", "9: expected \".\" within an IPv4 address"},
      {"@2001:db8::/32\t", "2: expected a number of an IPv4 address, 0 to 255"},
      {"@192.0.2.0\t", "11: expected \"/\" and a prefix length"},
      {"@192.0.2.0/33\t", "12: expected a prefix length, 0 to 32"},
      {"@192.0.2.0/\t", "12: expected a prefix length, 0 to 32"},
      {"@192.0.2.0/24 \t", "14: expected a tab behind the source"},
      {"@0.0.0.0/0\t0.0.0.0/0", "21: expected a tab behind the destination"},
      {"@0.0.0.0/0\t0.0.0.0/0\t 1 : 2", "22: expected a port, 0 to 65535"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1: 2", "23: expected \" : \" between two ports"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 65536", "26: expected a port, 0 to 65535"},
      {"@0.0.0.0/0\t0.0.0.0/0\t2 : 1\t", "26: expected a port that is not below the first of its range"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2:", "27: expected a tab behind the source ports"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4", "33: expected a tab behind the destination ports"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t6/0xFF\t", "34: expected a protocol or its mask, as 0x06"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x0g/0xFF\t", "34: expected a protocol or its mask, as 0x06"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06 0xFF\t", "38: expected \"/\" and a mask"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xF", "39: expected a protocol or its mask, as 0x06"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFE\t", "39: expected a protocol mask of 0x00 or 0xFF"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFF", "43: expected a tab behind the protocol"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFF\t\r", "44: expected flags or their mask, as 0x1000"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFF\t0x0200/0x200\t", "51: expected flags or their mask, as 0x1000"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFF\t0x0200/0x02000\t", "57: expected a tab behind the flags"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFF\t0x0200/0x0200\t\r", "58: expected the end of the line"},
  };
  std::string const good = lineOf("0x06/0xFF\t") + '\n';
  for (auto const& c : cases) {
    std::string text = good;
    text.append(c.line).append("\n").append(good);
    std::string error = "f:2:";
    EXPECT_EQ(errorOf(text), error.append(c.error)) << c.line;
  }
  std::string const missing = std::filesystem::path(VORNACL_BIN_DIR) / "none.rules";
  try {
    Demo::readRuleFile(missing);
    FAIL() << "a file that is not there was read";
  } catch (std::system_error const& error) {
    EXPECT_EQ(std::string(error.what()), missing + ": cannot be opened: No such file or directory");
  }
}

/// The SHA-256 of a text, by the system's own program.
std::string sha256(std::string const& text) {
  std::string const path = testing::TempDir() + "RuleFileTest." + std::to_string(getpid());
  std::ofstream(path, std::ios::binary) << text;
  std::string digest(64, ' ');
  std::FILE* const pipe = popen(("sha256sum '" + path + "'").c_str(), "r");
  digest.resize(std::fread(digest.data(), 1, digest.size(), pipe));
  pclose(pipe);
  std::filesystem::remove(path);
  return digest;
}

TEST(RuleFile, canonicalLinesOfThePublicSetsHaveTheirDigests) {
  char const* const chosen = std::getenv("VORNACL_DATA");
  std::filesystem::path const root = VORNACL_SOURCE_DIR;
  std::filesystem::path const folder = root / (chosen != nullptr ? chosen : "../shared/data") / "acl";
  std::ifstream table(folder / "expected.tsv");
  if (!table) {
    GTEST_SKIP() << "no rule sets at " << folder;
  }
  std::map<std::string, int> seen;
  std::string file, form, lines, rules, missing, single, digest;
  while (table >> file >> form >> lines >> rules >> missing >> single >> digest) {
    if (form == "classbench") {
      SCOPED_TRACE(file);
      Demo::RuleFile const read = Demo::readRuleFile(folder / file);
      EXPECT_EQ(std::to_string(read.rules.size()), rules);
      EXPECT_EQ(sha256(canonicalLines(read.rules)), digest);
      ++seen[file];
    }
  }
  EXPECT_EQ(seen.size(), 10U);
}

}  // namespace
