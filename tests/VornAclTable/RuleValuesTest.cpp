// Rules, their filters and positions. The contract that all values share is tested elsewhere.
#include <sstream>

#include "VornAclTable/AceIndex.h"
#include "VornAclTable/IpRuleConfig.h"
#include "VornAclTable/MacRuleConfig.h"
#include "tests/Reading.h"

namespace {

using Vorn::AceIndex;
using Vorn::IpFilter;
using Vorn::IpRuleConfig;
using Vorn::MacFilter;
using Vorn::MacRuleConfig;
using TcpFlag = IpFilter::TcpFlag;
using namespace VornTest;

// A rule of one kind is no rule of the other; a number is no flag set until it was checked.
static_assert(!std::equality_comparable_with<IpRuleConfig, MacRuleConfig>);
static_assert(!std::is_convertible_v<std::uint32_t, TcpFlag>);

char const* const flagError = "TcpFlag::value > 0x3f not allowed";
char const* const dscpError = "IpFilter::dscp < 0 or > 63 not allowed";

/// The record of type `T` that has these attributes.
template <class T>
T record(std::string_view attributes) {
  String8 const name(T::Attributes::typeName);
  return Kro::strepToValue<T>("Value('" + name + "', ** {" + String8(attributes) + "})");
}

// No two attributes of these are alike.
#define TCPFLAG "'tcpFlag': Value('Vorn::IpFilter::TcpFlag', ** {"
#define FILTER "'filter': Value('Vorn::IpFilter', ** {"
constexpr std::string_view ipText = FILTER
    "'source': '10.0.0.0/8', 'destination': '2001:db8::/32', 'fragments': false, 'dscp': 46, 'matchDscp': true, "
    "'proto': 58, 'matchProto': false, 'sportRange': Value('Vorn::L4PortRange', ** {'rangeStart': 1, 'rangeEnd': 2}), "
    "'dportRange': Value('Vorn::L4PortRange', ** {'rangeStart': 4660, 'rangeEnd': 65534}), 'ttl': 200, 'includeTtl': "
    "true, " TCPFLAG
    "'fin': false, 'syn': true, 'rst': false, 'psh': false, 'ack': true, 'urg': false, 'value': 18}), "
    "'established': false, 'icmpType': 128, 'icmpCode': 258, 'l4Rule': true}), "
    "'action': 'permit', 'log': false, 'count': true";
constexpr std::string_view macText =
    "'filter': Value('Vorn::MacFilter', ** {'sourceAddr': '00:00:5e:00:53:01', 'sourceMask': 'ff:ff:ff:ff:ff:fe', "
    "'destinationAddr': '00:00:5e:00:53:02', 'destinationMask': 'ff:ff:ff:00:00:00', 'proto': 2054}), 'action': "
    "'deny', 'log': true, 'count': false";
IpRuleConfig const ipRule = record<IpRuleConfig>(ipText);
MacRuleConfig const macRule = record<MacRuleConfig>(macText);

TEST(RuleValues, GiveBackWhatWasRead) {
  EXPECT_EQ(Kro::valueToStrep(ipRule).view(), "Value('Vorn::IpRuleConfig', ** {" + std::string(ipText) + "})");
  EXPECT_EQ(Kro::valueToStrep(macRule).view(), "Value('Vorn::MacRuleConfig', ** {" + std::string(macText) + "})");
  EXPECT_EQ(Kro::valueToStrep(AceIndex(4294967295, 0, 7)).view(),
            "Value('Vorn::AceIndex', ** {'ruleId': 4294967295, 'subRuleId': 0, 'subIndex': 7})");
  IpFilter const f = ipRule.filter();
  EXPECT_EQ(f.source().stringValue() + " " + f.destination().stringValue(), "10.0.0.0/8 2001:db8::/32");
  EXPECT_EQ(f.sportRange().stringValue() + f.dportRange().stringValue(), "[1, 2][4660, 65534]");
  EXPECT_EQ(std::tuple(f.fragments(), f.dscp(), f.matchDscp(), f.proto(), f.matchProto(), f.ttl(), f.includeTtl(),
                       f.tcpFlag().value(), f.established(), f.icmpType(), f.icmpCode(), f.l4Rule()),
            std::tuple(false, 46, true, 58, false, 200, true, 18U, false, 128, 258, true));
  MacFilter const m = macRule.filter();
  std::ostringstream parts;
  parts << m.sourceAddr() << m.sourceMask() << m.destinationAddr() << m.destinationMask() << m.proto();
  EXPECT_EQ(parts.str(), "00:00:5e:00:53:01ff:ff:ff:ff:ff:fe00:00:5e:00:53:02ff:ff:ff:00:00:002054");
  EXPECT_EQ(std::tuple(ipRule.action(), ipRule.log(), ipRule.count()), std::tuple(Acl::permit, false, true));
  AceIndex const i(1, 2, 3);
  EXPECT_EQ(std::tuple(i.ruleId(), i.subRuleId(), i.subIndex()), std::tuple(1U, 2U, 3U));
  checkAscending<AceIndex>({{1, 0, 5}, {1, 1, 0}, {1, 1, 4294967295}, {2, 0, 0}, {4294967295, 0, 0}});
}

TEST(RuleValues, StandInTheLogFieldByField) {
  EXPECT_EQ(logBytes(AceIndex(1, 0x02030405, 0xffffffff)), (Bytes{0, 0, 0, 1, 2, 3, 4, 5, 0xff, 0xff, 0xff, 0xff}));
  EXPECT_EQ(logBytes(ipRule),
            (Bytes{1,   8,  10,   0,    0,    0,                                               // source
                   2,   32, 0x20, 0x01, 0x0d, 0xb8, 0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // destination
                   0,   46, 1,    58,   0,                                                     // fragments, dscp, proto
                   0,   1,  0,    2,    0x12, 0x34, 0xff, 0xfe,                                // sportRange, dportRange
                   200, 1,  0,    0,    0,    18,                                              // ttl, tcpFlag
                   0,   0,  128,  1,    2,    1,     // established, ICMP, l4Rule
                   0,   0,  0,    1,    0,    1}));  // action, log, count
  EXPECT_EQ(logBytes(macRule),
            (Bytes{0, 0,    0x5e, 0,    0x53, 1, 0xff, 0xff, 0xff, 0xff, 0xff, 0xfe, 0, 0, 0x5e, 0, 0x53,
                   2, 0xff, 0xff, 0xff, 0,    0, 0,    0,    0,    8,    6,    0,    0, 0, 0,    1, 0}));
}

TEST(RuleValues, AreCheckedWhereTold) {
  auto const error = [](auto action) { return messageOf<Kro::RangeException>(action); };
  Bytes log = logBytes(ipRule.filter());
  log[25] = 64;
  IpFilter filter = fromLogBytes<IpFilter>(log);
  EXPECT_EQ(filter.dscp(), 64) << "the log does not check it";
  EXPECT_NO_THROW(filter.dscpIs(64)) << "it is the present value";
  EXPECT_EQ(error([&] { filter.dscpIs(65); }), dscpError);
  EXPECT_EQ(filter.dscp(), 64) << "the old value stands";
  EXPECT_NO_THROW(filter.dscpIs(63));
  EXPECT_EQ(error([&] { filter.dscpIs(64); }), dscpError);

  log[41] = 64;
  EXPECT_EQ(error([&] { fromLogBytes<IpFilter>(log); }), flagError);
  EXPECT_EQ(fromLogBytes<TcpFlag>({0, 0, 0, 64}).value(), 64U) << "alone it is not checked";
  EXPECT_EQ(TcpFlag(63).value(), 63U);
  EXPECT_EQ(error([] { TcpFlag(64); }), flagError);
  log = logBytes(ipRule);
  log[log.size() - 3] = 2;
  EXPECT_EQ(error([&] { fromLogBytes<IpRuleConfig>(log); }), "Action");
}

/// The flag whose descriptor this is has this bit, and touches no other.
template <class T, class Flags>
void checkFlag(auto const& flag, std::uint32_t bit, Flags flagsOf) {
  T value;
  for (bool const on : {true, true, false, false}) {
    (value.*flag.set)(on);
    EXPECT_TRUE(flagsOf(value) == (on ? bit : 0U) && (value.*flag.get)() == on) << flag.name;
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
  EXPECT_EQ(TcpFlag::kroUniversal.value() + TcpFlag::kroEmpty.value(), 63U);
}

TEST(RuleValues, AreReadFromText) {
  auto const index = [](auto text) { return std::string(record<AceIndex>(text.view()).toStr().view()); };
  expectOutcome(index, "4.0.0", {"'ruleId': 4", "'ruleId': 4294967300, 'subRuleId': 3, 'subRuleId': 0"});
  expectOutcome(index, "0.0.4294967295", {"'subIndex': -1"});
  expectOutcome(index, "AceIndex has no such attribute: ruleInvalid", {"'ruleInvalid': 1"});

  // Each occurrence acts on what stands by then; the check sees what stands at the end.
  auto const flags = [](auto text) { return std::to_string(record<TcpFlag>(text.view()).value()); };
  expectOutcome(flags, "0", {"", "'fin': true, 'value': 0", "'value': 1, 'fin': false"});
  expectOutcome(flags, "1", {"'value': 0, 'fin': true", "'value': 64, 'value': 1", "'value': 4294967297"});
  expectOutcome(flags, "31", {"'value': 63, 'urg': false, 'fin': true"});
  expectOutcome(flags, flagError, {"'value': 64", "'value': 64, 'fin': true", "'value': -1"});
  expectOutcome(flags, "TcpFlag has no such attribute: fin_", {"'fin_': true"});

  auto const filter = [](auto text) {
    auto const v = record<IpFilter>(text.view());
    return std::to_string(v.dscp()) + " " + std::to_string(v.ttl()) + " " + std::to_string(v.tcpFlag().value());
  };
  expectOutcome(filter, "63 0 0", {"'dscp': 63, 'ttl': 256", "'dscp': 319", "'dscp': 64, 'dscp': 63"});
  expectOutcome(filter, "0 0 2", {TCPFLAG "'syn': true})"});
  expectOutcome(filter, dscpError, {"'dscp': 64", "'dscp': -1", "'dscp': 0, 'dscp': 255"});
  expectOutcome(filter, "source: not an IP prefix: \"10.0.0.1/8\"", {"'source': '10.0.0.1/8'"});
  expectOutcome(filter, "IpFilter has no such attribute: fin", {"'fin': true"});
  expectOutcome(filter, std::string("tcpFlag: ") + flagError, {TCPFLAG "'value': 64}), " TCPFLAG "})"});

  auto const mac = [](auto text) { return std::to_string(record<MacFilter>(text.view()).proto()); };
  expectOutcome(mac, "4294967295", {"", "'proto': -1"});

  auto const rule = [](auto text) { return std::to_string(record<IpRuleConfig>(text.view()).filter().dscp()); };
  expectOutcome(rule, "0", {"", FILTER "'dscp': 5}), " FILTER "})"});
  expectOutcome(rule, std::string("filter: tcpFlag: ") + flagError, {FILTER TCPFLAG "'value': 64})})"});
}

TEST(RuleValues, PrintWhatPeopleRead) {
  auto const print = [](auto text) { return std::string(record<IpFilter>(text.view()).toStr().view()); };
  std::string const head = "(sip=, dip=, sport=[0], dport=[0], proto=";
#define ICMP(type, code) ", 'icmpType': " type ", 'icmpCode': " code
  // What is not matched is not shown, and some never is.
  expectOutcome(print, head + "0)", {TCPFLAG "'value': 63})" ICMP("8", "0"), "'ttl': 65, 'dscp': 9, 'l4Rule': true"});
  expectOutcome(print, head + "6, tcp=------)", {"'proto': 6" ICMP("8", "0"), "'proto': 6, 'established': true"});
  expectOutcome(print, head + "6, tcp=-S--A-)", {"'proto': 6, 'matchProto': true, " TCPFLAG "'value': 18})"});
  expectOutcome(print, head + "6, tcp=F-RP-U)", {"'proto': 6, " TCPFLAG "'value': 45})"});
  expectOutcome(print, head + "1, icmpType=ANY, icmpCode=ANY)", {"'proto': 1, " TCPFLAG "'value': 63})"});
  expectOutcome(print, head + "1, icmpType=65534, icmpCode=255)", {"'proto': 1" ICMP("65534", "255")});
  expectOutcome(print, head + "58, icmpType=8, icmpCode=0)", {"'proto': 58" ICMP("8", "0")});
  expectOutcome(print, head + "17, TTL=0, DSCP=0, IPFrag)",
                {"'proto': 17, 'includeTtl': true, 'matchDscp': true, 'fragments': true" ICMP("8", "0")});

  std::ostringstream out;
  out << std::hex << ipRule << '\n' << MacFilter() << '\n' << macRule << '\n' << AceIndex(10, 0, 4294967295) << '\n';
  IpRuleConfig unknown;
  unknown.actionIs(static_cast<Acl::Action>(7));
  unknown.logIs(true);
  out << unknown;
  EXPECT_EQ(out.str(),
            "(filter=(sip=10.0.0.0/8, dip=2001:db8::/32, sport=[1, 2], dport=[4660, 65534], proto=58, icmpType=128, "
            "icmpCode=258, TTL=200, DSCP=46), action=permit, log=false)\n(src=00:00:00:00:00:00, "
            "srcMask=00:00:00:00:00:00, dst=00:00:00:00:00:00, dstMask=00:00:00:00:00:00, proto=ANY)\n"
            "(filter=(src=00:00:5e:00:53:01, srcMask=ff:ff:ff:ff:ff:fe, dst=00:00:5e:00:53:02, "
            "dstMask=ff:ff:ff:00:00:00, proto=2054), action=deny, log=true)\n10.0.4294967295\n(filter=" +
                head + "0), action=Action(7), log=true)");
  EXPECT_EQ(IpFilter().convertProtoEnumToValue(Dorix::ipProtoSctp), 132);
}

}  // namespace
