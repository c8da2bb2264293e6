// Which packets meet which rules: what the index finds and what "check" concludes, against rules looked at one by one.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>

#include <gtest/gtest.h>

#include "tools/vornacl/match/Check.h"
#include "tools/vornacl/match/Diff.h"
#include "tools/vornacl/match/Packet.h"
#include "tools/vornacl/rules/Read.h"

namespace {

using Tools::Cell;
using Tools::RuleIndex;
using Tools::Verdict;

Tools::RuleSet read(std::string const& text) {
  Tools::Refusals refusals(false);
  std::vector<std::string> notes;
  return Tools::readRules(text, "f", {}, refusals, notes);
}

/// The first of the first `count` rules that holds a packet, found by looking at each.
std::uint32_t walk(Tools::RuleList const& list, Cell const& packet, std::size_t count) {
  for (std::uint32_t i = 0; i < count; ++i) {
    if (list.rules[i].matches(packet)) {
      return i;
    }
  }
  return RuleIndex::none;
}

std::string checked(std::string const& rules) {
  Tools::RuleSet const set = read(rules);
  std::string text;
  for (Tools::RuleList const& list : ruleListsOf(set)) {
    for (Verdict const& verdict : check(list)) {
      text += nameOf(verdict.kind);
      for (std::uint32_t const by : verdict.by) {
        text += ' ' + std::to_string(by);
      }
      text += '\n';
    }
  }
  return text;
}

TEST(Check, tellsWhatKeepsPacketsFromARule) {
  std::string const head = "ip access-list a\n";
  EXPECT_EQ(checked(head + " permit tcp any any eq 80\n permit tcp any any eq 80 log\n deny tcp any any eq 80\n"
                           " permit ip 10.0.0.0/8 any\n permit udp 10.1.0.0/16 any\n deny udp host 10.1.2.3 any\n"
                           " permit tcp any any range 70 79\n permit tcp any any range 70 80\n permit ip any any\n"),
            "met\nduplicate 0\ncontradiction 0\nmet\ncovered 3\ncontradiction 3\nmet\ncovered-together 0 6\nmet\n");
  EXPECT_EQ(checked(head + " permit tcp any any ack\n permit tcp any any rst\n permit tcp any any established\n"
                           " permit tcp any any\n permit icmp any any 3\n permit icmp any any 3 1\n"
                           " permit ip any 0.0.0.0 127.255.255.255\n permit ip any 128.0.0.0 127.255.255.255\n"
                           " deny ip any any fragments\n"),
            "met\nmet\ncovered-together 0 1\nmet\nmet\ncovered 4\nmet\nmet\ncovered-together 6 7\n");
  EXPECT_EQ(checked(head + " 20 permit ip any any\n 10 permit udp any neq 5 any\n 30 permit udp any range 6 9 any\n"
                           " 40 permit udp any neq 5 any\n 50 permit ip 192.0.2.1 0.0.0.254 any\n"),
            "met\nmet\ncovered 0\nduplicate 0\ncovered 1\n")
      << "in the order of their numbers";
  EXPECT_EQ(checked("mac access-list m\n permit any any 0x0806\n permit host 0000.5e00.5301 any 0x0806\n"
                    " deny any any 0x0806 0x0001\n deny any host 0000.5e00.5301 0x0807\n"),
            "met\ncovered 0\nmet\ncovered 2\n");
}

/// Rules whose bounds are among few numbers, so that few packets stand for all.
TEST(Check, agreesWithEveryPacketThereIs) {
  std::mt19937 random(20240301);
  auto const below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
  std::vector<Cell> packets;
  for (unsigned i = 0; i < 5 * 5 * 6 * 3 * 9; ++i) {
    std::string const text = "src=192.0.2." + std::to_string(i % 5) + ",dst=192.0.2." + std::to_string(i / 5 % 5) +
                             ",dport=" + std::to_string(i / 25 % 6);
    char const* const protocols[] = {",proto=tcp", ",proto=udp", ",proto=1"};
    std::string const ends[] = {"", "syn", "ack", "rst", "syn+ack", "syn+rst", "ack+rst", "syn+ack+rst"};
    std::string const end = i / 450 < 8 ? ",flags=" + ends[i / 450] : ",fragment";
    packets.push_back(Tools::readPacket(text + protocols[i / 150 % 3] + end, "p").cell);
  }
  std::size_t kinds[Verdict::undecided + 1] = {};
  auto const address = [&] {
    return below(3) == 0 ? " any" : " 192.0.2." + std::to_string(below(4)) + " 0.0.0." + std::to_string(below(4));
  };
  for (int round = 0; round < 100; ++round) {
    std::string text = "ip access-list a\n";
    for (int i = 0; i < 12; ++i) {
      bool const isTcp = below(2) == 0;
      unsigned const low = below(5);
      std::string const ports[] = {"", " neq 2",
                                   " range " + std::to_string(low) + " " + std::to_string(low + below(5 - low))};
      char const* const ends[] = {"", " established", " syn established", " match-all +syn -ack"};
      text.append(below(2) == 0 ? " permit " : " deny ").append(isTcp ? "tcp" : "udp").append(address());
      text.append(address()).append(ports[below(3)]).append(isTcp ? ends[below(4)] : "").append("\n");
    }
    Tools::RuleSet const set = read(text);
    Tools::RuleList const list = ruleListsOf(set).at(0);
    auto const verdicts = check(list);
    RuleIndex const index = list.index();
    std::vector<bool> isMet(list.rules.size() + 1);
    for (Cell const& packet : packets) {
      std::uint32_t const first = walk(list, packet, list.rules.size());
      ASSERT_EQ(index.firstContaining(packet), first) << text;
      isMet[std::min<std::size_t>(first, list.rules.size())] = true;
    }
    for (std::uint32_t i = 0; i < verdicts.size(); ++i) {
      Verdict const& verdict = verdicts[i];
      ++kinds[verdict.kind];
      ASSERT_EQ(verdict.kind == Verdict::met, isMet[i]) << i << " of " << text;
      ASSERT_TRUE(!isMet[i] || walk(list, verdict.witness, i + 1) == i) << i << " of " << text;
      for (std::size_t p = 0; !isMet[i] && p < packets.size(); ++p) {
        ASSERT_TRUE(!list.rules[i].matches(packets[p]) ||
                    std::any_of(verdict.by.begin(), verdict.by.end(),
                                [&](auto by) { return list.rules[by].matches(packets[p]); }))
            << i << " of " << text;
      }
    }
  }
  EXPECT_GT(std::min({kinds[Verdict::duplicate], kinds[Verdict::contradiction], kinds[Verdict::covered],
                      kinds[Verdict::coveredTogether]}),
            3U);
}

/// A packet of a box.
Cell drawn(Cell const& cell, std::mt19937_64& random) {
  Cell packet = cell.corner();
  for (std::size_t i = 0; i < Tools::cubeFields; ++i) {
    Tools::Bits const noise{random(), random()};
    packet.cubes[i].value = cell.cubes[i].value | (noise & ~cell.cubes[i].care);
  }
  for (std::size_t i = 0; i < Tools::intervalFields; ++i) {
    auto const [low, high] = cell.intervals[i];
    packet.intervals[i].low = packet.intervals[i].high = static_cast<std::uint16_t>(low + random() % (high - low + 1U));
  }
  return packet;
}

TEST(Check, agreesWithAllPairsOfPublicSets) {
  char const* const data = std::getenv("VORNACL_DATA");
  std::filesystem::path const folder = std::filesystem::path(data != nullptr ? data : "") / "acl/classbench";
  if (data == nullptr || !std::filesystem::exists(folder)) {
    GTEST_SKIP() << "no rule sets";
  }
  std::mt19937_64 random(1);
  for (char const* const name : {"acl1_1k", "fw3_1k", "ipc1_1k", "ipc2_1k"}) {
    SCOPED_TRACE(name);
    Tools::RuleSet const set = read(Tools::readText(folder / (std::string(name) + ".rules")));
    Tools::RuleList const list = ruleListsOf(set).at(0);
    auto const verdicts = check(list);
    RuleIndex const index = list.index();
    for (std::uint32_t i = 0; i < verdicts.size(); ++i) {
      std::vector<std::uint32_t> covering, alike;
      for (std::uint32_t j = 0; j < i; ++j) {
        if (list.rules[j].covers(list.rules[i])) {
          (list.rules[j].isAlike(list.rules[i]) ? alike : covering).push_back(j);
        }
      }
      Verdict const& verdict = verdicts[i];
      bool const isSingle = verdict.kind != Verdict::met && verdict.kind != Verdict::coveredTogether;
      covering.insert(covering.begin(), alike.begin(), alike.end());
      ASSERT_EQ(isSingle, !covering.empty()) << i;
      ASSERT_TRUE(!isSingle || verdict.by == std::vector{covering[0]}) << i;
      if (verdict.kind == Verdict::met) {
        ASSERT_EQ(walk(list, verdict.witness, i + 1), i);
      }
      for (int n = 0; n < 30; ++n) {
        Cell const packet = drawn(list.rules[i].cells[0], random);
        ASSERT_EQ(index.firstContaining(packet), walk(list, packet, list.rules.size()));
        ASSERT_TRUE(verdict.kind == Verdict::met || walk(list, packet, i) != RuleIndex::none) << i;
      }
    }
  }
}

/// What became of the rules of one list in another; "removed 0 - " is by their index in both.
TEST(Diff, tellsOrderSplitsAndNumbersApart) {
  struct {
    char const* a;
    char const* b;
    char const* differences;
  } const cases[] = {
      {"10 permit ip host 1.1.1.1 any\n20 deny ip any any", "10 permit ip host 1.1.1.1 any\n20 deny ip any any", ""},
      {"10 permit ip host 1.1.1.1 any\n20 deny ip any any", "5 permit ip host 1.1.1.1 any\n6 deny ip any any",
       "renumbered 2"},
      {"permit tcp any any eq 80 443", "permit tcp any any eq 443 80", ""},
      {"permit ip any any", "permit ip any any log", "removed 0 - added - 0 "},
      {"permit 1 any any\npermit 2 any any\npermit 3 any any\npermit 4 any any",
       "permit 1 any any\npermit 4 any any\npermit 2 any any\npermit 3 any any", "moved 3 - 1 renumbered 2"},
      {"permit 1 any any\npermit 2 any any\npermit 1 any any", "permit 2 any any\npermit 1 any any\npermit 5 any any",
       "removed 0 - added - 2 renumbered 2"},
      {"permit 1 any any\npermit 2 any any\npermit 1 any any", "permit 2 any any\npermit 1 any any",
       "removed 0 - renumbered 2"},
      {"permit tcp any any range 1 9", "permit tcp any any range 1 4\npermit tcp any any range 5 9", "split 0 - 0 1 "},
      {"permit tcp any any range 1 4\npermit tcp any any range 5 9",
       "permit tcp any any range 1 6\npermit tcp any any range 7 9", "split 0 1 - 0 1 "},
      {"permit tcp any any range 1 9\ndeny udp any any",
       "permit tcp any any range 1 4\ndeny tcp any any range 5 9\ndeny udp any any",
       "removed 0 - added - 0 added - 1 renumbered 1"},
      {"permit ip 1.1.1.0/24 any\npermit udp any any eq 5",
       "permit ip 1.1.1.0/25 any\npermit ip 1.1.1.128/25 any\npermit udp any any eq 6",
       "split 0 - 0 1 removed 1 - added - 2 "},
  };
  for (auto const& c : cases) {
    auto const listed = [](std::string rules) {
      for (std::size_t at = 0; (at = rules.find('\n', at)) != std::string::npos; at += 2) {
        rules.insert(at + 1, " ");
      }
      return read("ip access-list a\n " + rules);
    };
    Tools::RuleSet const a = listed(c.a), b = listed(c.b);
    auto const found = diff(ruleListsOf(a).at(0), ruleListsOf(b).at(0));
    std::string text;
    for (Tools::Difference const& difference : found.differences) {
      text.append(nameOf(difference.kind)) += ' ';
      for (std::uint32_t const rule : difference.from) {
        text += std::to_string(rule) + ' ';
      }
      text += "- ";
      for (std::uint32_t const rule : difference.to) {
        text += std::to_string(rule) + ' ';
      }
    }
    text += found.renumbered > 0 ? "renumbered " + std::to_string(found.renumbered) : "";
    EXPECT_EQ(text, c.differences) << c.a << " against " << c.b;
  }
}

TEST(Packet, saysWhatIsWrongWithIt) {
  struct {
    char const* text;
    char const* error;
  } const cases[] = {
      {"", "1: found the end of the line, expected \"src=ADDRESS\""},
      {"src=192.0.2.1", "14: found the end of the line, expected \"dst=ADDRESS\""},
      {"src=192.0.2", "5: found \"192.0.2\", expected an IPv4, IPv6 or Ethernet address"},
      {"src=192.0.2.1 port=5",
       "15: found \"port=5\", expected src=, dst=, proto=, sport=, dport=, flags=, icmp=, dscp=, "
       "ttl=, ethertype= or fragment"},
      {"proto=tpc", "7: found \"tpc\", expected a protocol"},
      {"sport=1 dport=65536", "15: found \"65536\", expected a port, 0 to 65535"},
      {"flags=syn+akc", "7: found \"syn+akc\", expected TCP flags, as syn+ack"},
      {"icmp=3/256", "6: found \"3/256\", expected an ICMP code, 0 to 255"},
      {"dscp=64", "6: found \"64\", expected a code point, 0 to 63"},
      {"ethertype=0x10000", "11: found \"0x10000\", expected an EtherType, as 0x0806"},
      {"src=192.0.2.1,dst=2001:db8::1", " source and destination are addresses of different kinds"},
  };
  for (auto const& c : cases) {
    std::string error;
    try {
      Tools::readPacket(c.text, "p");
    } catch (Tools::BadData const& thrown) {
      error = thrown.what();
    }
    EXPECT_EQ(error, std::string("p:") + c.error);
  }
}

}  // namespace
