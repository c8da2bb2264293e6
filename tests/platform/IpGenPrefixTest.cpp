#include "platform/Dorix/IpGenPrefix.h"

#include <iterator>
#include <sstream>

#include "tests/Contracts.h"
#include "tests/Vectors.h"

namespace {

using Dorix::IpBytes;
using Dorix::IpFamily;
using Dorix::IpGenPrefix;
using Kro::RangeException;
using namespace VornTest;

IpGenPrefix prefix(std::string const& text) { return IpGenPrefix(String8(std::string_view(text))); }

constexpr IpBytes allOnes() {
  IpBytes bytes{};
  bytes.fill(0xff);
  return bytes;
}

TEST(IpGenPrefix, KeepsTheContractsOfValues) {
  std::istringstream texts(R"(
      0.0.0.0/0 0.0.0.0/32 10.0.0.0/7 10.0.0.0/8 10.1.0.0/16 127.255.255.255/32 128.0.0.0/1 192.0.2.1/32
      255.255.255.255/32 ::/0 ::/128 ::1/128 0:0:0:1::/64 a00::/8 2001:db8::/32 2001:db8::/33 2001:db8::1/128
      ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128)");
  std::vector<IpGenPrefix> samples(1);
  for (std::string text; texts >> text;) {
    samples.push_back(prefix(text));
  }
  checkAscendingValues(samples);
  for (auto const& row : vectorsOf("IpGenPrefix")) {
    EXPECT_EQ(prefix(row.fields[0] == "-" ? "" : row.fields[0]).hash(), row.hash) << row.fields[0];
  }
}

TEST(IpGenPrefix, ReadsAndWritesTexts) {
  // Examples of RFC 5952, sections 2 and 4, and what stands at the bounds of each rule: read, written.
  std::istringstream pairs(R"(
      255.255.255.255/32 255.255.255.255/32   2001:0db8:0:0:1:0:0:1/128 2001:db8::1:0:0:1/128
      2001:db8::0:1:0:0:1/128 2001:db8::1:0:0:1/128   2001:DB8:0:0:1::1/128 2001:db8::1:0:0:1/128
      2001:db8:aaaa:bbbb:cccc:dddd::1/128 2001:db8:aaaa:bbbb:cccc:dddd:0:1/128
      2001:db8:0:1:1:1:1:1/128 2001:db8:0:1:1:1:1:1/128   2001:0:0:1:0:0:0:1/128 2001:0:0:1::1/128
      0:0:1:0:0:0:0:0/48 0:0:1::/48   0:0:0:0:0:0:0:0/0 ::/0   0:0:0:0:0:0:0:1/128 ::1/128
      1:2:3:4:5:6:7::/128 1:2:3:4:5:6:7:0/128   ::2:3:4:5:6:7:8/128 0:2:3:4:5:6:7:8/128
      1:2:3:4:5:6:0:0/96 1:2:3:4:5:6::/96   ::1.2.3.4/128 ::102:304/128   ::ffff:192.0.2.1/128 ::ffff:c000:201/128
      1:2:3:4:5:6:192.0.2.1/128 1:2:3:4:5:6:c000:201/128)");
  for (std::string read, written; pairs >> read >> written;) {
    EXPECT_EQ(prefix(read).stringValue().view(), written) << read;
    EXPECT_EQ(Dorix::valueToStrep(prefix(read)).view(), "'" + written + "'");
    std::ostringstream out;
    out << prefix(read) << IpGenPrefix();
    EXPECT_EQ(out.str(), written);
  }
  EXPECT_EQ(Dorix::valueToStrep(IpGenPrefix()).view(), "''");
}

TEST(IpGenPrefix, RefusesTexts) {
  std::vector<std::string> texts{"10.0.0.0/8 ", " 10.0.0.0/8", "10.0.0.0 /8"};
  std::istringstream words(R"(
      10.0.0/8 10.0.0.0 10.0.0.0/ /8 10.0.0.0/33 10.0.0.0/-1 10.0.0.0/+8 10.0.0.0/08 10.0.0.0/8/8 10.0.0.0/4294967304
      010.0.0.0/8 256.0.0.0/8 10.0.0.0.0/8 10..0.0/8 .10.0.0/8 10.0.0./8 0x0a.0.0.0/8 10.0.0.0%1/8 10.0.0.0/255.0.0.0
      167772160/8 10.0.0.1/8 10.0.0.0/6 0.0.0.1/0 10.0.0.1/31 :: ::/129 ::/007 ::1/127 2001:db8::/28 0:0:0:1::/63
      0:0:0:0:8000::/64 1::/0 :/0 :::/0 ::1::/128 1:::2/128 1::2::3/128 :1:2:3:4:5:6:7:8/128 1:2:3:4:5:6:7:8:/128
      1:2:3:4:5:6:7/128 1:2:3:4:5:6:7:8:9/128 1:2:3:4::5:6:7:8/128 ::1:2:3:4:5:6:7:8/128 12345::/16 00001::/128 g::/16
      0x1::/128 fe80::1%eth0/128 1.2.3.4::/128 ::1.2.3/128 ::1.2.3.4:5/128 ::01.2.3.4/128 ::1.2.3.256/128
      1:2:3:4:5:6:7:1.2.3.4/128 ::1:2:3:4:5:6:7:1.2.3.4/128 1:2:3:4:5:1.2.3.4/128 1:2:3:4:5:6::1.2.3.4/128
      ::0.0.0.0.0/8)");
  texts.insert(texts.end(), std::istream_iterator<std::string>(words), {});
  for (std::string const& text : texts) {
    std::string const message = "not an IP prefix: \"" + text + "\"";
    EXPECT_EQ(messageOf<RangeException>([&] { prefix(text); }), message);
    String8 const quoted(std::string_view("'" + text + "'"));
    EXPECT_EQ(messageOf<RangeException>([&] { Kro::strepToValue<IpGenPrefix>(quoted); }), message);
  }
  EXPECT_THROW(prefix(std::string("10.0.0.0/8\0", 11)), RangeException);
  EXPECT_THROW(Kro::strepToValue<IpGenPrefix>("10.0.0.0/8"), RangeException) << "without quotes";
}

TEST(IpGenPrefix, ClearsBitsBeyondEachLength) {
  for (auto const& [family, bits] : {std::pair(IpFamily::ipv4, 32U), std::pair(IpFamily::ipv6, 128U)}) {
    for (std::uint32_t length = 0; length <= bits; ++length) {
      IpGenPrefix const made = IpGenPrefix::fromBytes(family, allOnes(), length);
      for (std::uint32_t bit = 0; bit < 128; ++bit) {
        bool const isSet = ((unsigned{made.addressBytes()[bit / 8]} >> (7U - bit % 8U)) & 1U) != 0;
        ASSERT_EQ(isSet, bit < length) << "bit " << bit << " of length " << length;
      }
      EXPECT_EQ(std::pair(made.family(), made.length()), std::pair(family, length));
      // In the log each bit beyond the length is an error by itself.
      Bytes const log = logBytes(made);
      EXPECT_TRUE(fromLogBytes<IpGenPrefix>(log) == made);
      for (std::uint32_t bit = length; bit < bits; ++bit) {
        Bytes altered = log;
        altered[2 + bit / 8] = static_cast<std::uint8_t>(altered[2 + bit / 8] | (0x80U >> bit % 8));
        ASSERT_THROW(fromLogBytes<IpGenPrefix>(altered), RangeException) << "bit " << bit << " of " << length;
      }
    }
  }
}

TEST(IpGenPrefix, RefusesPartsThatBreakItsRules) {
  EXPECT_TRUE(IpGenPrefix::fromBytes(IpFamily::unset, allOnes(), 0) == IpGenPrefix()) << "unset is all zero";
  auto const refusal = [](unsigned family, std::uint32_t length) {
    return messageOf<RangeException>([&] { IpGenPrefix::fromBytes(static_cast<IpFamily>(family), IpBytes{}, length); });
  };
  EXPECT_EQ(refusal(0, 1), "not an IP prefix: length 1, expected at most 0 for family 0");
  EXPECT_EQ(refusal(1, 33), "not an IP prefix: length 33, expected at most 32 for family 1");
  EXPECT_EQ(refusal(2, 0xffffffff), "not an IP prefix: length 4294967295, expected at most 128 for family 2");
  EXPECT_EQ(refusal(3, 0), "not an IP prefix: family 3, expected 0, 1 or 2");
}

TEST(IpGenPrefix, StandsInTheLogAsFamilyLengthAddress) {
  EXPECT_EQ(logBytes(IpGenPrefix()), (Bytes{0}));
  EXPECT_EQ(logBytes(prefix("2001:db8::1/128")),
            (Bytes{2, 128, 0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
  auto const refusal = [](Bytes bytes, std::size_t size) {
    bytes.resize(size);
    return messageOf<RangeException>([&] { fromLogBytes<IpGenPrefix>(bytes); });
  };
  EXPECT_EQ(refusal({3}, 6), "not an IP prefix: family 3, expected 0, 1 or 2");
  EXPECT_EQ(refusal({2, 129}, 18), "not an IP prefix: length 129, expected at most 128 for family 2");
  EXPECT_EQ(refusal({1, 8, 10, 0, 0, 1}, 6), "not an IP prefix: \"10.0.0.1/8\", expected no bits beyond the length");
}

TEST(IpGenPrefix, GivesItsPartsAndContainsAddresses) {
  auto const address = prefix("10.1.2.3/32").ipGenAddr();
  EXPECT_EQ(address.v4Addr().number(), 0x0a010203U);
  EXPECT_EQ(prefix("10.1.2.3/32").v4Prefix().length(), 32U);
  EXPECT_TRUE(prefix("0.0.0.0/0").v4Prefix().contains(address.v4Addr()));
  EXPECT_FALSE(prefix("10.1.2.2/32").v4Prefix().contains(address.v4Addr()));
  IpGenPrefix const net = prefix("1:2:3:4:8000::/65");
  EXPECT_TRUE(net.v6Prefix().contains(prefix("1:2:3:4:8000::1/128").ipGenAddr().v6Addr()));
  EXPECT_FALSE(net.v6Prefix().contains(prefix("1:2:3:4::1/128").ipGenAddr().v6Addr()));
  EXPECT_NE(prefix("10.0.0.0/8").ipGenAddr(), prefix("a00::/8").ipGenAddr()) << "same bytes, other family";
}

}  // namespace
