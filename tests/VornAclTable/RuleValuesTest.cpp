// Rules, their filters and positions. The contract that all values share is tested elsewhere.
#include <sstream>

#include "VornAclTable/AceIndex.h"
#include "VornAclTable/IpRuleConfig.h"
#include "VornAclTable/MacRuleConfig.h"
#include "tests/Reading.h"

namespace {

using Kro::RangeException;
using Kro::String8;
using Vorn::AceIndex;
using Vorn::IpFilter;
using Vorn::IpRuleConfig;
using Vorn::MacFilter;
using Vorn::MacRuleConfig;
using TcpFlag = IpFilter::TcpFlag;
using VornTest::Bytes;
using VornTest::expectOutcome;
using VornTest::messageOf;

// A rule of one kind is no rule of the other; a number is no flag set until it was checked.
static_assert(!std::equality_comparable_with<IpRuleConfig, MacRuleConfig>);
static_assert(!std::is_convertible_v<std::uint32_t, TcpFlag>);

char const* const flagError = "TcpFlag::value > 0x3f not allowed";
char const* const dscpError = "IpFilter::dscp < 0 or > 63 not allowed";

Dorix::IpGenPrefix prefix(char const* text) { return Dorix::IpGenPrefix(String8(text)); }
Dorix::EthAddr ethAddr(char const* text) { return Dorix::EthAddr(String8(text)); }

/// No two attributes alike.
IpFilter distinctFilter() {
  IpFilter filter;
  filter.sourceIs(prefix("10.0.0.0/8"));
  filter.destinationIs(prefix("2001:db8::/32"));
  filter.dscpIs(46);
  filter.matchDscpIs(true);
  filter.protoIs(58);
  filter.sportRangeIs({1, 2});
  filter.dportRangeIs({0x1234, 0xfffe});
  filter.ttlIs(200);
  filter.includeTtlIs(true);
  filter.tcpFlagIs(TcpFlag(18));
  filter.icmpTypeIs(128);
  filter.icmpCodeIs(0x0102);
  filter.l4RuleIs(true);
  return filter;
}

MacFilter distinctMacFilter() {
  MacFilter filter;
  filter.sourceAddrIs(ethAddr("00:00:5e:00:53:01"));
  filter.sourceMaskIs(ethAddr("ff:ff:ff:ff:ff:fe"));
  filter.destinationAddrIs(ethAddr("00:00:5e:00:53:02"));
  filter.destinationMaskIs(ethAddr("ff:ff:ff:00:00:00"));
  filter.protoIs(0x0806);
  return filter;
}

IpRuleConfig distinctRule() {
  IpRuleConfig rule;
  rule.filterIs(distinctFilter());
  rule.actionIs(Acl::permit);
  rule.countIs(true);
  return rule;
}

MacRuleConfig distinctMacRule() {
  MacRuleConfig rule;
  rule.filterIs(distinctMacFilter());
  rule.logIs(true);
  return rule;
}

TEST(RuleValues, AreWrittenAsText) {
  EXPECT_EQ(Kro::valueToStrep(AceIndex(4294967295, 0, 7)).view(),
            "Value('Vorn::AceIndex', ** {'ruleId': 4294967295, 'subRuleId': 0, 'subIndex': 7})");
  std::string const flags =
      "Value('Vorn::IpFilter::TcpFlag', ** {'fin': false, 'syn': true, 'rst': false, 'psh': false, 'ack': true, "
      "'urg': false, 'value': 18})";
  std::string const filter =
      "Value('Vorn::IpFilter', ** {'source': '10.0.0.0/8', 'destination': '2001:db8::/32', 'fragments': false, "
      "'dscp': 46, 'matchDscp': true, 'proto': 58, 'matchProto': false, "
      "'sportRange': Value('Vorn::L4PortRange', ** {'rangeStart': 1, 'rangeEnd': 2}), "
      "'dportRange': Value('Vorn::L4PortRange', ** {'rangeStart': 4660, 'rangeEnd': 65534}), "
      "'ttl': 200, 'includeTtl': true, 'tcpFlag': " +
      flags + ", 'established': false, 'icmpType': 128, 'icmpCode': 258, 'l4Rule': true})";
  EXPECT_EQ(Kro::valueToStrep(distinctFilter()).view(), filter);
  EXPECT_EQ(Kro::valueToStrep(distinctRule()).view(), "Value('Vorn::IpRuleConfig', ** {'filter': " + filter +
                                                          ", 'action': 'permit', 'log': false, 'count': true})");
  EXPECT_EQ(Kro::valueToStrep(distinctMacRule()).view(),
            "Value('Vorn::MacRuleConfig', ** {'filter': Value('Vorn::MacFilter', ** {'sourceAddr': "
            "'00:00:5e:00:53:01', 'sourceMask': 'ff:ff:ff:ff:ff:fe', 'destinationAddr': '00:00:5e:00:53:02', "
            "'destinationMask': 'ff:ff:ff:00:00:00', 'proto': 2054}), 'action': 'deny', 'log': true, 'count': false})");
  EXPECT_THAT(std::string(Kro::valueToStrep(MacFilter()).view()), testing::HasSubstr(", 'proto': 4294967295})"));
  std::ostringstream out;
  out << std::hex << TcpFlag(18);
  EXPECT_EQ(out.str(), flags) << "has no other text";
}

TEST(RuleValues, StandInTheLogFieldByField) {
  EXPECT_EQ(VornTest::logBytes(AceIndex(1, 0x02030405, 0xffffffff)),
            (Bytes{0, 0, 0, 1, 2, 3, 4, 5, 0xff, 0xff, 0xff, 0xff}));
  Bytes const filter{1,    8,    10,   0,    0,    0,                                         // source
                     2,    32,   0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // destination
                     0,    46,   1,                                                           // fragments, dscp
                     58,   0,                                                                 // proto, matchProto
                     0,    1,    0,    2,                                                     // sportRange
                     0x12, 0x34, 0xff, 0xfe,                                                  // dportRange
                     200,  1,                                                                 // ttl, includeTtl
                     0,    0,    0,    18,                                                    // tcpFlag
                     0,    0,    128,  1,    2,                                               // established, ICMP
                     1};                                                                      // l4Rule
  EXPECT_EQ(VornTest::logBytes(distinctFilter()), filter);
  Bytes whole = filter;
  whole.insert(whole.end(), {0, 0, 0, 1, 0, 1});  // action, log, count
  EXPECT_EQ(VornTest::logBytes(distinctRule()), whole);
  EXPECT_EQ(VornTest::logBytes(distinctMacRule()), (Bytes{0,    0,    0x5e, 0,    0x53, 1,     // sourceAddr
                                                          0xff, 0xff, 0xff, 0xff, 0xff, 0xfe,  // sourceMask
                                                          0,    0,    0x5e, 0,    0x53, 2,     // destinationAddr
                                                          0xff, 0xff, 0xff, 0,    0,    0,     // destinationMask
                                                          0,    0,    8,    6,                 // proto
                                                          0,    0,    0,    0,    1,    0}));  // action, log, count
}

TEST(RuleValues, AreCheckedWhereTold) {
  Bytes log = VornTest::logBytes(distinctFilter());
  log[25] = 64;
  IpFilter filter = VornTest::fromLogBytes<IpFilter>(log);
  EXPECT_EQ(filter.dscp(), 64) << "the log does not check it";
  EXPECT_NO_THROW(filter.dscpIs(64)) << "it is the present value";
  EXPECT_EQ(messageOf<RangeException>([&] { filter.dscpIs(65); }), dscpError);
  EXPECT_EQ(filter.dscp(), 64) << "the old value stands";
  EXPECT_NO_THROW(filter.dscpIs(63));
  EXPECT_EQ(messageOf<RangeException>([&] { filter.dscpIs(64); }), dscpError);

  log[41] = 64;
  EXPECT_EQ(messageOf<RangeException>([&] { VornTest::fromLogBytes<IpFilter>(log); }), flagError);
  auto const unchecked = VornTest::fromLogBytes<TcpFlag>({0, 0, 0, 64});
  EXPECT_EQ(unchecked.value(), 64U);
  filter.tcpFlagIs(unchecked);
  EXPECT_EQ(filter.tcpFlag().value(), 64U);
  EXPECT_EQ(TcpFlag(63).value(), 63U);
  EXPECT_EQ(messageOf<RangeException>([] { TcpFlag(64); }), flagError);
  EXPECT_EQ(messageOf<RangeException>([] { TcpFlag(0xffffffff); }), flagError);
  Bytes rule = VornTest::logBytes(IpRuleConfig());
  rule[rule.size() - 3] = 2;
  EXPECT_EQ(messageOf<RangeException>([&] { VornTest::fromLogBytes<IpRuleConfig>(rule); }), "Action");
}

TEST(RuleValues, GiveBackWhatWasSet) {
  IpFilter const f = distinctFilter();
  EXPECT_TRUE(f.source() == prefix("10.0.0.0/8") && f.destination() == prefix("2001:db8::/32"));
  EXPECT_EQ(std::tuple(f.fragments(), f.dscp(), f.matchDscp(), f.proto(), f.matchProto(), f.ttl(), f.includeTtl()),
            std::tuple(false, 46, true, 58, false, 200, true));
  EXPECT_TRUE(f.sportRange() == Vorn::L4PortRange(1, 2) && f.dportRange().rangeStart() == 4660);
  EXPECT_EQ(std::tuple(f.tcpFlag().value(), f.established(), f.icmpType(), f.icmpCode(), f.l4Rule()),
            std::tuple(18U, false, 128, 258, true));
  MacFilter const m = distinctMacFilter();
  EXPECT_TRUE(m.sourceAddr() == ethAddr("00:00:5e:00:53:01") && m.sourceMask() == ethAddr("ff:ff:ff:ff:ff:fe"));
  EXPECT_TRUE(m.destinationAddr() == ethAddr("00:00:5e:00:53:02"));
  EXPECT_TRUE(m.destinationMask() == ethAddr("ff:ff:ff:00:00:00") && m.proto() == 0x0806);
  EXPECT_EQ(std::tuple(distinctRule().action(), distinctRule().log(), distinctRule().count()),
            std::tuple(Acl::permit, false, true));
  AceIndex const i(1, 2, 3);
  EXPECT_EQ(std::tuple(i.ruleId(), i.subRuleId(), i.subIndex()), std::tuple(1U, 2U, 3U));
  EXPECT_EQ(std::tuple(IpFilter().icmpType(), IpFilter().icmpCode()), std::tuple(65535, 65535));
}

/// The flag whose descriptor this is has this bit, and touches no other.
template <class T, class Flags>
void checkFlag(auto const& flag, std::uint32_t bit, Flags flagsOf) {
  T value;
  for (bool const on : {true, true, false, false}) {
    (value.*flag.set)(on);
    EXPECT_EQ(flagsOf(value), on ? bit : 0U) << flag.name;
    EXPECT_EQ((value.*flag.get)(), on) << flag.name;
  }
}

TEST(TcpFlag, HasOneBitForEachFlag) {
  [&]<std::size_t... I>(std::index_sequence<I...>) {
    (checkFlag<TcpFlag>(Kro::At<TcpFlag, I>::info, 1U << I, [](auto const& v) { return v.value(); }), ...);
    (checkFlag<IpFilter>(Kro::At<IpFilter, 12 + I>::info, 1U << I, [](auto const& v) { return v.tcpFlag().value(); }),
     ...);
    EXPECT_TRUE(((Kro::At<TcpFlag, 7 + I>::info.value.value() == 1U << I) && ...)) << "a constant";
  }
  (std::make_index_sequence<6>());
  TcpFlag flags = TcpFlag::kroUniversal;
  flags.ackIs(false);
  EXPECT_EQ(flags.value(), 63U - 16U);
  EXPECT_EQ(TcpFlag::kroEmpty.value(), 0U);
}

TEST(RuleValues, OrderByTheirAttributesInTurn) {
  VornTest::checkAscending<AceIndex>({{1, 0, 5}, {1, 1, 0}, {1, 1, 4294967295}, {2, 0, 0}, {4294967295, 0, 0}});
  std::vector<IpRuleConfig> rules(6);
  rules[0].actionIs(static_cast<Acl::Action>(-1));
  rules[2].countIs(true);
  rules[3].logIs(true);
  rules[4].actionIs(Acl::permit);
  IpFilter filter;
  filter.l4RuleIs(true);
  rules[5].filterIs(filter);
  VornTest::checkAscending(rules);
}

/// Reads the record of type `T` that has these attributes, and shows it.
template <class T, class Show>
auto record(char const* typeName, Show show) {
  return [=](String8 const& attributes) {
    return std::string(show(Kro::strepToValue<T>("Value('" + String8(typeName) + "', ** {" + attributes + "})")));
  };
}

TEST(RuleValues, AreReadFromText) {
#define TCPFLAG "'tcpFlag': Value('Vorn::IpFilter::TcpFlag', ** {"
#define FILTER "'filter': Value('Vorn::IpFilter', ** {"
  auto const index = record<AceIndex>("Vorn::AceIndex", [](auto v) { return std::string(v.toStr().view()); });
  expectOutcome(index, "4.0.0", {"'ruleId': 4", "'ruleId': 4294967300, 'subRuleId': 3, 'subRuleId': 0"});
  expectOutcome(index, "0.0.4294967295", {"'subIndex': -1"});
  expectOutcome(index, "AceIndex has no such attribute: ruleInvalid", {"'ruleInvalid': 1"});

  // Each occurrence acts on what stands by then; the check sees what stands at the end.
  auto const flags = record<TcpFlag>("Vorn::IpFilter::TcpFlag", [](auto v) { return std::to_string(v.value()); });
  expectOutcome(flags, "0", {"", "'fin': true, 'value': 0", "'value': 1, 'fin': false"});
  expectOutcome(flags, "1", {"'value': 0, 'fin': true", "'value': 64, 'value': 1", "'value': 4294967297"});
  expectOutcome(flags, "31", {"'value': 63, 'urg': false, 'fin': true"});
  expectOutcome(flags, flagError, {"'value': 64", "'value': 64, 'fin': true", "'value': -1"});
  expectOutcome(flags, "fin: expected true or false at column 44", {"'fin': 1"});
  expectOutcome(flags, "TcpFlag has no such attribute: fin_", {"'fin_': true"});

  auto const filter = record<IpFilter>("Vorn::IpFilter", [](auto const& v) {
    return std::to_string(v.dscp()) + " " + std::to_string(v.ttl()) + " " + std::to_string(v.tcpFlag().value());
  });
  expectOutcome(filter, "63 0 0", {"'dscp': 63, 'ttl': 256", "'dscp': 319", "'dscp': 64, 'dscp': 63"});
  expectOutcome(filter, "0 0 2", {TCPFLAG "'syn': true})"});
  expectOutcome(filter, dscpError, {"'dscp': 64", "'dscp': -1", "'dscp': 0, 'dscp': 255"});
  expectOutcome(filter, "dscp: expected an integer of at most 64 bits at column 36", {"'dscp': 9223372036854775808"});
  expectOutcome(filter, "proto: expected an IP protocol from 0 to 255 at column 37", {"'proto': 256"});
  expectOutcome(filter, "source: not an IP prefix: \"10.0.0.1/8\"", {"'source': '10.0.0.1/8'"});
  expectOutcome(filter, "IpFilter has no such attribute: fin", {"'fin': true"});
  expectOutcome(filter, std::string("tcpFlag: ") + flagError, {TCPFLAG "'value': 64}), " TCPFLAG "})"});

  auto const mac = record<MacFilter>("Vorn::MacFilter", [](auto const& v) { return std::to_string(v.proto()); });
  expectOutcome(mac, "4294967295", {"", "'proto': -1"});
  expectOutcome(mac, "proto: expected an integer at column 38", {"'proto': 'ANY'"});
  expectOutcome(mac, "sourceMask: not an Ethernet address: \"ff\"", {"'sourceMask': 'ff'"});

  auto const rule =
      record<IpRuleConfig>("Vorn::IpRuleConfig", [](auto const& v) { return v.filter().dscp() ? "" : "0"; });
  expectOutcome(rule, "0", {"", FILTER "'dscp': 5}), " FILTER "})"});
  expectOutcome(rule, std::string("filter: ") + dscpError, {FILTER "'dscp': 64})"});
  expectOutcome(rule, std::string("filter: tcpFlag: ") + flagError, {FILTER TCPFLAG "'value': 64})})"});
  expectOutcome(rule, "action: Action", {"'action': 'drop'"});
  expectOutcome(rule, "IpRuleConfig has no such attribute: name", {"'name': 1"});
  expectOutcome(VornTest::reread<MacRuleConfig>, "premature end of value type MacRuleConfig",
                {"Value('Vorn::MacRuleConfig', ** {", "Value('Vorn::MacRuleConfig', ** {'log': true"});
  expectOutcome(VornTest::reread<TcpFlag>, "premature end of value type TcpFlag",
                {"Value('Vorn::IpFilter::TcpFlag', ** {"});
}

TEST(RuleValues, PrintWhatPeopleRead) {
  std::string const head = "(sip=, dip=, sport=[0], dport=[0], proto=";
  struct Case {
    std::uint8_t proto;
    std::uint32_t flags;
    std::uint16_t icmpType, icmpCode;
    char const* text;
  };
  for (Case const& c : std::initializer_list<Case>{{0, 63, 8, 0, "0)"},
                                                   {6, 0, 8, 0, "6, tcp=------)"},
                                                   {6, 18, 8, 0, "6, tcp=-S--A-)"},
                                                   {6, 17, 8, 0, "6, tcp=F---A-)"},
                                                   {6, 44, 8, 0, "6, tcp=--RP-U)"},
                                                   {6, 63, 8, 0, "6, tcp=FSRPAU)"},
                                                   {1, 63, 65535, 65535, "1, icmpType=ANY, icmpCode=ANY)"},
                                                   {1, 0, 65534, 255, "1, icmpType=65534, icmpCode=255)"},
                                                   {58, 0, 8, 0, "58, icmpType=8, icmpCode=0)"},
                                                   {17, 63, 8, 0, "17)"}}) {
    IpFilter filter;
    filter.protoIs(c.proto);
    filter.tcpFlagIs(TcpFlag(c.flags));
    filter.icmpTypeIs(c.icmpType);
    filter.icmpCodeIs(c.icmpCode);
    filter.ttlIs(65);  // what is not matched is not shown
    filter.dscpIs(9);
    for (bool const never : {false, true}) {
      filter.matchProtoIs(never);
      filter.establishedIs(never);
      filter.l4RuleIs(never);
      EXPECT_EQ(filter.toStr().view(), head + c.text);
    }
  }

  std::ostringstream out;
  IpRuleConfig rule = distinctRule();
  out << std::hex << rule.filter() << '\n' << rule << '\n';
  IpFilter filter;
  filter.includeTtlIs(true);
  filter.matchDscpIs(true);
  filter.fragmentsIs(true);
  rule.filterIs(filter);
  rule.actionIs(static_cast<Acl::Action>(7));
  rule.logIs(true);
  MacFilter zero;
  zero.protoIs(0);
  out << rule << '\n'
      << MacFilter() << '\n'
      << zero << '\n'
      << distinctMacRule() << '\n'
      << AceIndex(10, 0, 4294967295);
  std::string const text =
      "(sip=10.0.0.0/8, dip=2001:db8::/32, sport=[1, 2], dport=[4660, 65534], proto=58, icmpType=128, icmpCode=258, "
      "TTL=200, DSCP=46)";
  std::string const macs =
      "(src=00:00:00:00:00:00, srcMask=00:00:00:00:00:00, dst=00:00:00:00:00:00, "
      "dstMask=00:00:00:00:00:00, proto=";
  EXPECT_EQ(out.str(), text + "\n(filter=" + text + ", action=permit, log=false)\n(filter=" + head +
                           "0, TTL=0, DSCP=0, IPFrag), action=Action(7), log=true)\n" + macs + "ANY)\n" + macs +
                           "0)\n(filter=(src=00:00:5e:00:53:01, srcMask=ff:ff:ff:ff:ff:fe, dst=00:00:5e:00:53:02, "
                           "dstMask=ff:ff:ff:00:00:00, proto=2054), action=deny, log=true)\n10.0.4294967295");
  EXPECT_EQ(IpFilter().convertProtoEnumToValue(Dorix::ipProtoSctp), 132);
}

}  // namespace
