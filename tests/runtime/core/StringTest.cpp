// Strings, read positions and names.
#include <gtest/gtest.h>

#include "runtime/core/Exception.h"
#include "runtime/core/Name.h"

namespace {

using Kro::Name;
using Kro::String8;

char const* const null = nullptr;
String8 const withNul(std::string_view("a\0b", 3));

TEST(String8, IsMadeFromText) {
  String8 initialised;
  initialised.init("0123456789", 2, 3);
  String8 assigned("old");
  assigned = "new";
  String8 const abc("abc");
  std::vector<std::pair<String8, std::string_view>> const made{
      {String8(), ""},
      {String8(null), ""},
      {"a\0b", "a"},
      {withNul, {"a\0b", 3}},
      {initialised, "234"},
      {assigned, "new"},
      {abc + "d", "abcd"},
      {"d" + abc, "dabc"},
      {null + abc, "abc"},
      {withNul + withNul, {"a\0ba\0b", 6}},
      {abc.substr(1, 1), "b"},
      {abc.substr(1, 4294967295), "bc"},
      {abc.substr(3, 1), ""},
      {abc.substr(0, 0), ""},
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
  EXPECT_TRUE(String8() == null);
  EXPECT_FALSE(String8("a") == null);
  EXPECT_TRUE("a" != String8("A"));
  EXPECT_FALSE(withNul == "a\0b") << "holds a NUL, so it equals no C text";
  std::vector<String8> const ascending{"", "A", "a", withNul, "ab", "b", "\x7f", "\x80", "\xff"};
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      EXPECT_EQ(ascending[i] < ascending[j], i < j) << i << ' ' << j;
      EXPECT_EQ(ascending[i] == ascending[j], i == j) << i << ' ' << j;
      EXPECT_EQ(Name(ascending[i]) < Name(ascending[j]), i < j) << i << ' ' << j;
    }
  }
}

TEST(String8, SharesItsBlockAndNeverChangesIt) {
  String8 const original("shared");
  {
    String8 copy = original;
    Name const name(copy);
    EXPECT_EQ(original.charPtr(), name.string().charPtr());
    String8 const& alias = copy;
    copy = alias;
    EXPECT_EQ(original.data().countWord(), 3U);
    copy += "!";
    copy += copy;
    EXPECT_EQ(copy.view(), "shared!shared!");
    EXPECT_EQ(original.data().countWord(), 2U);
  }
  EXPECT_EQ(original.view(), "shared");
  EXPECT_EQ(original.data().countWord(), 1U);
  EXPECT_EQ(&String8().data(), &String8("").data()) << "one block stands for every empty string";
}

TEST(IteratorConst, IsAtTheEndByIndexAlone) {
  for (auto const& [index, eot] : {std::pair(-1, false), {0, false}, {1, false}, {2, true}, {3, true}}) {
    EXPECT_EQ(String8::IteratorConst("ab", index).eot(), eot) << index;
  }
  auto it = String8("ab").begin();
  EXPECT_EQ(*++it, 'b') << "a position holds its string";
  EXPECT_TRUE(++it == String8("ab").end());
}

}  // namespace
