// What attribute lists promise: ids without gaps, no field left out, room that suffices.
#include "runtime/value/Attributes.h"

#include "runtime/value/ValueOps.h"
#include "tests/Reading.h"

namespace {

/// Two fields, one of them without a bound in the attribute log.
class Labelled : public Kro::Value<Labelled> {
 public:
  Labelled() = default;
  Labelled(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { Kro::readRecord(*this, it, end); }
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
  static constexpr auto all = Kro::list(Kro::stored(2, "number", &T::number_), Kro::stored(3, "label", &T::label_));
};
static_assert(Kro::isWhollyDescribed<Labelled>());
static_assert(Kro::Codec<Labelled>::maxSize == Kro::unboundedSize, "no sum may wrap round to a small room");

struct Gap {
  int a, b;
  struct Attributes {
    static constexpr auto all = Kro::list(Kro::stored(2, "a", &Gap::a), Kro::stored(4, "b", &Gap::b));
  };
};
struct Forgetful {
  int a, b;
  struct Attributes {
    static constexpr std::string_view typeName = "Forgetful";
    static constexpr auto all = Kro::list(Kro::stored(2, "a", &Forgetful::a));
  };
};
static_assert(!Kro::detail::idsRun<Gap>(std::make_index_sequence<2>()), "ids are a promise, a gap is a slip");
static_assert(Kro::detail::sizeOfFields<Forgetful>(Kro::StoredPositions<Forgetful>()) != sizeof(Forgetful));

TEST(Attributes, OfAnyLengthAreWrittenWhole) {
  auto const value = Kro::strepToValue<Labelled>("Value('Labelled', ** {'label': '{\\n', 'number': 16909060})");
  EXPECT_TRUE(Kro::valueToStrep(value) == "Value('Labelled', ** {'number': 16909060, 'label': '{\\n'})");
  EXPECT_EQ(VornTest::logBytes(value), (VornTest::Bytes{1, 2, 3, 4, 0, 0, 0, 2, '{', '\n'}));
}

TEST(Codec, OfBuiltInsUsesNetworkOrder) {
  EXPECT_EQ(VornTest::logBytes(std::int32_t{-2}), (VornTest::Bytes{0xff, 0xff, 0xff, 0xfe}));
  EXPECT_EQ(VornTest::logBytes(1.0), (VornTest::Bytes{0x3f, 0xf0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(VornTest::logBytes(Kro::EntityId{0x0102030405060708}), (VornTest::Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(VornTest::fromLogBytes<double>({0x3f, 0xf0, 0, 0, 0, 0, 0, 0}), 1.0);
  EXPECT_EQ(VornTest::messageOf<Kro::AttrLogEntityException>([] { VornTest::fromLogBytes<bool>({2}); }),
            "expected a bool, 0 or 1, not 2");
}

}  // namespace

template <>
Kro::Ptr<Kro::KroType const> Kro::Value<Labelled>::_fwkType() {
  return nullptr;  // no one asks
}
template class Kro::Value<Labelled>;
