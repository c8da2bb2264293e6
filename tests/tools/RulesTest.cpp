// Files of rules: what readers make of each form, shown by canonical lines, and what they refuse.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/tools/Program.h"
#include "tools/vornacl/rules/Canonical.h"
#include "tools/vornacl/rules/Read.h"

namespace {

/// The canonical lines of a text, then a line for each rule that was left out; or the error that ended the reading.
std::string linesOf(std::string const& text, bool skips = true) {
  try {
    Tools::Refusals refusals(skips);
    Tools::Loader loader(Tools::Expand::show, refusals);
    std::vector<std::string> notes;
    Tools::LoadedFile const& file = loader.add(Tools::readRules(text, "f", {}, refusals, notes));
    std::string lines;
    Tools::appendCanonicalLines(lines, file, refusals, [] {});
    for (auto const& refusal : refusals.all()) {
      lines.append(refusal.place.text()).append(": ").append(refusal.reason).append("\n");
    }
    return lines;
  } catch (Tools::BadData const& error) {
    return error.what();
  }
}

TEST(AccessList, readsRulesOfEveryKind) {
  struct {
    char const* head;
    char const* rule;
    char const* lines;
  } const cases[] = {
      {"ip access-list n", "permit tcp any eq www 443 host 192.0.2.7 neq 20 22",
       "1 n 10 permit 6 0.0.0.0/0 192.0.2.7/32 80-80,443-443 0-19,21-21,23-65535\n"},
      {"ip access-list n", "deny udp 192.0.2.9 0.0.0.3 gt 1023 198.51.100.0/24 lt bootps log-input",
       "1 n 10 deny 17 192.0.2.8/30 198.51.100.0/24 1024-65535 0-66 log\n"},
      {"ipv4 access-list n", "7 permit ipv4 192.0.2.1 0.0.4.2 10.0.0.255 0.255.255.0",
       "1 n 7 permit any 192.0.2.1&255.255.251.253 10.0.0.255&255.0.0.255 0-65535 0-65535\n"},
      {"ip access-list n", "7 permit ip 192.0.2.1 0.0.4.2 any fragments",
       "1 n 7 permit any 192.0.2.1&255.255.251.253 0.0.0.0/0 0-65535 0-65535 fragments\n"},
      {"ip access-list n", "permit tcp any any range ftp-data ftp established dscp af41 log",
       "1 n 10 permit 6 0.0.0.0/0 0.0.0.0/0 0-65535 20-21 established dscp=34 log\n"},
      {"ip access-list n", "permit tcp any any urg match-all +syn",
       "1 n 10 permit 6 0.0.0.0/0 0.0.0.0/0 0-65535 0-65535 tcpflags=syn+urg\n"},
      {"ip access-list n", "permit tcp any any match-all +syn -ack",
       "f:2: a filter has no place for TCP flags that must be clear, as ACK\n"},
      {"ip access-list n", "permit icmp any any 3 13",
       "1 n 10 permit 1 0.0.0.0/0 0.0.0.0/0 0-65535 0-65535 icmp=3/13\n"},
      {"ip access-list n", "permit udp any any ttl eq 5", "f:2: a canonical line has no place for the time to live\n"},
      {"ip access-list n", "permit udp any any ttl gt 5", "f:2:21: a filter has no place for \"ttl\"\n"},
      {"ip access-list n", "permit ip any any nonsense",
       "f:2:20: found \"nonsense\", expected an option or the end of the line\n"},
      {"ip access-list n", "permit udp any any eq dhcpv6-client",
       "f:2:24: found \"dhcpv6-client\", expected a port, by its name or a number from 0 to 65535\n"},
      {"ip access-list standard n", "permit 192.0.2.1 log",
       "1 n 10 permit any 192.0.2.1/32 0.0.0.0/0 0-65535 0-65535 log\n"},
      {"ipv6 access-list n", "permit icmp 2001:db8::1/32 any nd-na sequence 5",
       "1 v6:n 5 permit 58 2001:db8::/32 ::/0 0-65535 0-65535 icmp=136\n"},
      {"mac access-list extended n", "permit 0000.5e00.5301 0000.0000.00ff host 00:00:5e:00:53:02 arp",
       "1 mac:n 10 permit 0x0806 00:00:5e:00:53:00/ff:ff:ff:ff:ff:00 00:00:5e:00:53:02/ff:ff:ff:ff:ff:ff - -\n"},
      {"mac access-list n", "deny any any 0x8100 0x0101",
       "1 mac:n 10 deny 0x8000/0xfefe 00:00:00:00:00:00/00:00:00:00:00:00 00:00:00:00:00:00/00:00:00:00:00:00 - -\n"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(linesOf(std::string(c.head) + "\n " + c.rule), c.lines) << c.rule;
  }
}

TEST(AccessList, stopsAtTheFirstPlaceThatIsNotAsItMustBe) {
  struct {
    char const* rule;
    char const* error;
  } const cases[] = {
      {"permit", "8: found the end of the line, expected a protocol, by its name or a number from 0 to 255"},
      {"permit 256 any any", "9: found \"256\", expected a protocol, by its name or a number from 0 to 255"},
      {"permit tpc any any", "9: found \"tpc\", expected a protocol, by its name or a number from 0 to 255"},
      {"permit ip any", "15: found the end of the line, expected \"any\", \"host\" or an IPv4 address"},
      {"permit ip any host 192.0.2", "21: found \"192.0.2\", expected an address"},
      {"permit ip any 192.0.2.1", "25: found the end of the line, expected a wildcard, as 0.0.0.255"},
      {"permit ip any 192.0.2.1 0.0.0.256", "26: found \"0.0.0.256\", expected a wildcard, as 0.0.0.255"},
      {"permit ip any 192.0.2.0/33", "26: found \"33\", expected a prefix length, 0 to 32"},
      {"permit ip any 2001:db8::/32", "16: found \"2001:db8::/32\", expected an IPv4 address"},
      {"permit tcp any eq", "19: found the end of the line, expected a port, by its name or a number from 0 to 65535"},
      {"permit tcp any eq 65536 any", "20: found \"65536\", expected a port, by its name or a number from 0 to 65535"},
      {"permit udp any eq bgp any", "20: found \"bgp\", expected a port, by its name or a number from 0 to 65535"},
      {"permit tcp any range 9 8 any", "25: found \"8\", expected a port that is not below the first of its range"},
      {"permit tcp any gt 65535 any", "20: found \"65535\", expected a port below 65535"},
      {"permit tcp any lt 0 any", "20: found \"0\", expected a port above 0"},
      {"permit icmp any any 256", "22: found \"256\", expected an ICMP type, 0 to 255"},
      {"permit icmp any any 3 256", "24: found \"256\", expected an ICMP code, 0 to 255"},
      {"permit ip any any dscp 64", "25: found \"64\", expected a code point, by its name or a number from 0 to 63"},
      {"permit ip any any ttl 256", "24: found \"256\", expected a time to live, 0 to 255"},
      {"permit tcp any any match-all syn,ack", "31: found \"syn,ack\", expected a TCP flag, as +syn"},
      {"4294967295 permit ip any any", "2: found \"4294967295\", expected a sequence number, 1 to 4294967294"},
      {"4294967290 permit ip any any\n permit ip any any",
       "9: found \"ip\", expected a sequence number, since the highest so far leaves no room for the next"},
  };
  for (auto const& c : cases) {
    std::string const error = linesOf(std::string("ip access-list n\n ") + c.rule + '\n', false);
    EXPECT_EQ(error.substr(error.find(':', 2) + 1), c.error) << c.rule;
  }
  EXPECT_EQ(linesOf("mac access-list n\n permit 0000.5e00.530 0000.0000.0000 any"),
            "f:2:9: found \"0000.5e00.530\", expected \"any\", \"host\" or an Ethernet address, as 0000.5e00.5301");
  EXPECT_EQ(linesOf("ipv6 access-list n\n permit ipv6 2001:db8::1 any"),
            "f:2:14: found \"2001:db8::1\", expected \"any\", \"host\" or an IPv6 prefix");
}

TEST(AccessList, findsListsInConfigurationsAndNumbersTheirRules) {
  EXPECT_EQ(linesOf("hostname r\n"
                    "interface e0\n permit not a rule\n"
                    "no ip access-list a\r\n"
                    "ip access-list extended a\r\n"
                    " remark permit ip any any\r\n"
                    "\n"
                    " 20 permit 1 any any\n"
                    "! a comment\n"
                    " 5 deny 2 any any\n"
                    "permit 3 any any\n"
                    "access-list 101 remark deny ip any any\n"
                    "access-list 101 deny 4 any any\n"
                    "access-list 700 permit 0000.5e00.5301\n"
                    "ip access-list a\n"
                    " permit 5 any any precedence 1\n"
                    " permit 6 any any\n"
                    " 5 permit 7 any any\n"
                    " evaluate b\n"
                    "access-list 200 permit 0x0000 0x0d0d\n"
                    "no ip access-list a\n"),
            "1 a 20 permit 1 0.0.0.0/0 0.0.0.0/0 0-65535 0-65535\n"
            "2 a 5 deny 2 0.0.0.0/0 0.0.0.0/0 0-65535 0-65535\n"
            "3 a 30 permit 3 0.0.0.0/0 0.0.0.0/0 0-65535 0-65535\n"
            "4 101 10 deny 4 0.0.0.0/0 0.0.0.0/0 0-65535 0-65535\n"
            "5 mac:700 10 permit any 00:00:5e:00:53:01/ff:ff:ff:ff:ff:ff 00:00:00:00:00:00/00:00:00:00:00:00 - -\n"
            "6 a 50 permit 6 0.0.0.0/0 0.0.0.0/0 0-65535 0-65535\n"
            "f:16:19: a filter has no place for \"precedence\"\n"
            "f:18:11: line 10 has the number 5 already\n"
            "f:19:2: found \"evaluate\", expected \"permit\", \"deny\" or \"remark\"\n"
            "f:20:13: found \"200\", expected the number of an IPv4 or MAC access-list\n"
            "f:21:4: this takes away a list that stands above\n");
  EXPECT_EQ(linesOf("ip access-list a\nhostname r\npermit ip any any\n"),
            "f:3:1: found \"permit\", expected the name of an access-list before its rules");
  EXPECT_EQ(linesOf("ip access-list a\n permit tcp any any tos 1\n", false),
            "f:2:21: a filter has no place for \"tos\"");
}

TEST(PacketFilter, readsWhatFiltersHaveAPlaceFor) {
  struct {
    char const* rule;
    std::string lines;
  } const cases[] = {
      {"-p tcp -m tcp --tcp-flags ALL SYN,ACK -j ACCEPT",
       "f:3: a filter has no place for TCP flags that must be clear, as FIN+RST+PSH+URG\n"},
      {"-s 192.0.2.0/24 -d 192.0.2.1/255.0.255.0 -p tcp -m tcp --dport :79 --tcp-flags SYN,ACK SYN,ACK -j ACCEPT",
       "1 t.C 1 permit 6 192.0.2.0/24 192.0.2.0&255.0.255.0 0-65535 0-79 tcpflags=syn+ack\n"},
      {"-p udp -m multiport ! --sports 5,7:8 -m comment --comment \"a \\\"b\\\" c\" -j REJECT --reject-with x",
       "1 t.C 1 deny 17 0.0.0.0/0 0.0.0.0/0 0-4,6-6,9-65535 0-65535\n"},
      {"-p icmp -m icmp --icmp-type 3/4 -f -m dscp --dscp 0x2e -j DROP",
       "1 t.C 1 deny 1 0.0.0.0/0 0.0.0.0/0 0-65535 0-65535 icmp=3/4 dscp=46 fragments\n"},
      {"-p udp -m ttl --ttl-eq 1 -j DROP", "f:3: a canonical line has no place for the time to live\n"},
      {"! -s 128.0.0.0/1 -j DROP", "1 t.C 1 deny any 0.0.0.0/1 0.0.0.0/0 0-65535 0-65535\n"},
      {"! -s 192.0.2.1/32 ! -p tcp -j DROP", "f:3: the exact rules under this number are not one line\n"},
      {"-p tcp -m tcp --syn -j DROP", "f:3: a filter has no place for TCP flags that must be clear, as FIN+RST+ACK\n"},
      {"-p udp -m udp --dport 60000:29 -j ACCEPT", "f:3:28: a range from 60000 to 29 matches no port\n"},
      {"-i eth0 -j DROP", "f:3:6: a filter has no place for \"-i\"\n"},
      {"-p tcp ! --syn -j DROP", "f:3:13: a filter has no place for \"! --syn\"\n"},
      {"-m state --state NEW -j DROP", "f:3:6: a filter has no place for what \"-m state\" matches\n"},
      {"-s 192.0.2.1/32", "f:3:21: a rule cannot only count\n"},
      {"-j LOG", "f:3:6: a rule can permit or deny, not do \"LOG\"\n"},
      {"-s 192.0.2.256/32", "f:3:9: found \"192.0.2.256/32\", expected an IPv4 address"},
      {"-s 192.0.2.0/33", "f:3:19: found \"33\", expected a prefix length, 0 to 32, or a mask"},
      {"-p tpc -j DROP", "f:3:9: found \"tpc\", expected a protocol, by its name or a number from 0 to 255"},
      {"-p udp --dport 5,65536", "f:3:23: found \"65536\", expected a port, 0 to 65535, or two with \":\" between"},
      {"--tcp-flags SYN ACK", "f:3:22: found \"ACK\", expected some of the flags before"},
      {"--comment \"a", "f:3:16: found \"\"a\", expected a text that ends in a quote"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(linesOf(std::string("*t\n:C DROP [0:0]\n-A C ") + c.rule + "\nCOMMIT\n"), c.lines);
  }
}

TEST(PacketFilter, takesDumpsAsAWhole) {
  EXPECT_EQ(
      linesOf(
          "# Generated by ip6tables-save\n*t\n:A ACCEPT [0:0]\n:B - [0:0]\n:C ACCEPT\n"
          "[1:2] -A B -s ::1/128 -j DROP\n-A A -j LOG\n-A A -j DROP\nCOMMIT\n*u\n:A DROP\n-A A -j ACCEPT\nCOMMIT\n"),
      "1 v6:t.B 1 deny any ::1/128 ::/0 0-65535 0-65535\n"
      "2 v6:t.A 2 deny any ::/0 ::/0 0-65535 0-65535\n"
      "3 v6:t.A 3 permit any ::/0 ::/0 0-65535 0-65535\n"
      "4 v6:u.A 1 permit any ::/0 ::/0 0-65535 0-65535\n"
      "f:7:6: a rule can permit or deny, not do \"LOG\"\n");
  EXPECT_EQ(linesOf("*t\n:A DROP\n-A B -j DROP\n"),
            "f:3:4: found \"B\", expected a chain that stands above behind \":\"");
  EXPECT_EQ(linesOf("*t\n:A DROP\n-A A -j DROP\n"),
            "f:4: found the end of the file, expected \"COMMIT\" of the table t");
  EXPECT_EQ(linesOf("*t\n:A QUEUE\n"), "f:2:4: found \"QUEUE\", expected a policy, \"ACCEPT\", \"DROP\" or \"-\"");
}

/// The text of a tree, and what becomes of it when one thing in it is replaced.
TEST(TreeText, pathsLeadToAnEntityOrBelowIt) {
  for (auto const& [path, isWithin] :
       {std::pair{"a/b[1]", true}, {"a/b[1]/c", true}, {"a/b[1]x", false}, {"a", false}}) {
    EXPECT_EQ(Tools::isWithin(path, "a/b[1]"), isWithin) << path;
    EXPECT_TRUE(Tools::isWithin(path, ""));
  }
}

TEST(TreeText, readsBackAsItIsAndNotOtherwise) {
  Tools::Refusals refusals(false);
  std::vector<std::string> notes;
  auto const textOf = [&](std::string const& rules) {
    Tools::Loader loader(Tools::Expand::show, refusals);
    loader.add(Tools::readRules(rules, "f", {}, refusals, notes));
    std::string text;
    Tools::appendTreeText(text, loader.tree(), [] {});
    return text;
  };
  std::string const text =
      textOf("ipv6 access-list a\n permit tcp any any neq 80\nmac access-list c\n permit any any\nip access-list d\n");
  EXPECT_EQ(textOf(text), text);
  EXPECT_EQ(linesOf(text),
            "1 v6:a 10 permit 6 ::/0 ::/0 0-65535 0-79,81-65535\n"
            "2 mac:c 10 permit any 00:00:00:00:00:00/00:00:00:00:00:00 00:00:00:00:00:00/00:00:00:00:00:00 - -\n");
  struct {
    std::string from, to;  ///< the first place in the text
    char const* error;     ///< begins so
  } const cases[] = {
      {"# vornacl tree 1", "# vornacl tree 2", "f: no form of rules begins so"},
      {"vornacl\tname", "x\tname", "f:2:1: found \"x\", expected \"vornacl\""},
      {"/chipRootConfig[0]\tname", "/chipRootConfigs[0]\tname", "f:4:1: found \"vornacl/chipRootConfig[0]\", expected"},
      {"chipId\t0", "chipId\t0\t0\t0", "f:5:1: found 5 fields, expected"},
      {"chipId\t0", "chipId\t65536", "f:5:34: found \"65536\", expected it as the model writes it, \"0\""},
      {"active\tfalse", "active\t0", "f:6:34: found \"0\": expected true or false"},
      {"acl[ipv6PAcl:0:in]\taclId\tipv6PAcl:0:in", "acl[ipv6PAcl:0:in]\taclId\tipv6PAcl:0:out",
       "f:15:1: found \"vornacl/chipRootConfig[0]/vornAc...\", expected"},
      {"cliName", "aclName", "f:11:58: found \"aclName\", expected \"cliName\""},
      {"'ruleId': 10,", "'ruleId': 4294967306,", "f:16:107: found \"4294967306, "},
      {"'subRuleId': 1", "'subRuleId': 0", "f:17:69: found \"Value('Vorn::AceIndex', "},
      {"macRuleById", "ruleById", "f:22:56: found \"ruleById\", expected an attribute that can be written"},
      {"active\tfalse\n", "", "f:6:27: found \"vornacl/ch"},
      {"# end of", "# End of", "f:31:1: found 1 fields, "},
      {" lines\n", " lines\n\n", "f:32:1: found a line, expected the end of the file"},
  };
  for (auto const& c : cases) {
    std::string changed = text;
    std::string const error = linesOf(changed.replace(changed.find(c.from), c.from.size(), c.to));
    EXPECT_EQ(error.substr(0, std::string(c.error).size()), c.error) << error;
  }
}

/// Another reader's lines of the same files have the same digests.
TEST(Load, printsTheLinesThatAreExpected) {
  char const* const data = std::getenv("VORNACL_DATA");
  std::filesystem::path const folder = std::filesystem::path(data != nullptr ? data : "") / "acl";
  std::ifstream expected(folder / "expected.tsv");
  if (data == nullptr || !expected) {
    GTEST_SKIP() << "no rule sets";
  }
  std::size_t files = 0;
  std::string file, form, count, notExpressed, digest;
  for (std::getline(expected, file); expected >> file >> form >> count >> count >> notExpressed >> count >> digest;) {
    if (form != "iptables") {
      ++files;
      std::string const skip = notExpressed != "0" ? " --skip " : " ";
      EXPECT_EQ(runProgram("vornacl", "load --print" + skip + (folder / file).string() + " | sha256sum").output,
                digest + "  -\n")
          << file;
    }
  }
  EXPECT_EQ(files, 23U);
}

}  // namespace
