// The root of one chip's configuration: scalars, the kick, children, comparison, its end.
#include "VornRootConfig/RootConfig.h"

#include <cmath>
#include <limits>

#include "tests/support/Spies.h"

namespace {

using namespace VornTest;
using Kro::Ptr;
using Vorn::RootConfig;
using Vorn::VornAclColl;

double const nan = std::numeric_limits<double>::quiet_NaN();
std::uint32_t const greatest = 0xffffffff;
Vorn::AclId const aclId(Vorn::ipv4PAcl, 5, Acl::in);

class RootConfigTest : public EntityTest {
 protected:
  Ptr<RootConfig> config = Vorn::rootConfigFactory("config", 5, 7);
};

TEST_F(RootConfigTest, CountsAndTellsWhatChanges) {
  auto const a = observe<ConfigSpy>(config, "A");
  RootConfig& c = *config;
  Ptr<VornAclColl> first;
  Ptr<VornAclColl> second;
  run(c, {{"initial values",
           [&] {
             EXPECT_TRUE(c.rootConfigId() == 5 && c.chipId() == Vorn::ChipId(7) && !c.active() && !c.initialized());
             EXPECT_TRUE(!c.vornAclColl() && !c.aclKeyToAclId() && c.action() == Vorn::vornCompute);
             EXPECT_TRUE(c.vornRootKick() == 0 && c.vornRootKickTime() == 0);
           },
           {0, 9},
           ""},
          {"active", [&] { c.activeIs(true); }, {1, 0}, "A:active"},
          {"active again", [&] { c.activeIs(true); }, {0, 0}, ""},
          {"action", [&] { c.actionIs(Vorn::vornLoad); }, {1, 0}, "A:action"},
          {"action again", [&] { c.actionIs(Vorn::vornLoad); }, {0, 0}, ""},
          {"time NaN", [&] { c.vornRootKickTimeIs(nan); }, {1, 0}, "A:time"},
          {"time NaN again", [&] { c.vornRootKickTimeIs(nan); }, {1, 0}, "A:time"},
          {"time 0", [&] { c.vornRootKickTimeIs(0.0); }, {1, 0}, "A:time"},
          {"time -0", [&] { c.vornRootKickTimeIs(-0.0); }, {0, 0}, ""},
          {"kick", [&] { c.vornRootKickIs(greatest); }, {1, 0}, "A:kick"},
          {"kick again", [&] { c.vornRootKickIs(greatest); }, {0, 0}, ""},
          {"kick + 0", [&] { EXPECT_EQ(c.vornRootKickInc(0), greatest); }, {0, 1}, ""},
          {"kick wraps", [&] { EXPECT_EQ(c.vornRootKickInc(1), 0U); }, {0, 1}, "A:kick"},
          {"no child to remove", [&] { EXPECT_FALSE(c.vornAclCollDel() || c.aclKeyToAclIdDel()); }, {0, 0}, ""},
          {"make a child", [&] { EXPECT_EQ(c.newVornAclColl("x")->parent(), config); }, {0, 0}, ""},
          {"set a child", [&] { first = c.vornAclCollIs("first"); }, {1, 0}, "A:aclColl"},
          {"set it again", [&] { EXPECT_EQ(c.vornAclCollIs("first"), first); }, {1, 0}, ""},
          {"set another", [&] { second = c.vornAclCollIs("second"); }, {2, 0}, "A:aclColl"},
          {"remove it", [&] { EXPECT_EQ(c.vornAclCollDel(), second); }, {1, 0}, "A:aclColl"},
          {"mapping", [&] { c.aclKeyToAclIdIs("m"); }, {1, 0}, "A:mapping"},
          {"another mapping", [&] { c.aclKeyToAclIdIs("n"); }, {2, 0}, "A:mapping"},
          {"remove the mapping", [&] { EXPECT_TRUE(c.aclKeyToAclIdDel()); }, {1, 0}, "A:mapping"},
          {"initialize",
           [&] {
             c.aclKeyToAclIdIs("of another name");
             second = c.vornAclCollIs("VornAclColl");
             journal.take();
             c.initialize();
             EXPECT_EQ(c.kroObservers().count(), 1U);
           },
           {2 + 1 + 2 + 1, 1},
           "A:mapping A:initialized"},
          {"initialize again", [&] { c.initialize(); }, {0, 1}, ""},
          {"not initialized", [&] { c.initializedIs(false); }, {1, 0}, "A:initialized"},
          {"initialize once more", [&] { c.initialize(); }, {3, 1}, "A:initialized"}});
  EXPECT_FALSE(first->parent());
  EXPECT_EQ(config->vornAclColl(), second) << "of the fixed name, so it was kept";
  EXPECT_EQ(second->parent(), config);
  EXPECT_EQ(second->parentAttrId(), 261);
  EXPECT_EQ(config->aclKeyToAclId()->parentAttrId(), 262);
  EXPECT_EQ(config->aclKeyToAclId()->name(), Kro::Name("AclKeyToAclId"));
}

TEST_F(RootConfigTest, ReportsFailuresWithTheAttributesIdAndShowsWhatIsStored) {
  auto const a = observe<ConfigSpy>(config, "A", [] { throw 1; });
  config->activeIs(true);
  config->vornAclCollIs("x");
  config->aclKeyToAclIdIs("x");
  config->actionIs(Vorn::vornAbort);
  config->vornRootKickTimeIs(1);
  config->vornRootKickInc(1);
  config->initializedIs(true);
  EXPECT_EQ(journal.take(),
            "A:active A:!260 A:aclColl A:!261 A:mapping A:!262 A:action A:!263 A:time A:!264 A:kick "
            "A:!265 A:initialized A:!267");
  // Handlers see the children stored, and nothing initialized.
  config = Vorn::rootConfigFactory("config", 5, 7);
  a->notifierIs(config);
  std::string seen;
  a->act = [&] {
    seen += config->vornAclColl() ? "coll " : "";
    seen += config->aclKeyToAclId() ? "mapping " : "";
    seen += config->initialized() ? "initialized." : "not yet. ";
  };
  config->initialize();
  EXPECT_EQ(seen, "coll not yet. coll mapping not yet. coll mapping initialized.");
  a->act = nullptr;
}

TEST_F(RootConfigTest, NothingTouchesAConfigurationThatAHandlerDestroyed) {
  for (std::function<void(RootConfig&)> const& act : std::vector<std::function<void(RootConfig&)>>{
           [](RootConfig& c) { c.activeIs(true); }, [](RootConfig& c) { EXPECT_EQ(c.vornRootKickInc(1), 1U); },
           [](RootConfig& c) { EXPECT_FALSE(c.vornAclCollIs("new")->parent()); },
           [](RootConfig& c) { EXPECT_TRUE(c.vornAclCollDel()); }, [](RootConfig& c) { c.initialize(); }}) {
    config = Vorn::rootConfigFactory("config", 5, 7);
    config->vornAclCollIs("old")->aclIs(aclId, Acl::ip, "");
    auto const w = observeWeakly<ConfigSpy>(config, "W", [&] { config = nullptr; });
    auto const ofChild = observeWeakly<AclCollSpy>(config->vornAclColl(), "C", [&] { config = nullptr; });
    act(*config);
    EXPECT_FALSE(config);
    EXPECT_EQ(w->notifier(), nullptr);
    EXPECT_EQ(ofChild->notifier(), nullptr) << "nothing holds the old child";
  }
}

TEST_F(RootConfigTest, ReturnsTheChildThatStandsWhereTheEndOfTheOldOneReplacesTheNew) {
  config->vornAclCollIs("old");
  auto const a = observe<ConfigSpy>(config, "A");
  auto const ofChild = observeWeakly<AclCollSpy>(config->vornAclColl(), "C", [&] { config->vornAclCollIs("nested"); });
  Ptr<VornAclColl> const returned = config->vornAclCollIs("new");
  EXPECT_TRUE(returned == config->vornAclColl());
  EXPECT_EQ(returned->name().view(), "nested");
  EXPECT_EQ(journal.take(), "C:zero A:aclColl");
}

TEST_F(RootConfigTest, TellsItsEndAndLeavesNoChildBehind) {
  config->initialize();
  Ptr<VornAclColl> const coll = config->vornAclColl();
  Ptr<VornAclColl> last;
  RootConfig* const dying = config.get();
  auto const w = observeWeakly<ConfigSpy>(config, "W");
  w->act = [&] {
    if (w->calls == 3) {
      EXPECT_FALSE(dying->vornAclColl() || dying->aclKeyToAclId());
      last = dying->vornAclCollIs("made while it dies");
    }
  };
  config = nullptr;
  EXPECT_EQ(journal.take(), "W:zero W:aclColl W:mapping W:aclColl");
  EXPECT_FALSE(coll->parent() || last->parent());
  EXPECT_EQ(last->countWord(), 1U);
}

TEST_F(RootConfigTest, ComparesChipAndChildren) {
  using Change = std::function<void(RootConfig&)>;
  Change const bare = [](RootConfig&) {};
  Change const initialized = [](RootConfig& c) { c.initialize(); };
  Change const filled = [](RootConfig& c) { c.initialize(), c.vornAclColl()->newAcl(aclId, Acl::ip, ""); };
  Change const mapped = [](RootConfig& c) { c.initialize(), c.aclKeyToAclId()->newKeyToId(Zil::AclKey(), aclId); };
  Change const other = [](RootConfig& c) {
    c.activeIs(true), c.actionIs(Vorn::vornAbort), c.vornRootKickIs(1), c.vornRootKickTimeIs(nan);
    c.initializedIs(true);
  };
  auto const check = [](Change const& ofMine, Change const& ofOthers, std::uint16_t chip, bool isEqual,
                        std::uint32_t reads) {
    Ptr<RootConfig> const mine = Vorn::rootConfigFactory("mine", 1, 7);
    Ptr<RootConfig> const others = Vorn::rootConfigFactory("others", 2, chip);
    ofMine(*mine);
    ofOthers(*others);
    Cost const cost = costOf(*others, [&] {
      EXPECT_EQ(costOf(*mine, [&] { EXPECT_EQ(mine->equal(others), isEqual); }), (Cost{0, reads}));
    });
    EXPECT_EQ(cost, (Cost{0, reads}));
    EXPECT_FALSE(mine->equal(nullptr));
  };
  check(bare, other, 7, true, 3);
  check(bare, bare, 8, false, 1);
  check(bare, initialized, 7, false, 2);
  check([](RootConfig& c) { c.aclKeyToAclIdIs("m"); }, bare, 7, false, 3);
  check(filled, filled, 7, true, 3);
  check(filled, initialized, 7, false, 2);
  check(initialized, mapped, 7, false, 3);
}

}  // namespace
