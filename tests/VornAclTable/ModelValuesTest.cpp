// The contract of every value type of the model. Samples are made from the attribute lists; that the lists are whole is
// itself tested, byte by byte.
#include <cstring>
#include <functional>
#include <map>
#include <sstream>

#include "VornAclTable/AceIndex.h"
#include "VornAclTable/IpRuleConfig.h"
#include "VornAclTable/MacRuleConfig.h"
#include "VornAclTypes/VornAclTypes.h"
#include "VornRootConfig/RootAction.h"
#include "platform/Acl/AclType.h"
#include "tests/Samples.h"
#include "tests/Vectors.h"

namespace {

using Kro::At;
using namespace VornTest;

template <class T>
class ModelValue : public testing::Test {};
using ModelValues =
    testing::Types<Vorn::L4PortRange, Vorn::GenRange, Vorn::ChipId, Vorn::ChipRuleListId, Vorn::AclId, Vorn::AceIndex,
                   Vorn::IpFilter::TcpFlag, Vorn::IpFilter, Vorn::IpRuleConfig, Vorn::MacFilter, Vorn::MacRuleConfig>;
TYPED_TEST_SUITE(ModelValue, ModelValues);

TYPED_TEST(ModelValue, KeepsTheContract) {
  static_assert(std::is_trivially_copyable_v<TypeParam>, "a value holds no reference to a counted object");
  auto const samples = samplesOf<TypeParam>();
  EXPECT_GE(samples.size(), 4U);
  checkOrder(samples);
  checkHash(samples);
  checkLog(samples);
  if constexpr (!std::same_as<TypeParam, Vorn::AclId>) {  // is written in three parts and read in two
    checkText(samples);
  }
}

bool isPossible(Dorix::IpGenPrefix const& prefix) {
  return prefix.family() <= Dorix::IpFamily::ipv6 && prefix.length() <= 128;
}
/// Whether a flipped bit left the invariants of the value's prefixes, without which it has no forms.
template <class T>
bool isPossible(T const& value) {
  if constexpr (requires { value.filter(); }) {
    return isPossible(value.filter());
  } else if constexpr (requires { value.destination(); }) {
    return isPossible(value.source()) && isPossible(value.destination());
  } else if constexpr (requires { value.ipGenPrefix(); }) {
    return isPossible(value.ipGenPrefix());
  }
  return true;
}

TYPED_TEST(ModelValue, ForgetsNoByteThatMakesADifference) {
  // A prefix without a family has no bytes in its forms, so each prefix has one.
  TypeParam base;
  Vorn::IpFilter filter;
  filter.sourceIs(Dorix::IpGenPrefix(String8("::2/127")));
  filter.destinationIs(Dorix::IpGenPrefix(String8("::4/127")));
  if constexpr (std::same_as<TypeParam, Vorn::GenRange>) {
    base = TypeParam({1, 3}, filter.source(), Vorn::ipRange);
  } else if constexpr (std::same_as<TypeParam, Vorn::IpRuleConfig>) {
    base.filterIs(filter);
  } else if constexpr (std::same_as<TypeParam, Vorn::IpFilter>) {
    base = filter;
  }
  std::size_t differences = 0;
  for (std::size_t at = 0; at < sizeof(TypeParam); ++at) {
    unsigned char bytes[sizeof(TypeParam)];
    std::memcpy(bytes, &base, sizeof base);
    bytes[at] ^= 1U;  // the one bit that leaves a bool a bool
    TypeParam flipped;
    std::memcpy(static_cast<void*>(&flipped), bytes, sizeof flipped);
    if (flipped == base || !isPossible(flipped)) {
      continue;
    }
    ++differences;
    SCOPED_TRACE("byte " + std::to_string(at));
    EXPECT_FALSE(Kro::valueToStrep(flipped) == Kro::valueToStrep(base));
    EXPECT_NE(logBytes(flipped), logBytes(base));
    EXPECT_NE(flipped.hash(), base.hash());
    EXPECT_NE(flipped < base, base < flipped);
  }
  EXPECT_GT(differences, 0U);
}

TYPED_TEST(ModelValue, SetsTheAttributeThatEachMutatorNames) {
  [&]<std::size_t... I>(std::index_sequence<I...>) {
    auto const set = [&]<std::size_t J>(std::integral_constant<std::size_t, J>) {
      if constexpr (!std::same_as<decltype(At<TypeParam, J>::Descriptor::set), std::nullptr_t>) {
        for (TypeParam const& expected : withEach<TypeParam, J>(TypeParam())) {
          TypeParam value;
          (value.*At<TypeParam, J>::info.set)(At<TypeParam, J>::of(expected));
          EXPECT_TRUE(value == expected) << At<TypeParam, J>::info.name << ' ' << Kro::valueToStrep(value);
        }
      }
    };
    (set(std::integral_constant<std::size_t, I>()), ...);
  }
  (Kro::StoredPositions<TypeParam>());
}

/// The hash of the value whose stored attributes are the numbers of the row.
template <class T>
std::uint32_t hashOf(Vector const& row) {
  T value;
  [&]<std::size_t... I>(std::index_sequence<I...>) {
    std::size_t field = 0;
    auto const number = [&]<class F>(F& to) {
      to = static_cast<F>(static_cast<Kro::detail::UnsignedOfWidth<F>>(row.number(field++)));
    };
    (number(At<T, I>::of(value)), ...);
  }
  (Kro::StoredPositions<T>());
  return value.hash();
}

TEST(ModelValues, HashAsTheReferenceDoes) {
  auto const ip = Kro::strepToValue<Vorn::IpFilter>(
      "Value('Vorn::IpFilter', ** {'source': '10.0.0.0/8', 'destination': '192.0.2.1/32', 'proto': 6, 'matchProto': "
      "true, 'sportRange': Value('Vorn::L4PortRange', ** {'rangeEnd': 65535}), 'dportRange': Value("
      "'Vorn::L4PortRange', ** {'rangeStart': 443, 'rangeEnd': 443}), 'tcpFlag': Value('Vorn::IpFilter::TcpFlag', ** "
      "{'value': 18}), 'l4Rule': true})");
  auto const mac = Kro::strepToValue<Vorn::MacFilter>(
      "Value('Vorn::MacFilter', ** {'sourceAddr': '00:00:5e:00:53:01', 'sourceMask': 'ff:ff:ff:ff:ff:ff', 'proto': "
      "2054})");
  Vorn::IpRuleConfig rule;
  rule.filterIs(ip);
  rule.actionIs(Acl::permit);
  rule.logIs(true);
  using Hash = std::function<std::uint32_t(Vector const&)>;
  auto const of = [](auto const& value) { return Hash([h = value.hash()](auto const&) { return h; }); };
  auto const ofPorts = [](Vector const& row) {
    auto const end = [&](std::size_t i) { return static_cast<std::uint16_t>(row.number(i)); };
    return Vorn::GenRange({end(0), end(1)}, {}, Vorn::portRange).hash();
  };
  std::map<std::string, Hash> const hashes{{"L4PortRange", hashOf<Vorn::L4PortRange>},
                                           {"ChipId", hashOf<Vorn::ChipId>},
                                           {"AclId", hashOf<Vorn::AclId>},
                                           {"AceIndex", hashOf<Vorn::AceIndex>},
                                           {"TcpFlag", hashOf<Vorn::IpFilter::TcpFlag>},
                                           {"GenRange.port", ofPorts},
                                           {"GenRange.unknown", of(Vorn::GenRange())},
                                           {"IpFilter.default", of(Vorn::IpFilter())},
                                           {"IpFilter.F", of(ip)},
                                           {"MacFilter.M", of(mac)},
                                           {"IpRuleConfig.F", of(rule)},
                                           {"MacRuleConfig.default", of(Vorn::MacRuleConfig())}};
  for (auto const& [type, hash] : hashes) {
    for (Vector const& row : vectorsOf(type)) {
      EXPECT_EQ(hash(row), row.hash) << type << ' ' << testing::PrintToString(row.fields);
    }
  }
}

/// `table` tells the numbers and names.
template <class E>
void checkEnumeration(std::string const& bareName, std::string const& table, E (*byNumber)(unsigned),
                      E (*byName)(String8 const&)) {
  std::istringstream names(table);
  std::string name;
  std::size_t count = 0;
  for (unsigned number = 0; names >> number >> name; ++count) {
    E const value = byNumber(number);
    EXPECT_EQ(static_cast<unsigned>(value), number);
    EXPECT_EQ(byName(String8(name.c_str())), value);
    std::ostringstream out;
    out << std::hex << value << ' ' << stringValue(value) << ' ' << Kro::valueToStrep(value);
    EXPECT_EQ(out.str(), name + " " + name + " '" + name + "'");
    EXPECT_EQ(logBytes(value), (Bytes{0, 0, 0, static_cast<std::uint8_t>(number)}));
  }
  EXPECT_EQ(samplesOf<E>().size(), count);
  checkOrder(samplesOf<E>());
  checkText(samplesOf<E>());
  checkLog(samplesOf<E>());
  auto const unknown = static_cast<E>(-7);
  EXPECT_EQ(stringValue(unknown).view(), bareName + "(-7)");
  auto const error = [](auto action) { return messageOf<Kro::RangeException>(action); };
  EXPECT_EQ(error([&] { byNumber(0xffffffffU); }), bareName);
  for (char const* text : {"", "Permit", "ip ", "0"}) {
    EXPECT_EQ(error([&] { byName(text); }), bareName) << text;
  }
  EXPECT_EQ(error([&] { fromLogBytes<E>(logBytes(unknown)); }), bareName);
}

TEST(Enumerations, HaveTheirNumbersAndNames) {
#define CHECK_ENUMERATION(scope, E, table) checkEnumeration<scope::E>(#E, table, scope::E##Instance, scope::E##Instance)
  CHECK_ENUMERATION(Acl, AclType, "0 ip 1 ipv6 2 mac");
  CHECK_ENUMERATION(Acl, Action, "0 deny 1 permit");
  CHECK_ENUMERATION(Acl, AclDirection, "0 in 1 out");
  CHECK_ENUMERATION(Dorix, IpProtocolNumber,
                    "1 ipProtoIcmp 2 ipProtoIgmp 6 ipProtoTcp 17 ipProtoUdp 47 ipProtoGre 50 ipProtoEsp 51 ipProtoAh "
                    "58 ipProtoIcmpv6 89 ipProtoOspf 103 ipProtoPim 112 ipProtoVrrp 132 ipProtoSctp");
  CHECK_ENUMERATION(Vorn, GenRangeType, "0 unknownRange 1 ipRange 2 portRange");
  CHECK_ENUMERATION(Vorn, TableType, "0 invalid 1 ipv4PAcl 2 ipv4RAcl 3 ipv6PAcl 4 ipv6RAcl 5 macAcl");
  CHECK_ENUMERATION(Vorn, RootAction, "0 vornCompute 1 vornLoad 2 vornAbort");
}

}  // namespace
