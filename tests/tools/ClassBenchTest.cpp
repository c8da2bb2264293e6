#include "tools/common/ClassBench.h"

#include <gtest/gtest.h>

namespace {

using Vorn::IpFilter;

/// A line of the documentation's networks with this protocol and flags field.
std::string lineOf(std::string_view rest) {
  std::string line = "@192.0.2.0/24\t198.51.100.7/32\t0 : 65535\t0 : 65535\t";
  return line.append(rest);
}

TEST(ClassBench, readsEveryFieldAndPrintsTheCanonicalLine) {
  struct {
    char const* line;
    char const* canonical;
    char const* filter;
    std::pair<bool, bool> flags;  ///< matchProto, l4Rule
  } const cases[] = {
      {"@192.0.2.0/24\t198.51.100.7/32\t0 : 65535\t0 : 65535\t0x11/0xFF\t",
       "1 192.0.2.0/24 198.51.100.7/32 0-65535 0-65535 0x11/0xFF\n",
       "(sip=192.0.2.0/24, dip=198.51.100.7/32, sport=[0, 65535], dport=[0, 65535], proto=17)",
       {true, false}},
      {"@192.0.2.1/32\t0.0.0.0/0\t1024 : 65535\t0 : 65535\t0x2f/0xff\t",
       "2 192.0.2.1/32 0.0.0.0/0 1024-65535 0-65535 0x2F/0xFF\n",
       "(sip=192.0.2.1/32, dip=0.0.0.0/0, sport=[1024, 65535], dport=[0, 65535], proto=47)",
       {true, true}},
      {"@255.255.255.255/32\t203.0.113.128/25\t0 : 65535\t80 : 80\t0x06/0x00\t0x0200/0x0000",
       "3 255.255.255.255/32 203.0.113.128/25 0-65535 80-80 0x06/0x00\n",
       "(sip=255.255.255.255/32, dip=203.0.113.128/25, sport=[0, 65535], dport=[80], proto=6, tcp=------)",
       {false, true}},
  };
  std::string text;
  for (auto const& c : cases) {
    text.append(text.empty() ? "" : "\r\n\n").append(c.line);
  }
  for (char const* end : {"", "\n"}) {
    auto const rules = Tools::readClassBench(text + end, "f");
    ASSERT_EQ(rules.size(), std::size(cases));
    std::string canonical;
    for (std::uint32_t i = 0; i < rules.size(); ++i) {
      Tools::appendCanonicalLine(canonical, i + 1, rules[i].rule);
      EXPECT_EQ(canonical, cases[i].canonical);
      canonical.clear();
      IpFilter const& filter = rules[i].rule.filter();
      EXPECT_EQ(filter.toStr().view(), cases[i].filter);
      EXPECT_EQ(std::pair(filter.matchProto(), filter.l4Rule()), cases[i].flags);
      EXPECT_EQ(rules[i].rule.action(), Acl::permit);
    }
  }
  EXPECT_TRUE(Tools::readClassBench("", "f").empty());
}

TEST(ClassBench, holdsWhatAFilterCanHoldOfTheFlags) {
  constexpr std::uint16_t any = IpFilter::icmpAll;
  char const* const nothing = "nothing matched of them";
  struct {
    char const* proto;
    char const* flags;
    unsigned tcpFlag;
    std::uint16_t icmpType, icmpCode;
    bool l4Rule;
    std::string loosened;  ///< what was loaded instead
  } const cases[] = {
      {"0x06/0xFF", "0x0200/0x0000", 0, any, any, false, ""},
      {"0x06/0xFF", "0xff00/0x3f00", 63, any, any, true, ""},
      {"0x06/0xFF", "0xffff/0x0200", 2, any, any, true, ""},
      {"0x06/0xFF", "0x0200/0x1200", 2, any, any, true, "SYN set"},
      {"0x06/0xFF", "0x0000/0x0200", 0, any, any, false, nothing},
      {"0x06/0xFF", "0xe900/0xe900", 41, any, any, true, "FIN+PSH+URG set"},
      {"0x06/0xFF", "0x0401/0x0401", 4, any, any, true, "RST set"},
      {"0x01/0xFF", "0x0000/0x0000", 0, any, any, false, ""},
      {"0x01/0xFF", "0xff07/0xff00", 0, 255, any, true, ""},
      {"0x01/0xFF", "0x0304/0xffff", 0, 3, 4, true, ""},
      {"0x01/0xFF", "0x0304/0x0f00", 0, any, any, false, nothing},
      {"0x01/0xFF", "0x0304/0x00ff", 0, any, any, false, nothing},
      {"0x06/0x00", "0x1000/0x1000", 0, any, any, false, nothing},
      {"0x3A/0xFF", "0x8000/0xff00", 0, any, any, false, nothing},
  };
  std::string all;
  for (auto const& c : cases) {
    std::string const line = lineOf(c.proto + std::string("\t") + c.flags + "\t");
    SCOPED_TRACE(line);
    all += line + '\n' + line + '\n';
    auto const filters = Tools::readClassBench(line, "f");
    ASSERT_EQ(filters.size(), 1U);
    IpFilter const& filter = filters[0].rule.filter();
    EXPECT_EQ(filter.tcpFlag().value(), c.tcpFlag);
    EXPECT_EQ(std::pair(filter.icmpType(), filter.icmpCode()), std::pair(c.icmpType, c.icmpCode));
    EXPECT_EQ(filter.l4Rule(), c.l4Rule);
    std::string const start = std::string("flags ") + c.flags + " of protocol " + c.proto + ": 1 filter loaded with ";
    EXPECT_EQ(filters[0].isExact, c.loosened.empty());
    EXPECT_EQ(c.loosened.empty() ? "" : Tools::loosenedFilters(filters).at(0),
              c.loosened.empty() ? "" : start + c.loosened);
  }
  auto const loosened = Tools::loosenedFilters(Tools::readClassBench(all + all, "f"));
  ASSERT_EQ(loosened.size(), 8U) << "one for each combination, in the order of its first line";
  EXPECT_EQ(loosened[1], "flags 0x0000/0x0200 of protocol 0x06/0xFF: 4 filters loaded with " + std::string(nothing));
}

TEST(ClassBench, stopsAtTheFirstPlaceThatIsNotAsItMustBe) {
  struct {
    char const* line;
    char const* error;
  } const cases[] = {
      {" ", "1: found \" \", expected \"@\" at the start of a filter"},
      {"@", "2: found the end of the line, expected a number of an IPv4 address, 0 to 255"},
      {"@192.0.256.0/24\t", "8: found \"256.0/24\", expected a number of an IPv4 address, 0 to 255"},
      {"@192.0.02.0/24\t", "8: found \"02.0/24\", expected a number of an IPv4 address, 0 to 255"},
      {"@192.0.2/24\t", "9: found \"/24\", expected \".\" within an IPv4 address"},
      {"@192.0.2.0\t", "11: found \"\\x09\", expected \"/\" and a prefix length"},
      {"@192.0.2.0/33\t", "12: found \"33\", expected a prefix length, 0 to 32"},
      {"@192.0.2.1/24\t", "2: found \"192.0.2.1/24\", expected a prefix without bits beyond its length"},
      {"@192.0.2.0/24 \t", "14: found \" \", expected a tab behind the source"},
      {"@0.0.0.0/0\t0.0.0.0/0", "21: found the end of the line, expected a tab behind the destination"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1: 2", "23: found \":\", expected \" : \" between two ports"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 65536", "26: found \"65536\", expected a port, 0 to 65535"},
      {"@0.0.0.0/0\t0.0.0.0/0\t2 : 1\t", "26: found \"1\", expected a port that is not below the first of its range"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2:", "27: found \":\", expected a tab behind the source ports"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4",
       "33: found the end of the line, expected a tab behind the destination ports"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x0g/0xFF\t",
       "34: found \"0x0g/0xFF\", expected a protocol or its mask, as 0x06"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06 0xFF\t", "38: found \" \", expected \"/\" and a mask"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFE\t",
       "39: found \"0xFE\", expected a protocol mask of 0x00 or 0xFF"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFF ", "43: found \" \", expected a tab behind the protocol"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFF\t0x0200/0x200\t",
       "51: found \"0x200\", expected flags or their mask, as 0x1000"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFF\t0x0200/0x02000\t",
       "57: found \"0\", expected a tab behind the flags"},
      {"@0.0.0.0/0\t0.0.0.0/0\t1 : 2\t3 : 4\t0x06/0xFF\t0x0200/0x0200\t\t",
       "58: found \"\\x09\", expected the end of the line"},
  };
  std::string const good = lineOf("0x06/0xFF\t") + '\n';
  for (auto const& c : cases) {
    std::string error = "no error";
    try {
      Tools::readClassBench(good + c.line + '\n' + good, "f");
    } catch (Tools::BadData const& thrown) {
      error = thrown.what();
    }
    EXPECT_EQ(error, std::string("f:2:") + c.error) << c.line;
  }
}

}  // namespace
