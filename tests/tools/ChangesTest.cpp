#include "tools/demo/Changes.h"

#include <functional>
#include <map>
#include <numeric>

#include <gtest/gtest.h>

#include "tools/demo/Dump.h"
#include "tools/demo/Followers.h"

namespace {

using Demo::Tree;
using Vorn::AceIndex;
using Vorn::IpRuleConfig;

/// A tree with one chip for each number, whose only ACL has that many rules.
Tree newTree(std::vector<std::uint32_t> const& rules) {
  auto tree = Vorn::rootConfigCollFactory("t");
  for (std::uint16_t n = 0; n < rules.size(); ++n) {
    auto const chip = tree->chipRootConfigIs(n, Vorn::ChipId(n));
    chip->initialize();
    auto const acl = chip->vornAclColl()->aclIs({Vorn::ipv4PAcl, static_cast<std::uint8_t>(n), Acl::in}, Acl::ip, "f");
    for (std::uint32_t i = 1; i <= rules[n]; ++i) {
      acl->ipRuleByIdIs(AceIndex(i, 0, 0), IpRuleConfig());
    }
  }
  return tree;
}

std::string dumpOf(Tree const& tree) {
  char* text = nullptr;
  std::size_t length = 0;
  std::FILE* const file = open_memstream(&text, &length);
  Demo::writeDump(tree, file);
  std::fclose(file);
  std::string const result(text, length);
  std::free(text);
  return result;
}

/// Sorts what it hears of an ACL's rules into additions, removals and changes, by what the ACL held before.
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

/// Every change is told once, by whichever entity: the followers hear of all, the witnesses of those of rules.
TEST(Changes, addAsManyRulesAsTheyRemoveAndRepeatThemselves) {
  std::vector<std::uint32_t> const cases[] = {{1, 0}, {0, 3}, {40, 2}};  // the first two run empty now and then
  for (auto const& rules : cases) {
    SCOPED_TRACE(rules[0]);
    std::string dumps[3];
    for (std::uint32_t run = 0; run < 3; ++run) {
      Tree const tree = newTree(rules);
      Demo::ChangeCount told([] { return true; });
      std::vector<Kro::Ptr<Kro::PtrInterface>> others{Demo::follow<Demo::TreeFollower>(tree, told)};
      std::vector<Kro::Ptr<Witness>> witnesses;
      for (auto const& chip : Demo::inOrderOfKeys(tree->chipRootConfigMap())) {
        others.push_back(Demo::follow<Demo::ChipFollower>(chip, told));
        others.push_back(Demo::follow<Demo::NamesFollower>(chip->aclKeyToAclId(), told));
      }
      for (auto const& acl : Demo::aclsOf(tree)) {
        others.push_back(Demo::follow<Demo::AclFollower>(acl, told));
        witnesses.push_back(Kro::adopt(new Witness(acl)));
      }
      std::size_t made = 0;
      for (Demo::Changes changes(tree, 1000, run / 2); changes.next();) {
        ASSERT_EQ(told.value(), ++made);
      }
      EXPECT_EQ(made, 1000U);
      EXPECT_EQ(witnesses[0]->added + witnesses[1]->added, 300U);
      EXPECT_EQ(witnesses[0]->removed + witnesses[1]->removed, 300U);
      EXPECT_EQ(witnesses[0]->changed + witnesses[1]->changed, 300U);
      EXPECT_EQ(Demo::countsOf(tree).rules, rules[0] + rules[1]);
      dumps[run] = dumpOf(tree);
    }
    EXPECT_EQ(dumps[0], dumps[1]) << "the same seed makes other changes";
    EXPECT_NE(dumps[0], dumps[2]) << "the seed makes no difference";
  }
  EXPECT_FALSE(Demo::Changes(newTree({0}), 1000, 0).next());
}

/// One difference anywhere in a tree shows in the dump, each in its own way; the order of creation does not.
TEST(Dump, showsEveryAttributeOfEveryEntity) {
  auto const make = [](std::vector<std::uint16_t> const& chips) {
    auto tree = Vorn::rootConfigCollFactory("t");
    for (std::uint16_t const n : chips) {
      tree->chipRootConfigIs(n, Vorn::ChipId(n))->initialize();
    }
    tree->chipRootConfig(2)->vornAclColl()->aclIs({}, Acl::ip, "a");
    return tree;
  };
  using Chip = Vorn::RootConfig;
  auto const onChip = [](auto change) { return [change](Tree const& tree) { change(*tree->chipRootConfig(2)); }; };
  auto const onAcl = [](auto change) {
    return [change](Tree const& tree) { change(*tree->chipRootConfig(2)->vornAclColl()->acl({})); };
  };
  using List = Vorn::VornAcl;
  Vorn::MacRuleConfig mac;
  IpRuleConfig ip, logged;
  logged.logIs(true);
  std::function<void(Tree const&)> const differences[] = {
      [](Tree const&) {},
      [](Tree const& t) { t->chipRootConfigIs(3, Vorn::ChipId(3)); },
      [](Tree const& t) { t->chipRootConfigIs(3, Vorn::ChipId(4)); },
      [](Tree const& t) { t->chipRootConfigLastFailedIs(t->chipRootConfig(1)); },
      [](Tree const& t) { t->chipRootConfigLastFailedIs(t->chipRootConfig(2)); },
      onChip([](Chip& c) { c.activeIs(true); }),
      onChip([](Chip& c) { c.actionIs(Vorn::vornAbort); }),
      onChip([](Chip& c) { c.vornRootKickTimeIs(0.5); }),
      onChip([](Chip& c) { c.vornRootKickInc(1); }),
      onChip([](Chip& c) { c.initializedIs(false); }),
      onChip([](Chip& c) { c.vornAclCollDel(); }),
      onChip([](Chip& c) { c.aclKeyToAclIdIs("another"); }),
      onChip([](Chip& c) {
        c.aclKeyToAclId()->keyToIdIs({Acl::ip, "a"}, {});
      }),
      onChip([](Chip& c) {
        c.aclKeyToAclId()->keyToIdIs({Acl::ip, "b"}, {});
      }),
      onChip([](Chip& c) {
        c.vornAclColl()->aclIs({Vorn::macAcl, 1, Acl::out}, Acl::mac, "a");
      }),
      onChip([](Chip& c) {
        c.vornAclColl()->aclIs({Vorn::macAcl, 1, Acl::out}, Acl::ip, "a");
      }),
      onChip([](Chip& c) {
        c.vornAclColl()->aclIs({Vorn::macAcl, 1, Acl::out}, Acl::mac, "b");
      }),
      onAcl([=](List& a) { a.ipRuleByIdIs(AceIndex(1, 0, 0), ip); }),
      onAcl([=](List& a) { a.ipRuleByIdIs(AceIndex(0, 1, 0), ip); }),
      onAcl([=](List& a) { a.ipRuleByIdIs(AceIndex(1, 0, 0), logged); }),
      onAcl([=](List& a) { a.macRuleByIdIs(AceIndex(1, 0, 0), mac); }),
  };
  std::map<std::string, std::size_t> seen;
  for (std::size_t i = 0; i < std::size(differences); ++i) {
    Tree const tree = make({1, 2});
    differences[i](tree);
    auto const [known, isNew] = seen.emplace(dumpOf(tree), i);
    EXPECT_TRUE(isNew) << i << " looks like " << known->second;
  }
  std::vector<std::uint16_t> order(40);
  std::iota(order.begin(), order.end(), std::uint16_t{0});
  std::string const ascending = dumpOf(make(order));
  std::reverse(order.begin(), order.end());
  EXPECT_EQ(dumpOf(make(order)), ascending);
}

TEST(Dump, tellsTheFirstDifference) {
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

}  // namespace
