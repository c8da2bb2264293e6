// Strings and names, read positions, the hash, errors, flag bits.
#include <gmock/gmock.h>

#include "runtime/core/BitSet.h"
#include "runtime/core/Exception.h"
#include "runtime/core/Hash.h"
#include "runtime/core/Name.h"
#include "tests/Contracts.h"

namespace {

using namespace std::literals;
using Kro::Exception;
using Kro::Name;
using namespace VornTest;

char const* const null = nullptr;
String8 const withNul("a\0b"sv);

TEST(String8, IsMadeFromText) {
  String8 initialised;
  initialised.init("0123456789", 2, 3);
  String8 assigned("old");
  assigned = "new";
  String8 const abc("abc");
  std::vector<std::pair<String8, std::string_view>> const made{
      {String8(null), ""},
      {"a\0b", "a"},
      {withNul, "a\0b"sv},
      {initialised, "234"},
      {assigned, "new"},
      {"d" + abc + "d", "dabcd"},
      {null + abc, "abc"},
      {withNul + withNul, "a\0ba\0b"sv},
      {abc.substr(1, 4294967295), "bc"},
      {abc.substr(-1, 2), ""},
      {abc.substr(4294967296, 1), ""},
      {Kro::format("%s", std::string(5000, 'x').c_str()).substr(4998, 9), "xx"},
      {Kro::format("%d|%lld", -1, 1LL << 40), "-1|1099511627776"}};
  for (auto const& [string, text] : made) {
    EXPECT_EQ(string.view(), text);
    EXPECT_EQ(string.length(), text.size());
    EXPECT_EQ(string.charPtr()[text.size()], '\0') << text;
  }
}

TEST(String8, ComparesByUnsignedBytesTheShorterFirst) {
  EXPECT_TRUE(String8() == null && "a" != String8("A"));
  EXPECT_FALSE(String8("a") == null || withNul == "a\0b") << "what holds a NUL equals no C text";
  std::vector<String8> const ascending{"", "A", "a", withNul, "ab", "b", "\x7f", "\x80", "\xff"};
  checkAscending(ascending);
  checkAscending(std::vector<Name>(ascending.begin(), ascending.end()));
}

TEST(String8, SharesItsBlockAndNeverChangesIt) {
  String8 const original("shared");
  {
    String8 copy = original;
    EXPECT_EQ(original.charPtr(), Name(copy).string().charPtr());
    EXPECT_EQ(original.data().countWord(), 2U);
    copy += "!";
    copy += copy;
    EXPECT_EQ(copy.view(), "shared!shared!");
  }
  EXPECT_EQ(original.view(), "shared");
  EXPECT_EQ(original.data().countWord(), 1U);
  EXPECT_EQ(&String8().data(), &String8("").data()) << "one block stands for every empty string";
  for (auto const& [index, eot] : {std::pair(-1, false), {0, false}, {1, false}, {2, true}, {3, true}}) {
    EXPECT_EQ(String8::IteratorConst("ab", index).eot(), eot) << index;
  }
  auto it = String8("ab").begin();
  EXPECT_EQ(*++it, 'b') << "a position holds its string";
  EXPECT_TRUE(++it == String8("ab").end());
}

TEST(Hash, GivesThePublishedResultsHoweverItIsFed) {
  auto const murmur = [](std::string_view text) { return String8(text).hash(); };
  for (auto const& [text, hash] :
       std::initializer_list<std::pair<std::string_view, std::uint32_t>>{{"", 0},
                                                                         {"\0"sv, 0x514e28b7},
                                                                         {"\0\0\0\0"sv, 0x2362f9de},
                                                                         {"\xff\xff\xff\xff", 0x76293b50},
                                                                         {"\x21\x43\x65\x87", 0xf55b516b},
                                                                         {"\x21\x43\x65", 0x7e4a8634},
                                                                         {"\x21\x43", 0xa0f7b07a}}) {
    EXPECT_EQ(murmur(text), hash) << text;
  }
  std::string_view const bytes("\x80\x01\xff\x7f\x00\xfe\x02\x81\x10\x20\x40", 11);
  for (unsigned first = 0; first <= bytes.size(); ++first) {
    Kro::Hash hash;
    hash.mix(bytes.data(), first);
    static_cast<void>(hash.value());  // asking leaves the state as it was
    hash.mix(bytes.data() + first, static_cast<unsigned>(bytes.size()) - first);
    EXPECT_EQ(hash.value(), murmur(bytes)) << first;
  }
  Kro::Hash numbers;  // the same bytes as integers, low byte first; what exceeds a width does not count
  for (auto const& [number, width] : std::initializer_list<std::pair<std::uint32_t, unsigned>>{
           {0xabcdef80, 1}, {0xaa55ff01, 2}, {0x0200fe7f, 1}, {0x8102fe00, 4}, {0xffff2010, 2}, {0x40, 1}}) {
    numbers.mixInteger(number, width);
  }
  EXPECT_EQ(numbers.value(), murmur(bytes));
}

// What reads or ranges wrongly is caught by range; what the attribute log cannot apply is another matter.
static_assert(std::is_base_of_v<Kro::RangeException, Kro::ConversionException>);
static_assert(!std::is_base_of_v<Kro::RangeException, Kro::AttrLogEntityException>);
static_assert(std::is_nothrow_copy_constructible_v<Kro::RangeException>, "an error must survive being thrown");

TEST(Exception, KeepsTheIdentifiersItIsGivenAndAddsItsOwn) {
  Exception::IdBitArray given;
  EXPECT_TRUE(given.add(48).add(0).contains(48)) << "adding yields the set";
  using Ids = std::vector<Exception::Id>;
  for (auto const& [error, expected] :
       std::initializer_list<std::pair<Exception, Ids>>{{Exception("m", given), {0, 48}},
                                                        {Kro::RangeException("m"), {12}},
                                                        {Kro::ConversionException("m", given), {0, 12, 48}},
                                                        {Kro::AttrLogEntityException("m", given), {0, 42, 48}}}) {
    Ids ids;
    for (Exception::Id id = 0; id < 200; ++id) {
      if (error.ids().contains(id)) {
        ids.push_back(id);
      }
    }
    EXPECT_EQ(ids, expected);
    EXPECT_EQ(error.reported(), expected != Ids({0, 48}));
    EXPECT_EQ(Exception(error).what(), error.message().charPtr()) << "a copy shares the message";
  }
  EXPECT_FALSE(given.contains(12)) << "the caller's set stays as it was";
  try {
    try {
      Kro::rethrowFromDeserializeAttr(Kro::RangeException("bad", given), "dscp");
    } catch (Kro::RangeException const& error) {
      Kro::rethrowFromDeserializeAttr(error, "filter");
    }
  } catch (Kro::RangeException const& error) {
    EXPECT_EQ(error.message().view(), "filter: dscp: bad");
    EXPECT_TRUE(error.ids().contains(12) && error.ids().contains(48)) << "identifiers stay";
  }
  String8 const text("0123 no reference");
  auto const convert = [&] { Kro::cannotConvert({text, 5}, text.end(), typeid(int)); };
  EXPECT_THAT(messageOf<Kro::ConversionException>(convert), testing::HasSubstr("column 5"));
}

TEST(BitSet, HoldsTwentyNineFlags) {
  Kro::BitSet<29, unsigned> flags;
  for (int pos = 0; pos < 29; ++pos) {
    flags.set(pos);
    EXPECT_TRUE(flags.test(pos) && flags.word() == (2U << pos) - 1) << pos;
  }
  flags.reset(28);
  flags.reset(3);
  EXPECT_EQ(flags.word(), 0x0ffffff7U);
#ifndef KRO_ABORT_ON_INTERNAL
  EXPECT_EQ(messageOf<Kro::InternalException>([&] { flags.set(29); }), "pos>=0 && pos<bits");
  EXPECT_EQ(messageOf<Kro::InternalException>([&] { flags.reset(-1); }), "pos>=0 && pos<bits");
#endif
}

}  // namespace
