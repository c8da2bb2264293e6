// Enumerations of access-control lists and the external key.
#include <sstream>

#include "platform/Acl/AclDirection.h"
#include "platform/Acl/AclType.h"
#include "platform/Acl/Action.h"
#include "platform/Dorix/EthAddr.h"
#include "platform/Dorix/IpGenPrefix.h"
#include "platform/Dorix/IpProto.h"
#include "platform/Dorix/IpProtocolNumber.h"
#include "platform/Dorix/Port.h"
#include "platform/Zil/AclKey.h"
#include "tests/Contracts.h"

namespace {

using Kro::RangeException;
using Kro::String8;
using VornTest::Bytes;
using VornTest::messageOf;
using Zil::AclKey;

template <class E>
struct Names {
  std::vector<std::pair<int, char const*>> names;
  std::string bareName;
  E (*byNumber)(unsigned);
  E (*byName)(String8 const&);
};

template <class E>
void checkEnumeration(Names<E> const& told) {
  std::vector<E> all;
  for (auto const& [number, name] : told.names) {
    E const value = told.byNumber(static_cast<unsigned>(number));
    EXPECT_EQ(static_cast<int>(value), number);
    EXPECT_EQ(told.byName(name), value);
    std::ostringstream out;
    out << std::hex << value;
    EXPECT_EQ(out.str(), name);
    EXPECT_EQ(stringValue(value).view(), name);
    EXPECT_TRUE(valueToStrep(value) == "'" + String8(name) + "'");
    EXPECT_EQ(VornTest::logBytes(value), (Bytes{0, 0, 0, static_cast<std::uint8_t>(number)}));
    all.push_back(value);
  }
  VornTest::checkValue(all);
  EXPECT_EQ(kroEnumerators(E{}).all.size(), all.size());

  auto const unknown = static_cast<E>(-7);
  EXPECT_EQ(stringValue(unknown).view(), told.bareName + "(-7)");
  EXPECT_EQ(messageOf<RangeException>([&] { told.byNumber(255); }), told.bareName);
  EXPECT_EQ(messageOf<RangeException>([&] { told.byNumber(0xffffffff); }), told.bareName);
  for (char const* name : {"", "Permit", "ip ", "none", "0", "deny(0)"}) {
    EXPECT_EQ(messageOf<RangeException>([&] { told.byName(name); }), told.bareName) << name;
  }
  Bytes const unknownInLog = VornTest::logBytes(unknown);
  EXPECT_EQ(unknownInLog, (Bytes{0xff, 0xff, 0xff, 0xf9}));
  EXPECT_EQ(messageOf<RangeException>([&] { VornTest::fromLogBytes<E>(unknownInLog); }), told.bareName);
}

TEST(PlatformEnumerations, HaveTheirNumbersAndNames) {
  checkEnumeration<Acl::AclType>(
      {{{0, "ip"}, {1, "ipv6"}, {2, "mac"}}, "AclType", Acl::AclTypeInstance, Acl::AclTypeInstance});
  checkEnumeration<Acl::Action>({{{0, "deny"}, {1, "permit"}}, "Action", Acl::ActionInstance, Acl::ActionInstance});
  checkEnumeration<Acl::AclDirection>(
      {{{0, "in"}, {1, "out"}}, "AclDirection", Acl::AclDirectionInstance, Acl::AclDirectionInstance});
  checkEnumeration<Dorix::IpProtocolNumber>({{{1, "ipProtoIcmp"},
                                              {2, "ipProtoIgmp"},
                                              {6, "ipProtoTcp"},
                                              {17, "ipProtoUdp"},
                                              {47, "ipProtoGre"},
                                              {50, "ipProtoEsp"},
                                              {51, "ipProtoAh"},
                                              {58, "ipProtoIcmpv6"},
                                              {89, "ipProtoOspf"},
                                              {103, "ipProtoPim"},
                                              {112, "ipProtoVrrp"},
                                              {132, "ipProtoSctp"}},
                                             "IpProtocolNumber",
                                             Dorix::IpProtocolNumberInstance,
                                             Dorix::IpProtocolNumberInstance});
}

TEST(PlatformTypes, HaveOneTypeObjectEach) {
  struct Case {
    Kro::Ptr<Kro::KroType const> (*type)();
    char const* fullName;
  };
  for (Case const& c : std::initializer_list<Case>{{Dorix::Port::_fwkType, "Dorix::Port"},
                                                   {Dorix::IpProto::_fwkType, "Dorix::IpProto"},
                                                   {Dorix::IpGenPrefix::_fwkType, "Dorix::IpGenPrefix"},
                                                   {Dorix::EthAddr::_fwkType, "Dorix::EthAddr"},
                                                   {Dorix::_fwkType_IpProtocolNumber, "Dorix::IpProtocolNumber"},
                                                   {Acl::_fwkType_AclType, "Acl::AclType"},
                                                   {Acl::_fwkType_Action, "Acl::Action"},
                                                   {Acl::_fwkType_AclDirection, "Acl::AclDirection"},
                                                   {Zil::AclKey::_fwkType, "Zil::AclKey"}}) {
    EXPECT_EQ(c.type()->fullName().view(), c.fullName);
    EXPECT_EQ(c.type(), c.type()) << "made once";
  }
}

TEST(AclKey, KeepsTheContractsOfValues) {
  String8 const withNul(std::string_view("a\0b", 3));
  std::vector<AclKey> const keys{
      AclKey(),        {Acl::ip, "A"},        {Acl::ip, "a"},  {Acl::ip, withNul}, {Acl::ip, "a\n'\\\t\x01\x7f"},
      {Acl::ip, "ab"}, {Acl::ip, "\xc3\xa4"}, {Acl::ipv6, ""}, {Acl::mac, "a"}};
  VornTest::checkValue(keys);
  VornTest::checkAscending(keys);
  EXPECT_TRUE(AclKey(static_cast<Acl::AclType>(-1), "z") < AclKey()) << "kinds order as signed numbers";
}

TEST(AclKey, HasItsForms) {
  AclKey const key(Acl::ipv6, "it's");
  std::ostringstream out;
  out << key << ' ' << AclKey(static_cast<Acl::AclType>(9), "x");
  EXPECT_EQ(out.str(), "ipv6:it's AclType(9):x");
  EXPECT_EQ(Zil::valueToStrep(key).view(), "Value('Zil::AclKey', ** {'aclType': 'ipv6', 'aclName': 'it\\'s'})");
  EXPECT_EQ(VornTest::logBytes(key), (Bytes{0, 0, 0, 1, 0, 0, 0, 4, 'i', 't', '\'', 's'}));
  Kro::Hash expected;
  expected.mixInteger(1, 4);
  expected.mixInteger(key.aclName().hash(), 4);
  EXPECT_EQ(key.hash(), expected.value());
}

TEST(AclKey, RefusesWhatIsNone) {
  struct Case {
    char const* text;
    char const* message;
  };
  for (Case const& c : std::initializer_list<Case>{
           {"Value('Zil::AclKey', ** {'aclType': 'arp'})", "aclType: AclType"},
           {"Value('Zil::AclKey', ** {'name': 'x'})", "AclKey has no such attribute: name"},
           {"Value('Zil::AclKey', ** {'aclType': 'ip'", "premature end of value type AclKey"}}) {
    EXPECT_EQ(messageOf<RangeException>([&] { Kro::strepToValue<AclKey>(c.text); }), c.message) << c.text;
  }
  EXPECT_EQ(messageOf<RangeException>([] { VornTest::fromLogBytes<AclKey>({0, 0, 0, 3, 0, 0, 0, 0}); }), "AclType");
}

TEST(AclKey, HoldsTheLimitOfStrings) {
  Bytes const log = VornTest::logBytes(AclKey(Acl::ip, "12345678"));
  Kro::Ptr<Kro::NboAttrLog::In> const in = Kro::adopt(new Kro::NboAttrLog::In(log, 8));
  EXPECT_EQ(Kro::NboAttrLog::nextValue<AclKey>(*in).aclName().length(), 8U);
  in->payloadIs(log);
  in->maxStringIs(7);
  EXPECT_THROW(AclKey(in.get(), Kro::StreamBogon()), Kro::AttrLogEntityException);

  // A length that the bytes do not hold is refused before anything is allocated, with and without an input.
  Bytes const huge{0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 'x'};
  EXPECT_THROW(VornTest::fromLogBytes<AclKey>(huge), Kro::AttrLogEntityException);
  Kro::InCursor cursor(huge.data(), huge.data() + huge.size());
  EXPECT_THROW(AclKey::fromLog(cursor), Kro::AttrLogEntityException);
  Bytes tooLong{0, 0, 0, 0, 0, 0x10, 0, 1};  // one byte more than the default limit, and all of them are there
  tooLong.resize(tooLong.size() + 0x100001);
  cursor = Kro::InCursor(tooLong.data(), tooLong.data() + tooLong.size());
  EXPECT_THROW(AclKey::fromLog(cursor), Kro::AttrLogEntityException);
  cursor = Kro::InCursor(log.data(), log.data() + log.size());
  EXPECT_TRUE(AclKey::fromLog(cursor) == AclKey(Acl::ip, "12345678"));
  EXPECT_EQ(cursor.remaining(), 0U);
}

}  // namespace
