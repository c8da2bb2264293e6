// All root configurations: members, references to those that failed last, the end.
#include "VornRootConfig/RootConfigColl.h"

#include "tests/Contracts.h"
#include "tests/support/Spies.h"

namespace {

using namespace VornTest;
using Kro::Ptr;
using Vorn::RootConfig;
using Vorn::RootConfigColl;

class RootConfigCollTest : public EntityTest {
 protected:
  Ptr<RootConfigColl> coll = Vorn::rootConfigCollFactory("root");
};

TEST_F(RootConfigCollTest, CountsAndTellsMembers) {
  auto const a = observe<ConfigCollSpy>(coll, "A");
  Ptr<RootConfig> config;
  RootConfigColl::ChipRootConfigMap::Iterator it;
  run(*coll,
      {{"create", [&] { config = coll->chipRootConfigIs(5, 1); }, {1, 0}, "A:config(5)"},
       {"find", [&] { EXPECT_EQ(coll->chipRootConfigIs(5, 1), config); }, {1, 0}, ""},
       {"get", [&] { EXPECT_EQ(coll->chipRootConfig(5), config); }, {0, 1}, ""},
       {"get an absent one", [&] { EXPECT_FALSE(coll->chipRootConfig(1)); }, {0, 1}, ""},
       {"another of that chip", [&] { coll->chipRootConfigIs(0, 1); }, {1, 0}, "A:config(0)"},
       {"size", [&] { EXPECT_EQ(coll->chipRootConfigSize(), 2U); }, {0, 1}, ""},
       {"store", [&] { coll->newChipRootConfig(0xffffffff, 1); }, {0, 0}, ""},
       {"tell of an absent one", [&] { coll->chipRootConfigNotify(9); }, {0, 0}, "A:config(9)"},
       {"remove", [&] { EXPECT_EQ(coll->chipRootConfigDel(5), config); }, {1, 0}, "A:config(5)"},
       {"remove it again", [&] { EXPECT_FALSE(coll->chipRootConfigDel(5)); }, {0, 0}, ""},
       {"remove at", [&] { it = coll->chipRootConfigIterator(), coll->chipRootConfigDel(it); }, {1, 0}, "A:config(0)"},
       {"detached", [&] { EXPECT_FALSE(coll->chipRootConfigDel(it)); }, {0, 0}, ""},
       {"fill", [&] { coll->newChipRootConfig(1, 1), coll->newChipRootConfig(2, 1); }, {0, 0}, ""},
       {"remove all",
        [&] { coll->chipRootConfigDelAll(); },
        {3, 0},
        "A:config(2) A:config(1) A:config(4294967295)"},  // in the order of the reversed ids
       {"remove all of none", [&] { coll->chipRootConfigDelAll(); }, {0, 0}, ""}});
  EXPECT_EQ(config->name(), Kro::Name("5"));
  EXPECT_FALSE(config->parent() || config->vornAclColl()) << "nor was it initialized";
}

TEST_F(RootConfigCollTest, NeverCreatesAConfigurationAgainForAnotherChip) {
  Ptr<RootConfig> const config = coll->chipRootConfigIs(5, 1);
  EXPECT_EQ(config->parent(), coll);
  EXPECT_EQ(config->parentAttrId(), 258);
  EXPECT_EQ(costOf(*config, [&] { coll->chipRootConfigIs(5, 1); }), (Cost{0, 1}));
  Cost const ofMember = costOf(*config, [&] {
    Cost const own = costOf(*coll, [&] {
      EXPECT_EQ(messageOf<Kro::NameInUseException>([&] { coll->chipRootConfigIs(5, 2); }),
                "Reinstantiating the entity with name '5' where constructor parameter attribute _chipId has a "
                "different value of 2 than the current value of 1 not allowed");
    });
    EXPECT_EQ(own, (Cost{0, 0}));
  });
  EXPECT_EQ(ofMember, (Cost{0, 2}));
}

TEST_F(RootConfigCollTest, CountsAndTellsReferences) {
  auto const a = observe<ConfigCollSpy>(coll, "A");
  Ptr<RootConfig> const one = coll->newChipRootConfig(5, 1);
  Ptr<RootConfig> const other = Vorn::rootConfigFactory("stranger", 6, 1);
  Ptr<RootConfig> const ofChip2 = coll->newChipRootConfig(7, 2);
  RootConfigColl::ChipRootConfigLastFailedMap::Iterator it;
  auto const set = [&](Ptr<RootConfig> const& config) { return [&] { coll->chipRootConfigLastFailedIs(config); }; };
  run(*coll, {{"set", set(one), {1, 0}, "A:failed(1)"},
              {"set the same", set(one), {0, 0}, ""},
              {"set another of that chip", set(other), {1, 0}, "A:failed(1)"},
              {"set one of another chip", set(ofChip2), {1, 0}, "A:failed(2)"},
              {"get", [&] { EXPECT_EQ(coll->chipRootConfigLastFailed(1), other); }, {0, 1}, ""},
              {"get an absent one", [&] { EXPECT_FALSE(coll->chipRootConfigLastFailed(3)); }, {0, 1}, ""},
              {"size", [&] { EXPECT_EQ(coll->chipRootConfigLastFailedSize(), 2U); }, {0, 1}, ""},
              {"tell of an absent one", [&] { coll->chipRootConfigLastFailedNotify(9); }, {0, 0}, "A:failed(9)"},
              {"remove", [&] { EXPECT_EQ(coll->chipRootConfigLastFailedDel(1), other); }, {1, 0}, "A:failed(1)"},
              {"remove it again", [&] { EXPECT_FALSE(coll->chipRootConfigLastFailedDel(1)); }, {0, 0}, ""},
              {"store", [&] { EXPECT_EQ(coll->newChipRootConfigLastFailed(one)->referenced(), one); }, {0, 0}, ""},
              {"remove the member", [&] { coll->chipRootConfigDel(5); }, {1, 0}, "A:config(5)"},
              {"it stays referenced", [&] { EXPECT_EQ(coll->chipRootConfigLastFailed(1), one); }, {0, 1}, ""},
              {"remove the other one", [&] { coll->chipRootConfigLastFailedDel(2); }, {1, 0}, "A:failed(2)"},
              {"remove at",
               [&] {
                 it = coll->chipRootConfigLastFailedIterator();
                 EXPECT_EQ(coll->chipRootConfigLastFailedDel(it), one);
                 EXPECT_FALSE(coll->chipRootConfigLastFailedDel(it)) << "detached";
               },
               {1, 0},
               "A:failed(1)"},
              {"remove all",
               [&] {
                 coll->newChipRootConfigLastFailed(ofChip2);
                 coll->chipRootConfigLastFailedDelAll();
               },
               {1, 0},
               "A:failed(2)"},
              {"remove all of none", [&] { coll->chipRootConfigLastFailedDelAll(); }, {0, 0}, ""},
              {"null",
               [&] {
                 EXPECT_EQ(messageOf<Kro::RangeException>([&] { coll->chipRootConfigLastFailedIs(nullptr); }),
                           "null _chipRootConfigLastFailed parameter to mutator for "
                           "Vorn::RootConfigColl::chipRootConfigLastFailed not allowed\"");
               },
               {0, 0},
               ""}});
  EXPECT_EQ(ofChip2->parent(), coll) << "its place is not the reference's business";
  EXPECT_FALSE(other->parent());
  std::uint32_t const before = one->readCount();
  coll->chipRootConfigLastFailedIs(one);
  EXPECT_GT(one->readCount(), before) << "the key is read from the configuration";
#ifndef KRO_ABORT_ON_INTERNAL
  EXPECT_THROW(coll->newChipRootConfigLastFailed(other), Kro::InternalException) << "the chip has an entry";
  EXPECT_THROW(coll->newChipRootConfigLastFailed(nullptr), Kro::InternalException);
#endif
  EXPECT_EQ(coll->auditErrors(9), 0U);
  journal.take();
  a->act = [] { throw 1; };
  coll->chipRootConfigNotify(1);
  coll->chipRootConfigLastFailedNotify(1);
  EXPECT_EQ(journal.take(), "A:config(1) A:!258 A:failed(1) A:!259");
}

TEST_F(RootConfigCollTest, NothingTouchesACollectionThatAHandlerDestroyed) {
  for (std::function<void(RootConfigColl&)> const& act : std::vector<std::function<void(RootConfigColl&)>>{
           [](RootConfigColl& c) { EXPECT_FALSE(c.chipRootConfigIs(6, 1)->parent()); },
           [](RootConfigColl& c) { EXPECT_TRUE(c.chipRootConfigDel(5)); },
           [](RootConfigColl& c) { c.chipRootConfigDelAll(); },
           [](RootConfigColl& c) { c.chipRootConfigLastFailedIs(Vorn::rootConfigFactory("new", 6, 1)); },
           [](RootConfigColl& c) { c.chipRootConfigLastFailedIs(Vorn::rootConfigFactory("new", 6, 2)); },
           [](RootConfigColl& c) { EXPECT_TRUE(c.chipRootConfigLastFailedDel(1)); },
           [](RootConfigColl& c) { c.chipRootConfigLastFailedDelAll(); }}) {
    coll = Vorn::rootConfigCollFactory("root");
    coll->newChipRootConfig(5, 1);
    Ptr<RootConfig> failed = Vorn::rootConfigFactory("failed", 6, 1);
    coll->newChipRootConfigLastFailed(failed);
    auto const w = observeWeakly<ConfigCollSpy>(coll, "W", [&] { coll = nullptr; });
    auto const ofFailed = observeWeakly<ConfigSpy>(failed, "F", [&] { coll = nullptr; });
    failed = nullptr;
    act(*coll);
    EXPECT_FALSE(coll);
    EXPECT_EQ(w->notifier(), nullptr);
    EXPECT_EQ(ofFailed->notifier(), nullptr) << "nothing holds what failed any more";
  }
}

TEST_F(RootConfigCollTest, TellsTheEndOfMembersThenDropsReferencesSilently) {
  Ptr<RootConfig> const member = coll->newChipRootConfig(5, 1);
  coll->newChipRootConfigLastFailed(member);
  Ptr<RootConfig> stranger = Vorn::rootConfigFactory("stranger", 6, 2);
  coll->newChipRootConfigLastFailed(stranger);
  auto const w = observeWeakly<ConfigCollSpy>(coll, "W");
  auto const ofStranger = observeWeakly<ConfigSpy>(stranger, "F");
  stranger = Vorn::rootConfigFactory("another", 7, 2);
  coll->chipRootConfigLastFailedIs(stranger);
  EXPECT_EQ(journal.take(), "F:zero W:failed(2)") << "what is replaced goes before the change is told";
  ofStranger->notifierIs(stranger);
  stranger = nullptr;
  coll = nullptr;
  EXPECT_EQ(journal.take(), "W:zero W:config(5) F:zero");
  EXPECT_FALSE(member->parent());
  EXPECT_EQ(member->countWord(), 1U);
}

}  // namespace
