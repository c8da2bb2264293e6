// Identifiers of tables, chips, rule lists and access-control lists.
#include <locale>
#include <sstream>

#include "VornAclTypes/VornAclTypes.h"
#include "tests/Reading.h"

namespace {

using Vorn::AclId;
using Vorn::ChipId;
using Vorn::ChipRuleListId;
using namespace VornTest;

// A number of one kind is no number of another.
static_assert(!std::is_convertible_v<ChipId, ChipRuleListId> && !std::is_convertible_v<ChipRuleListId, ChipId>);
static_assert(!std::equality_comparable_with<ChipId, ChipRuleListId>);

TEST(Identifiers, AreReadFromText) {
  expectOutcome(reread<ChipId>, "4464", {"4464", "70000", "+4464"});
  expectOutcome(reread<ChipId>, "65535", {"65535", "-1"});
  expectOutcome(reread<ChipId>, "value: expected an integer at column 0", {"five"});
  expectOutcome(reread<ChipRuleListId>, "0", {"0", "256", "-256"});
  expectOutcome(reread<Vorn::TableType>, "TableType", {"'bogus'x", "''", "'MacAcl'", "'TableType(5)'"});
  expectOutcome(reread<Vorn::TableType>, "junk at column 8 deserializing 'macAcl'x", {"'macAcl'x"});
  // An ACL's id is read in two parts and written in three.
  expectOutcome(reread<AclId>, "ipv4PAcl:5:in", {"ipv4PAcl:5"});
  expectOutcome(reread<AclId>, "invalid:255:in", {"invalid:255"});
  expectOutcome(reread<AclId>, "Invalid AclId", {"", "ipv4PAcl5", "bogus", "ipv4PAcl"});
  expectOutcome(reread<AclId>, "TableType", {"bogus:999", ":5", "'macAcl':5", " macAcl:5", "macAcl :5"});
  expectOutcome(reread<AclId>, "Invalid AclId: ChipRuleListId out of range",
                {"macAcl:256", "macAcl:05", "macAcl:+5", "macAcl:-251", "macAcl:5x", "macAcl:5 ", "macAcl:5:in",
                 "macAcl:", "macAcl: 5", "macAcl::", "macAcl:99999999999999999999"});
  Kro::String8 const text("id=macAcl:5;");
  Kro::String8::IteratorConst it(text, 3);
  EXPECT_EQ(AclId(it, {text, 11}), AclId(Vorn::macAcl, 5, Acl::in));
  EXPECT_EQ(it.index(), 11);
}

TEST(Identifiers, HaveTheirDefaultsFormsAndOrder) {
  EXPECT_EQ(ChipId().value(), 0);
  EXPECT_EQ(AclId(), AclId(Vorn::invalid, ChipRuleListId::invalid, Acl::in));
  AclId const id(Vorn::macAcl, 200, Acl::out);
  EXPECT_EQ(ChipRuleListId().hash(), 255U);
  EXPECT_EQ(AclId(Vorn::ipv4PAcl, 5, Acl::in).hash(), 3324728921U) << "the rule list counts with four bytes";
  struct Grouping : std::numpunct<char> {
    std::string do_grouping() const override { return "\3"; }
  };
  std::ostringstream out;
  out.imbue(std::locale(std::locale::classic(), new Grouping));
  out << std::hex << std::showbase << ChipId(40000) << ' ' << ChipRuleListId(65) << ' ' << Vorn::ipv4RAcl << ' '
      << AclId(static_cast<Vorn::TableType>(6), 65, static_cast<Acl::AclDirection>(-1));
  EXPECT_EQ(out.str(), "40000 65 ipv4RAcl TableType(6):65:AclDirection(-1)") << "whatever the stream is set to";
  EXPECT_EQ(logBytes(id), (Bytes{0, 0, 0, 5, 200, 0, 0, 0, 1}));
  for (auto const& [bytes, message] : std::initializer_list<std::pair<Bytes, char const*>>{
           {{0, 0, 0, 6, 1, 0, 0, 0, 9}, "TableType"}, {{0, 0, 0, 5, 1, 0, 0, 0, 2}, "AclDirection"}}) {
    EXPECT_EQ(messageOf<Kro::RangeException>([&b = bytes] { fromLogBytes<AclId>(b); }), message);
  }
  checkAscending<AclId>({{static_cast<Vorn::TableType>(-1), 255, Acl::out},
                         {Vorn::invalid, 0, static_cast<Acl::AclDirection>(-1)},
                         {Vorn::invalid, 0, Acl::in},
                         {Vorn::ipv4PAcl, 9, Acl::in},
                         {Vorn::ipv4RAcl, 0, Acl::in}});
}

}  // namespace
