// Ports, protocols, Ethernet addresses and the external key of an access-control list.
#include <sstream>

#include "platform/Dorix/EthAddr.h"
#include "platform/Dorix/IpProto.h"
#include "platform/Dorix/IpProtocolNumber.h"
#include "platform/Dorix/Port.h"
#include "platform/Zil/AclKey.h"
#include "tests/Reading.h"
#include "tests/Vectors.h"

namespace {

using Dorix::EthAddr;
using Dorix::IpProto;
using Dorix::Port;
using namespace VornTest;
using Zil::AclKey;

EthAddr ethAddr(char const* text) { return EthAddr(String8(text)); }

TEST(NetworkValues, KeepTheContractsOfValues) {
  checkAscendingValues<Port>({0, 1, 255, 256, 0x7fff, 0x8000, 65535});
  checkAscendingValues<IpProto>({0, 1, 127, 128, 255});
  std::vector<EthAddr> addrs(1);
  for (char const* text : {"00:00:00:00:00:01", "00:00:00:00:01:00", "00:00:00:01:00:00", "00:00:01:00:00:00",
                           "00:01:00:00:00:00", "7f:ff:ff:ff:ff:ff", "80:00:00:00:00:00", "ff:ff:ff:ff:ff:ff"}) {
    addrs.push_back(ethAddr(text));
  }
  checkAscendingValues(addrs);
  EXPECT_EQ(logBytes(Port(0x0102)), (Bytes{1, 2}));
  EXPECT_EQ(logBytes(ethAddr("00:00:5e:00:53:01")), (Bytes{0, 0, 0x5e, 0, 0x53, 1}));
  std::ostringstream out;
  out << std::hex << std::showbase << Port(65535) << ' ' << IpProto(65) << ' ' << ethAddr("00:00:5e:00:53:01") << ' '
      << Dorix::ipProtoTcp;
  EXPECT_EQ(out.str(), "65535 65 00:00:5e:00:53:01 ipProtoTcp") << "whatever the stream is set to";
}

TEST(NetworkValues, AreReadFromText) {
  expectOutcome(reread<Port>, "65535", {"65535", "+65535"});
  expectOutcome(reread<Port>, "expected a port from 0 to 65535 at column 0", {"65536", "-1", "4294967296"});
  expectOutcome(reread<Port>, "expected an integer at column 0", {"eighty"});
  expectOutcome(reread<IpProto>, "255", {"255"});
  expectOutcome(reread<IpProto>, "expected an IP protocol from 0 to 255 at column 0", {"256", "-1", "4294967302"});
  expectOutcome(reread<EthAddr>, "'0a:bc:de:f0:12:9f'", {"'0A:bC:de:F0:12:9f'"});
  for (std::string const text :
       {"", "00:00:5e:00:53", "00:00:5e:00:53:1", "00:00:5e:00:53:01:", "00:00:5e:00:53:01:02", "00-00-5e-00-53-01",
        "00:00:5g:00:53:01", "00:00:5e:00:53:0g", "00:0:05e:00:53:01", " 0:00:5e:00:53:01", "-1:00:5e:00:53:01"}) {
    expectOutcome(reread<EthAddr>, "not an Ethernet address: \"" + text + "\"", {("'" + text + "'").c_str()});
  }
  EXPECT_THROW(Kro::strepToValue<EthAddr>("00:00:5e:00:53:01"), Kro::RangeException) << "without quotes";
  String8 const text("sport=70000");
  auto it = text.begin();
  it.indexIs(6);
  EXPECT_EQ(messageOf<Kro::RangeException>([&] { Port(it, text.end()); }),
            "expected a port from 0 to 65535 at column 6");
}

TEST(NetworkValues, HashAsTheReferenceDoes) {
  for (auto const& row : vectorsOf("IpProto")) {
    EXPECT_EQ(IpProto(static_cast<std::uint8_t>(row.number(0))).hash(), row.hash);
  }
  for (auto const& row : vectorsOf("EthAddr")) {
    EXPECT_EQ(ethAddr(row.fields[0].c_str()).hash(), row.hash) << row.fields[0];
  }
  // In a record a port counts with its two bytes, a protocol with its hash: the reference of a record of two ports is
  // the hash of a plain 32-bit one.
  Kro::Hash mixed;
  Kro::Codec<Port>::mix(mixed, Port(0x0201));
  Kro::Codec<Port>::mix(mixed, Port(0x0403));
  Kro::Codec<IpProto>::mix(mixed, IpProto(6));
  Kro::Hash plain;
  plain.mixInteger(0x04030201, 4);
  plain.mixInteger(IpProto(6).hash(), 4);
  EXPECT_EQ(mixed.value(), plain.value());
}

TEST(AclKey, IsAValueWithItsForms) {
  String8 const withNul(std::string_view("a\0b", 3));
  checkAscendingValues<AclKey>({{}, {Acl::ip, "a"}, {Acl::ip, withNul}, {Acl::ip, "ab"}, {Acl::ipv6, ""}});
  EXPECT_TRUE(AclKey(static_cast<Acl::AclType>(-1), "z") < AclKey()) << "kinds order as signed numbers";
  AclKey const key(Acl::ipv6, "it's");
  std::ostringstream out;
  out << key << ' ' << AclKey(static_cast<Acl::AclType>(9), "x");
  EXPECT_EQ(out.str(), "ipv6:it's AclType(9):x");
  EXPECT_EQ(Zil::valueToStrep(key).view(), "Value('Zil::AclKey', ** {'aclType': 'ipv6', 'aclName': 'it\\'s'})");
  EXPECT_EQ(logBytes(key), (Bytes{0, 0, 0, 1, 0, 0, 0, 4, 'i', 't', '\'', 's'}));
  Kro::Hash expected;
  expected.mixInteger(1, 4);
  expected.mixInteger(key.aclName().hash(), 4);
  EXPECT_EQ(key.hash(), expected.value());
  expectOutcome(reread<AclKey>, "aclType: AclType", {"Value('Zil::AclKey', ** {'aclType': 'arp'})"});
  Bytes const unknown{0, 0, 0, 3, 0, 0, 0, 0};
  EXPECT_EQ(messageOf<Kro::RangeException>([&] { fromLogBytes<AclKey>(unknown); }), "AclType");
}

TEST(AclKey, HoldsTheLimitOfStrings) {
  Bytes const log = logBytes(AclKey(Acl::ip, "12345678"));
  Kro::Ptr<Kro::NboAttrLog::In> const in = Kro::adopt(new Kro::NboAttrLog::In(log, 8));
  EXPECT_EQ(Kro::NboAttrLog::nextValue<AclKey>(*in).aclName().length(), 8U);
  in->payloadIs(log);
  in->maxStringIs(7);
  EXPECT_THROW(AclKey(in.get(), Kro::StreamBogon()), Kro::AttrLogEntityException);
  auto const read = [](Bytes const& bytes) {
    Kro::InCursor cursor(bytes.data(), bytes.data() + bytes.size());
    AclKey const key = AclKey::fromLog(cursor);
    EXPECT_EQ(cursor.remaining(), 0U);
    return key;
  };
  EXPECT_TRUE(read(log) == AclKey(Acl::ip, "12345678"));
  // A length that the bytes do not hold is refused before anything is allocated, with and without an input.
  Bytes const huge{0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 'x'};
  EXPECT_THROW(fromLogBytes<AclKey>(huge), Kro::AttrLogEntityException);
  EXPECT_THROW(read(huge), Kro::AttrLogEntityException);
  Bytes tooLong{0, 0, 0, 0, 0, 0x10, 0, 1};  // one byte more than the default limit, and all of them are there
  tooLong.resize(tooLong.size() + 0x100001);
  EXPECT_THROW(read(tooLong), Kro::AttrLogEntityException);
}

}  // namespace
