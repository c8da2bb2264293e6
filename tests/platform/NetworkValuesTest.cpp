// Ports, protocols and Ethernet addresses.
#include <iomanip>
#include <sstream>

#include "platform/Dorix/EthAddr.h"
#include "platform/Dorix/IpProto.h"
#include "platform/Dorix/IpProtocolNumber.h"
#include "platform/Dorix/Port.h"
#include "tests/Contracts.h"
#include "tests/Vectors.h"

namespace {

using Dorix::EthAddr;
using Dorix::IpProto;
using Dorix::Port;
using Kro::RangeException;
using Kro::String8;
using VornTest::Bytes;
using VornTest::messageOf;

template <class T>
std::string readError(char const* text) {
  return messageOf<RangeException>([&] { Kro::strepToValue<T>(text); });
}

EthAddr ethAddr(char const* text) { return EthAddr(String8(text)); }

TEST(Port, KeepsTheContractsOfValues) {
  std::vector<Port> const ports{0, 1, 80, 255, 256, 0x7fff, 0x8000, 65535};
  VornTest::checkValue(ports);
  VornTest::checkAscending(ports);
}

TEST(IpProto, KeepsTheContractsOfValues) {
  std::vector<IpProto> const protos{0, 1, 6, 127, 128, 255};
  VornTest::checkValue(protos);
  VornTest::checkAscending(protos);
}

TEST(EthAddr, KeepsTheContractsOfValues) {
  std::vector<EthAddr> addrs;
  for (char const* text : {"00:00:00:00:00:00", "00:00:00:00:00:01", "00:00:00:00:01:00", "00:00:00:01:00:00",
                           "00:00:01:00:00:00", "00:00:5e:00:53:01", "00:01:00:00:00:00", "01:00:00:00:00:00",
                           "7f:ff:ff:ff:ff:ff", "80:00:00:00:00:00", "ff:ff:ff:ff:ff:fe", "ff:ff:ff:ff:ff:ff"}) {
    addrs.push_back(ethAddr(text));
  }
  EXPECT_TRUE(addrs.front() == EthAddr());
  VornTest::checkValue(addrs);
  VornTest::checkAscending(addrs);
}

TEST(NetworkValues, StandInTheLogInNetworkOrder) {
  EXPECT_EQ(VornTest::logBytes(Port(0x0102)), (Bytes{1, 2}));
  EXPECT_EQ(VornTest::logBytes(IpProto(132)), (Bytes{132}));
  EXPECT_EQ(VornTest::logBytes(ethAddr("00:00:5e:00:53:01")), (Bytes{0, 0, 0x5e, 0, 0x53, 1}));
}

TEST(NetworkValues, ReadNumbersAtTheirBounds) {
  EXPECT_EQ(Kro::strepToValue<Port>("0"), 0);
  EXPECT_EQ(Kro::strepToValue<Port>("+65535"), 65535);
  EXPECT_EQ(Kro::strepToValue<IpProto>("255"), 255);
  char const* const port = "expected a port from 0 to 65535 at column 0";
  for (char const* text : {"65536", "-1", "131072", "4294967296", "-9223372036854775808"}) {
    EXPECT_EQ(readError<Port>(text), port) << text;
  }
  char const* const proto = "expected an IP protocol from 0 to 255 at column 0";
  for (char const* text : {"256", "-1", "262", "4294967302"}) {
    EXPECT_EQ(readError<IpProto>(text), proto) << text;
  }
  for (char const* text : {"", " 80", "eighty", "'80'", "80 ", "0x50", "9223372036854775808"}) {
    EXPECT_THROW(Kro::strepToValue<Port>(text), RangeException) << text;
    EXPECT_THROW(Kro::strepToValue<IpProto>(text), RangeException) << text;
  }
  String8 const text("sport=70000");
  auto it = text.begin();
  it.indexIs(6);
  EXPECT_EQ(messageOf<RangeException>([&] { Port(it, text.end()); }), "expected a port from 0 to 65535 at column 6");
}

TEST(EthAddr, ReadsSixBytesOfTwoDigits) {
  EXPECT_EQ(ethAddr("0A:bC:de:F0:12:9f"), EthAddr({0x0a, 0xbc, 0xde, 0xf0, 0x12, 0x9f}));
  for (char const* text : {"", "00:00:5e:00:53", "00:00:5e:00:53:1", "00:00:5e:00:53:01:", "00:00:5e:00:53:01:02",
                           "00-00-5e-00-53-01", "0000.5e00.5301", "00:00:5g:00:53:01", "00:00:5e:00:53:0g",
                           "00:0:05e:00:53:01", " 0:00:5e:00:53:01", "-1:00:5e:00:53:01", "00:00:5e:00:53;01"}) {
    EXPECT_EQ(messageOf<RangeException>([&] { ethAddr(text); }),
              "not an Ethernet address: \"" + std::string(text) + "\"");
  }
  EXPECT_THROW(Kro::strepToValue<EthAddr>("00:00:5e:00:53:01"), RangeException) << "without quotes";
}

TEST(NetworkValues, PrintWhateverTheStreamIsSetTo) {
  std::ostringstream out;
  out << std::hex << std::showbase << Port(65535) << ' ' << IpProto(65) << ' ' << ethAddr("00:00:5e:00:53:01") << ' '
      << Dorix::ipProtoTcp;
  EXPECT_EQ(out.str(), "65535 65 00:00:5e:00:53:01 ipProtoTcp");
}

TEST(NetworkValues, HashAsTheReferenceDoes) {
  for (auto const& row : VornTest::vectorsOf("IpProto")) {
    EXPECT_EQ(IpProto(static_cast<std::uint8_t>(row.number(0))).hash(), row.hash);
  }
  for (auto const& row : VornTest::vectorsOf("EthAddr")) {
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

}  // namespace
