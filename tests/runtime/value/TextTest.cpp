// The text form of built-ins, and the helpers of every text reader.
#include "runtime/value/Text.h"

#include "tests/Reading.h"

namespace {

using Kro::String8;
using VornTest::expectOutcome;
using VornTest::outcome;

/// Reads a `T` from the front of a text, up to the character '|' where there is one, and tells what was read and where
/// the position stands.
template <class T>
std::string front(String8 const& text) {
  auto it = text.begin();
  auto end = text.end();
  if (auto const bar = text.view().find('|'); bar != std::string_view::npos) {
    end.indexIs(static_cast<long long>(bar));
  }
  T const value = Kro::sequenceToValue(it, end, static_cast<T*>(nullptr));
  return std::string(Kro::valueToStrep(value).view()) + " @ " + std::to_string(it.index());
}

TEST(NeedString, MatchesBlanksFreelyAndAllElseExactly) {
  auto const needing = [](char const* pattern) {
    return [pattern](String8 const& text) {
      auto it = text.begin();
      Kro::needString(it, text.end(), pattern);
      return std::to_string(it.index());
    };
  };
  expectOutcome(needing(" "), "0", {"", "x"});
  expectOutcome(needing(" "), "7", {" \t\n\v\f\r x"});
  expectOutcome(needing("} "), "1", {"}", "},"});
  expectOutcome(needing("} "), "expected \"}\" at column 0", {"", " }", "x", "\xa0}"});
  expectOutcome(needing(" ** "), "expected \"**\" at column 2", {" * *", " *", "  ", "  -"});
  expectOutcome(needing(" Value"), "7", {"  Value(", "\n\tValue"});
  expectOutcome(needing(" Value"), "expected \"Value\" at column 3", {"Val", "Valve", "   value"});
}

TEST(Text, OfIntegers) {
  expectOutcome(front<long long>, "7 @ 2", {"+7", "07", "+7,", "07x", "07|5"});
  expectOutcome(front<long long>, "-7 @ 3", {"-07", "-07.5"});
  expectOutcome(front<long long>, "0 @ 1", {"0", "0x10"});
  expectOutcome(front<long long>, "9223372036854775807 @ 19", {"9223372036854775807"});
  expectOutcome(front<long long>, "-9223372036854775808 @ 20", {"-9223372036854775808"});
  expectOutcome(front<long long>, "expected an integer of at most 64 bits at column 0",
                {"9223372036854775808", "-9223372036854775809", "99999999999999999999999"});
  expectOutcome(front<long long>, "expected an integer at column 0",
                {"", "|1", " 1", "+", "-", "+-1", "++1", "- 1", "+ 1", "'1'", "x"});
  // The model's own are truncated to their width.
  EXPECT_EQ(Kro::strepToValue<std::uint8_t>("319"), 63);
  EXPECT_EQ(Kro::strepToValue<std::uint16_t>("-1"), 65535);
  EXPECT_EQ(Kro::strepToValue<std::uint32_t>("4294967297"), 1U);
  EXPECT_TRUE(Kro::valueToStrep(std::uint8_t{65}) == "65") << "a number, no character";
}

TEST(Text, OfBools) {
  expectOutcome(front<bool>, "true @ 4", {"true", "true}", "true|"});
  expectOutcome(front<bool>, "false @ 5", {"false"});
  expectOutcome(front<bool>, "expected true or false at column 0", {"True", " true", "tru", "tru|e", "1", ""});
}

TEST(Text, OfDoubles) {
  expectOutcome(front<double>, "1000 @ 4", {"+1e3", "1000|"});
  expectOutcome(front<double>, "expected a number at column 0", {"", " 1", "e5", "1e999", "+-1"});
  for (char const* text : {"0.1", "-0", "1e+23", "5e-324", "1.7976931348623157e+308", "nan", "inf", "-inf"}) {
    EXPECT_EQ(VornTest::reread<double>(text), text) << "is the shortest that reads back";
  }
}

TEST(Text, OfStrings) {
  expectOutcome(front<String8>, "'' @ 2", {"''", "''x", "''|'"});
  expectOutcome(front<String8>, "'A\\x1f' @ 10", {"'\\x41\\x1F'", "'\\x41\\x1f'"});
  expectOutcome(front<String8>, "'\\n' @ 3", {"'\n'"});
  expectOutcome(front<String8>, "expected a quoted string at column 0", {"", "abc", "\"a\"", " 'a'", "|''"});
  expectOutcome(front<String8>, "expected \"'\" at column 4", {"'abc", "'a\\'", "'abc|'"});
  expectOutcome(front<String8>, "expected one of \\' \\\\ \\n \\r \\t \\xHH at column 1",
                {"'\\q'", "'\\x4'", "'\\x4", "'\\x4|1'", "'\\xg0'", "'\\"});
  std::string all;  // each byte beside each kind of neighbour
  for (unsigned byte = 0; byte < 256; ++byte) {
    for (char const neighbour : {'\\', '\'', '0', '\0'}) {
      all += static_cast<char>(byte);
      all += neighbour;
    }
  }
  String8 const content{std::string_view(all)};
  EXPECT_TRUE(Kro::strepToValue<String8>(Kro::valueToStrep(content)) == content);
  EXPECT_TRUE(Kro::valueToStrep(Kro::Name("it's\\\x7f\xc3\xa4\t")) == "'it\\'s\\\\\\x7f\xc3\xa4\\t'");
}

TEST(Text, LeavesNoJunkUnseen) {
  EXPECT_EQ(outcome(VornTest::reread<bool>, "true x"), "junk at column 4 deserializing true x");
  EXPECT_EQ(outcome(VornTest::reread<String8>, "'a' "), "junk at column 3 deserializing 'a' ");
}

}  // namespace
