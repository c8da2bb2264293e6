// Errors and flag bits.
#include "runtime/core/BitSet.h"
#include "runtime/core/Exception.h"
#include "tests/Contracts.h"

namespace {

using Kro::Exception;
using Kro::String8;
using VornTest::messageOf;

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
}

TEST(Exception, NamesEachAttributeOnItsWayOut) {
  Exception::IdBitArray inner;
  try {
    try {
      Kro::rethrowFromDeserializeAttr(Kro::RangeException("bad", inner.add(48)), "dscp");
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
    EXPECT_EQ(flags.word(), (2U << pos) - 1) << "the others are untouched";
    EXPECT_TRUE(flags.test(pos));
  }
  flags.reset(28);
  flags.reset(3);
  EXPECT_EQ(flags.word(), 0x0ffffff7U);
#ifndef KRO_ABORT_ON_INTERNAL
  for (int const pos : {-1, 29, 30, 31, 32}) {
    EXPECT_EQ(messageOf<Kro::InternalException>([&] { flags.set(pos); }), "pos>=0 && pos<bits") << pos;
    EXPECT_EQ(messageOf<Kro::InternalException>([&] { flags.reset(pos); }), "pos>=0 && pos<bits") << pos;
  }
#endif
}

}  // namespace
