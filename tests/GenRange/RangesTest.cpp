// Port ranges and generic ranges. The contract that all values share is tested elsewhere.
#include <sstream>

#include "GenRange/GenRange.h"
#include "tests/Reading.h"

namespace {

using Vorn::GenRange;
using Vorn::L4PortRange;
using namespace VornTest;

Dorix::IpGenPrefix prefix(char const* text) { return Dorix::IpGenPrefix(String8(text)); }
GenRange ips(char const* text) { return {L4PortRange(), prefix(text), Vorn::ipRange}; }
GenRange ports(std::uint16_t start, std::uint16_t end) { return {L4PortRange(start, end), {}, Vorn::portRange}; }
GenRange ofKind(int kind) { return {L4PortRange(1, 2), prefix("::/0"), static_cast<Vorn::GenRangeType>(kind)}; }

// Ranges of different kinds, and a range and a port, are not compared by accident.
static_assert(!std::equality_comparable_with<L4PortRange, GenRange>);
static_assert(!std::is_convertible_v<int, L4PortRange>);

/// How one range relates to another.
enum Relation { contained, overlapping, neither };

void expectRelation(auto const& a, auto const& b, Relation relation) {
  EXPECT_EQ(a.contains(b), relation == contained) << a << b;
  EXPECT_EQ(a.partiallyOverlaps(b), relation == overlapping) << a << b;
}

TEST(Ranges, OfPortsAnswerTheirQueries) {
  std::istringstream cases(R"(10 20 contains 10 20   10 20 contains 12 20   10 20 contains 12 18
      0 65535 contains 40000 50000   10 20 overlaps 20 30   20 30 overlaps 10 20   11 21 overlaps 10 20
      10 20 neither 10 30   10 20 neither 9 20   10 20 neither 10 21   10 20 neither 5 30   10 20 neither 21 30
      21 30 neither 10 20)");
  std::string relation;
  for (std::uint16_t low, high, from, to; cases >> low >> high >> relation >> from >> to;) {
    L4PortRange const a(low, high), b(from, to);
    auto const expected = relation == "contains" ? contained : relation == "overlaps" ? overlapping : neither;
    expectRelation(a, b, expected);
    expectRelation(GenRange(a, prefix("::/0"), Vorn::portRange), GenRange(b, prefix("10.0.0.0/8"), Vorn::portRange),
                   expected);
  }
  EXPECT_TRUE(L4PortRange(0, 65535).isAny() && ports(0, 65535).isAny());
  EXPECT_FALSE(L4PortRange().isAny() || L4PortRange(1, 65535).isAny() || ports(0, 65534).isAny());
}

TEST(Ranges, OfPrefixesAnswerTheirQueries) {
  struct Case {
    char const* outer;
    std::vector<char const*> inside, outside;
  };
  for (Case const& c : std::vector<Case>{{"10.0.0.0/7", {"10.0.0.0/7", "11.0.0.0/8"}, {"12.0.0.0/8", "a00::/7", ""}},
                                         {"10.0.0.0/8", {"10.1.0.0/16"}, {"10.0.0.0/7", "11.0.0.0/16"}},
                                         {"0.0.0.0/0", {"0.0.0.0/0", "255.255.255.255/32"}, {"::/0", ""}},
                                         {"::/0", {"::/0", "8000::/1"}, {"10.0.0.0/8", "0.0.0.0/0", ""}},
                                         {"::8000:0:0:0/65", {"::8000:0:0:1/128"}, {"::1/128", "1::8000:0:0:0/65"}},
                                         {"2001:db8::/32", {"2001:db8::/32"}, {"2001:db8::/31"}},
                                         {"", {}, {"", "0.0.0.0/0", "::/0"}}}) {
    for (char const* text : c.inside) {
      expectRelation(ips(c.outer), ips(text), contained);
    }
    for (char const* text : c.outside) {
      expectRelation(ips(c.outer), ips(text), neither);
    }
  }
  EXPECT_TRUE(ips("0.0.0.0/0").isAny() && ips("::/0").isAny() && ips("").isAny());
  EXPECT_FALSE(ips("0.0.0.0/1").isAny());
}

TEST(GenRange, ComparesTheSelectedMemberAlone) {
  struct Case {
    GenRange a, b;
    char const* text;
  };
  for (Case const& c : {Case{ofKind(0), {}, "(n/a)"},
                        {ofKind(7), {{}, {}, static_cast<Vorn::GenRangeType>(7)}, "(n/a)"},
                        {ofKind(-1), {{}, {}, static_cast<Vorn::GenRangeType>(-1)}, "(n/a)"},
                        {ofKind(2), ports(1, 2), "[1, 2]"},
                        {ofKind(1), ips("::/0"), "::/0"}}) {
    EXPECT_TRUE(c.a == c.b && !(c.a < c.b) && !(c.b < c.a) && c.a.hash() == c.b.hash()) << c.a;
    EXPECT_EQ(c.a.stringValue().view(), c.text);
  }
  // Equality and hash ignore the family of everything, the order does not.
  std::vector<GenRange> const everything{ips(""), ips("0.0.0.0/0"), ips("::/0")};
  for (std::size_t i = 0; i < everything.size(); ++i) {
    for (std::size_t j = 0; j < everything.size(); ++j) {
      EXPECT_TRUE(everything[i] == everything[j] && everything[i].hash() == everything[j].hash());
      EXPECT_EQ(everything[i] < everything[j], i < j);
      EXPECT_EQ(everything[i] <= everything[j], i <= j);
    }
  }
  // Kinds order downwards, contained ranges come first.
  checkAscending<GenRange>({ofKind(2147483647), ports(3, 3), ports(1, 8), ports(12, 18), ports(10, 20), ports(10, 30),
                            ports(5, 30), ports(0, 65535), ips(""), ips("10.0.0.0/8"), ips("10.0.0.0/9"),
                            ips("11.0.0.0/8"), ips("::1/128"), GenRange(), ofKind(-1), ofKind(-2147483647)});
  EXPECT_TRUE(ports(10, 20).lessThan(ports(5, 30)) && L4PortRange(5, 30) < L4PortRange(10, 20));
}

TEST(GenRange, StopsWhereAPreconditionIsViolated) {
#ifndef KRO_ABORT_ON_INTERNAL
  auto const error = [](auto action) {
    return messageOf<Kro::InternalException>([&] { static_cast<void>(action()); });
  };
  for (auto const& [a, b] : {std::pair(ofKind(0), ofKind(0)), {ofKind(1), ofKind(2)}}) {
    EXPECT_EQ(error([&a = a, &b = b] { return a.contains(b); }),
              "bool Vorn::GenRange::contains(const Vorn::GenRange&) const");
    EXPECT_EQ(error([&a = a, &b = b] { return a.partiallyOverlaps(b); }),
              "bool Vorn::GenRange::partiallyOverlaps(const Vorn::GenRange&) const");
  }
  EXPECT_EQ(error([] { return ofKind(3).isAny(); }), "bool Vorn::GenRange::isAny() const");
#endif
}

TEST(Ranges, HaveTheirForms) {
  EXPECT_EQ(L4PortRange(80, 80).stringValue(), "[80]");
  std::ostringstream out;
  out << std::hex << GenRange({80, 65535}, prefix("10.0.0.0/8"), Vorn::ipRange);
  EXPECT_EQ(out.str(),
            "Value('Vorn::GenRange', ** {'l4PortRange': Value('Vorn::L4PortRange', ** {'rangeStart': 80, 'rangeEnd': "
            "65535}), 'ipGenPrefix': '10.0.0.0/8', 'genRangeType': 'ipRange'})");
  EXPECT_EQ(logBytes(GenRange({0x0102, 0xfffe}, prefix("10.0.0.0/8"), Vorn::ipRange)),
            (Bytes{1, 2, 0xff, 0xfe, 1, 8, 10, 0, 0, 0, 0, 0, 0, 1}));
  Bytes const unknown{0, 1, 0, 2, 0, 0, 0, 0, 3};
  EXPECT_EQ(messageOf<Kro::RangeException>([&] { fromLogBytes<GenRange>(unknown); }), "GenRangeType");
  L4PortRange const reversed(9, 8);
  EXPECT_EQ(fromLogBytes<L4PortRange>(logBytes(reversed)), reversed) << "the log checks nothing";
}

#define RECORD "Value('Vorn::L4PortRange', ** {"
#define GENRANGE "Value('Vorn::GenRange', ** {"

TEST(RecordText, FollowsItsGrammar) {
  auto const read = [](String8 const& text) {
    return std::string(Kro::strepToValue<L4PortRange>(text).stringValue().view());
  };
  expectOutcome(read, "[1, 2]",
                {"Value('Vorn::L4PortRange',**{'rangeStart':1,'rangeEnd':2})",
                 "\tValue\n(\v'Vorn::L4PortRange'\f,\r**\n{\t'rangeEnd'\n:\n2,'rangeStart':+1 }\n)  ",
                 RECORD "'rangeEnd': 1, 'rangeStart': 1, 'range\\x45nd': 2})"});
  expectOutcome(read, "[0]", {RECORD "})", RECORD "'rangeEnd': 3, 'rangeEnd': 0})"});
  // The type's own check comes behind the closing bracket, and before junk.
  expectOutcome(read, "L4PortRange::rangeStart > L4PortRange::rangeEnd not allowed",
                {RECORD "'rangeStart': 6, 'rangeEnd': 5})", RECORD "'rangeStart': 5}) x",
                 RECORD "'rangeStart': 1, 'rangeStart': 3})"});
  expectOutcome(read, "expected \")\" at column 47", {RECORD "'rangeStart': 5}", RECORD "'rangeStart': 5}]"});
  expectOutcome(read, "junk at column 34 deserializing " RECORD "}) x", {RECORD "}) x"});
  // The end comes too soon only where an attribute or the closing brace could stand.
  expectOutcome(read, "premature end of value type L4PortRange",
                {RECORD, RECORD " ", RECORD "'rangeStart': 1", RECORD "'rangeStart': 1 "});
  expectOutcome(read, "expected a quoted string at column 45",
                {RECORD "'rangeEnd': 1,", RECORD "'rangeEnd': 1,})", RECORD "'rangeEnd': 1,,'rangeEnd': 2})"});
  expectOutcome(read, "expected a quoted string at column 31", {RECORD ", 'rangeEnd': 1})", RECORD "rangeEnd: 1})"});
  expectOutcome(read, "expected \"'\" at column 40", {RECORD "'rangeEnd"});
  expectOutcome(read, "expected \":\" at column 41", {RECORD "'rangeEnd'", RECORD "'rangeEnx'; 1"});
  expectOutcome(read, "expected \",\" at column 45", {RECORD "'rangeEnd': 1 'rangeEnd': 2})"});
  expectOutcome(read, "expected \"Value\" at column 0", {"", "\xa0Value(", "value('Vorn::L4PortRange', ** {})"});
  expectOutcome(read, "expected \"Value\" at column 3", {"Val", "Valve("});
  expectOutcome(read, "expected \"'Vorn::L4PortRange'\" at column 13", {"Value('Vorn::GenRange', ** {})"});
  expectOutcome(read, "expected \"'Vorn::L4PortRange'\" at column 23", {"Value('Vorn::L4PortRang\\x65', ** {})"});
  expectOutcome(read, "expected \"**\" at column 28", {"Value('Vorn::L4PortRange', * * {})"});
  expectOutcome(read, "L4PortRange has no such attribute: RangeEnd", {RECORD "'RangeEnd': 1})", RECORD "'RangeEnd':"});
  expectOutcome(read, "rangeEnd: expected a port from 0 to 65535 at column 43", {RECORD "'rangeEnd': 65536})"});
  String8 const two(RECORD "'rangeEnd': 1}) \n" RECORD "'rangeEnd': 2})");
  auto it = two.begin();
  EXPECT_EQ(L4PortRange(it, two.end()), L4PortRange(0, 1));
  EXPECT_EQ(L4PortRange(it, two.end()), L4PortRange(0, 2)) << "each reader leaves the rest";
}

TEST(RecordText, NamesTheAttributesOnTheWay) {
  auto const read = reread<GenRange>;
  expectOutcome(read, std::string(Kro::valueToStrep(GenRange()).view()), {GENRANGE "})"});
  expectOutcome(read, "genRangeType: GenRangeType", {GENRANGE "'genRangeType': 'tcpRange'})"});
  // A later good one does not save a nested value that its own check refused.
  expectOutcome(read, "l4PortRange: L4PortRange::rangeStart > L4PortRange::rangeEnd not allowed",
                {GENRANGE "'l4PortRange': " RECORD "'rangeStart': 1}), 'l4PortRange': " RECORD "})})"});
  expectOutcome(read, "l4PortRange: rangeEnd: expected an integer at column 86",
                {GENRANGE "'l4PortRange': " RECORD "'rangeEnd': x})})"});
  expectOutcome(read, "premature end of value type GenRange", {GENRANGE "'genRangeType': 'ipRange'"});
}

}  // namespace
