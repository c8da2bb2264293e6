#include "tools/demo/Changes.h"

#include <gtest/gtest.h>

namespace {

using Demo::Acls;
using Vorn::AceIndex;
using Vorn::IpRuleConfig;

Kro::Ptr<Vorn::VornAcl> newAcl(std::uint8_t number, std::uint32_t rules) {
  auto acl = Kro::adopt(new Vorn::VornAcl(Vorn::AclId(Vorn::ipv4PAcl, number, Acl::in), Acl::ip, "f"));
  for (std::uint32_t i = 1; i <= rules; ++i) {
    acl->ipRuleByIdIs(AceIndex(i, 0, 0), IpRuleConfig());
  }
  return acl;
}

std::string dumpOf(Acls const& acls) {
  char* text = nullptr;
  std::size_t length = 0;
  std::FILE* const file = open_memstream(&text, &length);
  Demo::writeDump(acls, file);
  std::fclose(file);
  std::string const result(text, length);
  std::free(text);
  return result;
}

/// Sorts what it hears into additions, removals and changes, by what the ACL held before.
class Witness : public Vorn::VornAcl::NotifieeConst {
 public:
  explicit Witness(Kro::Ptr<Vorn::VornAcl> const& acl) {
    for (auto const& record : acl->ipRuleByIdMap()) {
      known_[record.key()] = record.value();
    }
    notifierIs(acl);
    isRegisteredNotifieeIs(true);
  }

  void onIpRuleById(AceIndex const& key) override {
    auto const* const record = notifier()->ipRuleByIdMap().find(key);
    auto const before = known_.find(key);
    if (record == nullptr) {
      EXPECT_EQ(known_.erase(key), 1U);
      ++removed;
    } else if (before == known_.end()) {
      known_[key] = record->value();
      ++added;
    } else {
      EXPECT_FALSE(before->second == record->value());
      before->second = record->value();
      ++changed;
    }
  }

  std::size_t added = 0, removed = 0, changed = 0;

 private:
  std::map<AceIndex, IpRuleConfig> known_;
};

TEST(Changes, addAsManyRulesAsTheyRemoveAndRepeatThemselves) {
  struct {
    std::uint32_t first;
    std::uint32_t second;
  } const cases[] = {{1, 0}, {0, 3}, {40, 2}};  // the first two run empty now and then
  for (auto const& c : cases) {
    SCOPED_TRACE(c.first);
    std::string dumps[3];
    for (std::uint32_t run = 0; run < 3; ++run) {
      Acls const acls{newAcl(0, c.first), newAcl(1, c.second)};
      auto const first = Kro::adopt(new Witness(acls[0]));
      auto const second = Kro::adopt(new Witness(acls[1]));
      std::size_t made = 0;
      for (Demo::Changes changes(acls, 1000, run / 2); changes.next();) {
        ++made;
        ASSERT_EQ(first->added + first->removed + first->changed + second->added + second->removed + second->changed,
                  made);
      }
      EXPECT_EQ(made, 1000U);
      EXPECT_EQ(first->added + second->added, 300U);
      EXPECT_EQ(first->removed + second->removed, 300U);
      EXPECT_EQ(Demo::ruleCount(acls), c.first + c.second);
      dumps[run] = dumpOf(acls);
    }
    EXPECT_EQ(dumps[0], dumps[1]) << "the same seed makes other changes";
    EXPECT_NE(dumps[0], dumps[2]) << "the seed makes no difference";
  }
  EXPECT_FALSE(Demo::Changes({newAcl(0, 0)}, 1000, 0).next());
}

TEST(Dump, tellsTheFirstDifference) {
  std::string const text = dumpOf({newAcl(1, 0), newAcl(0, 2)});
  EXPECT_EQ(Demo::firstDifference(text, text), std::nullopt);
  Acls acls{newAcl(0, 2), newAcl(1, 0)};
  EXPECT_EQ(Demo::firstDifference(text, dumpOf(acls)), std::nullopt) << "the order of the ACLs counts";
  acls[0]->ipRuleByIdDel(AceIndex(2, 0, 0));
  EXPECT_EQ(Demo::firstDifference(text, dumpOf(acls)).value_or("").substr(0, 26), "line 1, ipv4PAcl:0:in 'ip'");
  acls[0]->ipRuleByIdIs(AceIndex(2, 0, 1), IpRuleConfig());
  EXPECT_NE(Demo::firstDifference(text, dumpOf(acls)), std::nullopt) << "positions are not compared";

  struct {
    char const* source;
    char const* mirror;
    char const* difference;
  } const cases[] = {
      {"a\tb\tc\nd\te\tf\n", "a\tb\tc\nd\te\tg\n", "line 2, d e: \"d e f\" in the source, \"d e g\" in the mirror"},
      {"a\tb\tc\nd\te\tf\n", "a\tb\tc\n", "line 2, d e: \"d e f\" in the source, nothing in the mirror"},
      {"", "a\tb\tc\n", "line 1, a b: nothing in the source, \"a b c\" in the mirror"},
      {"a\tb\tc", "a\tb\tcc", "line 1, a b: \"a b c\" in the source, \"a b cc\" in the mirror"},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(Demo::firstDifference(c.source, c.mirror), c.difference);
  }
  std::string const same(60, '.');
  EXPECT_EQ(Demo::firstDifference("k\tl\t" + same + "1" + same, "k\tl\t" + same + "2"),
            "line 1, k l: \"..." + same.substr(36) + "1" + same.substr(21) + "...\" in the source, \"..." +
                same.substr(36) + "2\" in the mirror");
}

/// Each attribute of a rule shows in the dump.
TEST(Dump, showsEveryAttribute) {
  Vorn::IpFilter filter;
  filter.l4RuleIs(true);
  IpRuleConfig rule;
  rule.filterIs(filter);
  rule.countIs(true);
  Vorn::MacRuleConfig mac;
  mac.logIs(true);
  auto const acl = newAcl(7, 0);
  acl->ipRuleByIdIs(AceIndex(3, 2, 1), rule);
  acl->macRuleByIdIs(AceIndex(4, 0, 0), mac);
  auto const lineOf = [](auto const& key, auto const& value) {
    std::string line = "ipv4PAcl:7:in\t";
    line.append(Kro::valueToStrep(key).view()).append("\t").append(Kro::valueToStrep(value).view()).append("\n");
    return line;
  };
  EXPECT_EQ(dumpOf({acl}),
            "ipv4PAcl:7:in\t'ip'\t'f'\t1\t1\n" + lineOf(AceIndex(3, 2, 1), rule) + lineOf(AceIndex(4, 0, 0), mac));
}

}  // namespace
