// The Murmur hash, against published results and against itself.
#include "runtime/core/Hash.h"

#include <gtest/gtest.h>

#include "runtime/core/String8.h"

namespace {

using namespace std::literals;
using Hashes = std::initializer_list<std::pair<std::string_view, std::uint32_t>>;

std::uint32_t murmur(std::string_view text) { return Kro::String8(text).hash(); }

TEST(Hash, GivesThePublishedResults) {
  for (auto const& [text, hash] : Hashes{{"", 0},
                                         {"\0"sv, 0x514e28b7},
                                         {"\0\0\0\0"sv, 0x2362f9de},
                                         {"\xff\xff\xff\xff", 0x76293b50},
                                         {"\x21\x43\x65\x87", 0xf55b516b},
                                         {"\x21\x43\x65", 0x7e4a8634},
                                         {"\x21\x43", 0xa0f7b07a}}) {
    EXPECT_EQ(murmur(text), hash) << text;
  }
}

TEST(Hash, CutsBlocksAcrossCallsAndWidths) {
  std::string_view const bytes("\x80\x01\xff\x7f\x00\xfe\x02\x81\x10\x20\x40", 11);
  for (unsigned first = 0; first <= bytes.size(); ++first) {
    Kro::Hash hash;
    hash.mix(bytes.data(), first);
    static_cast<void>(hash.value());  // asking leaves the state as it was
    hash.mix(bytes.data() + first, static_cast<unsigned>(bytes.size()) - first);
    EXPECT_EQ(hash.value(), murmur(bytes)) << first;
  }
  Kro::Hash numbers;  // the same bytes as integers, low byte first; what exceeds a width does not count
  numbers.mixInteger(0xabcdef80, 1);
  numbers.mixInteger(0xaa55ff01, 2);
  numbers.mixInteger(0x0200fe00 | 0x7f, 1);
  numbers.mixInteger(0x8102fe00, 4);
  numbers.mixInteger(0xffff2010, 2);
  numbers.mixInteger(0x40, 1);
  EXPECT_EQ(numbers.value(), murmur(bytes));
}

}  // namespace
