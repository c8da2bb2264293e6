// The text form of built-ins, the helpers of every text reader, and what attribute lists promise: ids without gaps, no
// field left out, room that suffices.
#include "runtime/value/Text.h"

#include "runtime/value/Attributes.h"
#include "runtime/value/ValueOps.h"
#include "tests/Reading.h"

namespace {

using namespace VornTest;

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

TEST(Text, OfIntegers) {
  expectOutcome(front<long long>, "7 @ 2", {"+7", "07", "+7,", "07x", "07|5"});
  expectOutcome(front<long long>, "-7 @ 3", {"-07.5"});
  expectOutcome(front<long long>, "0 @ 1", {"0x10"});
  expectOutcome(front<long long>, "9223372036854775807 @ 19", {"9223372036854775807"});
  expectOutcome(front<long long>, "-9223372036854775808 @ 20", {"-9223372036854775808"});
  expectOutcome(front<long long>, "expected an integer of at most 64 bits at column 0",
                {"9223372036854775808", "-9223372036854775809", "99999999999999999999999"});
  expectOutcome(front<long long>, "expected an integer at column 0",
                {"", "|1", " 1", "+", "-", "+-1", "++1", "- 1", "+ 1", "'1'", "x"});
  // The model's own are truncated to their width.
  expectOutcome(reread<std::uint8_t>, "65", {"321"});
  expectOutcome(reread<std::uint16_t>, "65535", {"-1"});
  expectOutcome(reread<std::uint32_t>, "1", {"4294967297"});
  expectOutcome(reread<std::uint64_t>, "18446744073709551615", {"18446744073709551615", "+18446744073709551615"});
  expectOutcome(reread<std::uint64_t>, "expected an integer from 0 up, of at most 64 bits at column 0",
                {"-5", "18446744073709551616", "x"});
}

TEST(Text, OfBoolsAndDoubles) {
  expectOutcome(front<bool>, "true @ 4", {"true", "true}", "true|"});
  expectOutcome(front<bool>, "false @ 5", {"false"});
  expectOutcome(front<bool>, "expected true or false at column 0", {"True", " true", "tru", "tru|e", "1", ""});
  expectOutcome(front<double>, "1000 @ 4", {"+1e3", "1000|"});
  expectOutcome(front<double>, "expected a number at column 0",
                {"", " 1", "e5", "1e999", "+-1", "+", "NaN", "-nan", "+nan", "INF", "Inf", "+inf", "-Inf"});
  expectOutcome(front<double>, "nan @ 3", {"nan(1)"});
  expectOutcome(front<double>, "-inf @ 4", {"-infinity"});
  for (char const* text : {"0.1", "-0", "1e+23", "5e-324", "1.7976931348623157e+308", "nan", "inf", "-inf"}) {
    EXPECT_EQ(reread<double>(text), text) << "is the shortest that reads back";
  }
  EXPECT_EQ(Kro::valueToStrep(-std::numeric_limits<double>::quiet_NaN()), String8("nan"));
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
  expectOutcome(reread<bool>, "junk at column 4 deserializing true x", {"true x"});
  expectOutcome(reread<String8>, "junk at column 3 deserializing 'a' ", {"'a' "});
}

/// Two fields, one of them without a bound in the attribute log.
class Labelled : public Kro::Value<Labelled> {
 public:
  Labelled() = default;
  Labelled(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }
  bool operator==(Labelled const&) const = default;
  std::size_t logSize() const { return 4 + Kro::logRoom(label_); }
  struct Attributes;

 private:
  std::uint32_t number_ = 0;
  Kro::String8 label_;
};

struct Labelled::Attributes {
  using T = Labelled;
  static constexpr std::string_view typeName = "Labelled";
  static constexpr auto all = std::tuple{
      Kro::fixed(2, "number", &T::number_),
      Kro::fixed(3, "label", &T::label_),
  };
};
static_assert(Kro::Codec<Labelled>::maxSize == Kro::unboundedSize, "no sum may wrap round to a small room");

TEST(Attributes, OfAnyLengthAreWrittenWhole) {
  auto const value = Kro::strepToValue<Labelled>("Value('Labelled', ** {'label': '{\\n', 'number': 16909060})");
  EXPECT_TRUE(Kro::valueToStrep(value) == "Value('Labelled', ** {'number': 16909060, 'label': '{\\n'})");
  EXPECT_EQ(logBytes(value), (Bytes{1, 2, 3, 4, 0, 0, 0, 2, '{', '\n'}));
}

TEST(Codec, OfBuiltInsUsesNetworkOrder) {
  EXPECT_EQ(logBytes(std::int32_t{-2}), (Bytes{0xff, 0xff, 0xff, 0xfe}));
  EXPECT_EQ(logBytes(1.0), (Bytes{0x3f, 0xf0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(logBytes(Kro::EntityId{0x0102030405060708}), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
  checkLog(std::vector<double>{1.0});
  EXPECT_EQ(messageOf<Kro::AttrLogEntityException>([] { fromLogBytes<bool>({2}); }), "expected a bool, 0 or 1, not 2");
  Bytes const two{2};
  EXPECT_THROW(Kro::adopt(new Kro::NboAttrLog::In(two))->nextbool(), Kro::AttrLogEntityException);
}

}  // namespace
