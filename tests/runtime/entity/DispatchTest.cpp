// Telling observers: order, meddling observers, exceptions, memory.
#include <regex>

#include "tests/support/Allocations.h"
#include "tests/support/Spies.h"

namespace {

using namespace VornTest;
using Kro::adopt;
using Kro::Ptr;
using Vorn::AceIndex;
using Vorn::VornAcl;

Vorn::AclId const aclId(Vorn::ipv4PAcl, 5, Acl::in);
Vorn::AclId const otherId(Vorn::macAcl, 1, Acl::out);

Ptr<VornAcl> newAcl() { return adopt(new VornAcl(aclId, Acl::ip, "acl")); }
AceIndex at(std::uint32_t rule) { return {rule, 0, 0}; }
Vorn::IpRuleConfig logged() {
  Vorn::IpRuleConfig rule;
  rule.logIs(true);
  return rule;
}

/// An observer that counts what it is told and takes no memory for it.
template <class S, class X>
Ptr<S> quiet(Ptr<X> const& entity, std::size_t& told) {
  auto const spy = adopt(new S);
  spy->isRegisteredNotifieeIs(true);
  spy->notifierIs(entity);
  spy->act = [&told] { ++told; };
  return spy;
}

using Dispatch = EntityTest;

TEST_F(Dispatch, StandsMeddlingObservers) {
  enum Deed { releases, unregisters, detaches, switchesOff, movesToTheEnd, adds, throws, rethrows };
  struct Case {
    Deed deed;
    std::size_t doer, target;  ///< of A, B and C
    char const* told;          ///< of the change during which the deed is done; "B!" is the report of an exception
    char const* toldAfter;     ///< of the next one
  };
  for (Case const& c : std::vector<Case>{{releases, 1, 0, "A B C", "B C"},
                                         {releases, 1, 1, "A B C", "A C"},
                                         {releases, 1, 2, "A B", "A B"},
                                         {unregisters, 0, 1, "A B C", "A C"},
                                         {detaches, 0, 2, "A B C", "A B"},
                                         {switchesOff, 1, 2, "A B C", "A B"},
                                         {movesToTheEnd, 2, 1, "A B C", "A C B"},
                                         {adds, 1, 1, "A B C", "A B C new"},
                                         {throws, 1, 1, "A B B! C", "A B C"},
                                         {rethrows, 1, 1, "A B B!", "A B C"}}) {
    for (std::size_t const others : {0U, 7U}) {  // more than eight in all take memory
      SCOPED_TRACE(std::to_string(c.deed) + ' ' + std::to_string(c.doer) + " on " + std::to_string(c.target));
      Ptr<VornAcl> const acl = newAcl();
      std::vector<Ptr<AclSpy>> spies{observe<AclSpy>(acl, "A"), observe<AclSpy>(acl, "B"), observe<AclSpy>(acl, "C")};
      std::size_t behind = 0;
      for (std::size_t i = 0; i < others; ++i) {
        spies.push_back(quiet<AclSpy>(acl, behind));
      }
      Ptr<AclSpy> added;
      auto& target = spies[c.target];
      std::function<void()> const deeds[] = {
          [&] { target = nullptr; },
          [&] { target->isRegisteredNotifieeIs(false); },
          [&] { target->notifierIs(nullptr); },
          [&] { target->hasNotificationActiveIs(false); },
          [&] { target->isRegisteredNotifieeIs(false), target->isRegisteredNotifieeIs(true); },
          [&] { added = observe<AclSpy>(acl, "new"); },
          [] { throw 1; },
          [] { throw 1; },
      };
      spies[c.doer]->act = deeds[c.deed];
      if (c.deed == rethrows) {
        spies[c.doer]->report = [] { throw; };
      }
      bool hasThrown = false;
      auto const told = [&](std::uint32_t rule) {
        try {
          acl->ipRuleByIdIs(at(rule), logged());
        } catch (int) {
          hasThrown = true;
        }
        return std::regex_replace(journal.take(), std::regex(":ip\\([12].0.0\\)|:(!)261"), "$1");
      };
      EXPECT_EQ(told(1), c.told);
      EXPECT_EQ(hasThrown, c.deed == rethrows);
      EXPECT_EQ(acl->mutationCount(), 1U) << "the change stands in every case";
      EXPECT_EQ(behind, hasThrown ? 0U : others);
      if (spies[c.doer]) {
        spies[c.doer]->act = nullptr;
      }
      EXPECT_EQ(told(2), c.toldAfter);
      EXPECT_EQ(acl->auditErrors(9), 0U);
    }
  }
}

TEST_F(Dispatch, NestsAndTellsInnerChangesFirst) {
  Ptr<VornAcl> const acl = newAcl();
  auto const a = observe<AclSpy>(acl, "A");
  auto b = observe<AclSpy>(acl, "B");
  a->act = [&] {
    a->act = nullptr;
    acl->ipRuleByIdDel(at(1));
    acl->macRuleByIdIs(at(2), Vorn::MacRuleConfig());
  };
  acl->ipRuleByIdIs(at(1), logged());
  EXPECT_EQ(journal.take(), "A:ip(1.0.0) A:ip(1.0.0) B:ip(1.0.0) A:mac(2.0.0) B:mac(2.0.0) B:ip(1.0.0)");

  // The outer snapshot holds B too, so the inner one finds it held and calls it; the outer one does not any more.
  a->act = [&] {
    a->act = nullptr;
    b = nullptr;
    acl->ipRuleByIdIs(at(4), logged());
  };
  acl->ipRuleByIdIs(at(3), logged());
  EXPECT_EQ(journal.take(), "A:ip(3.0.0) A:ip(4.0.0) B:ip(4.0.0)");
  EXPECT_EQ(acl->auditErrors(9), 0U);
}

TEST_F(Dispatch, ToldKeySurvivesTheRecordItComesFrom) {
  Ptr<Vorn::AclKeyToAclIdMapping> const mapping = Vorn::aclKeyToAclIdMappingFactory("m");
  std::string const name = "a name that takes memory of its own";
  mapping->newKeyToId(Zil::AclKey(Acl::ip, name.c_str()), Vorn::AclId());
  auto const a = observe<MappingSpy>(mapping, "A");
  auto const b = observe<MappingSpy>(mapping, "B");
  a->act = [&] {
    a->act = nullptr;
    mapping->keyToIdDelAll();
  };
  mapping->keyToIdIs(mapping->keyToIdMap().begin()->key(), aclId);
  std::string const event = ":key(ip:" + name + ")";
  EXPECT_EQ(journal.take(), "A" + event + " A" + event + " B" + event + " B" + event);
}

TEST_F(Dispatch, MemoryForATellingIsNotTakenByAnotherThatComesBefore) {
  bool fails = true;
  for (std::size_t failing = 1; fails; ++failing) {
    SCOPED_TRACE(failing);
    auto const config = Vorn::rootConfigFactory("config", 1, 1), next = Vorn::rootConfigFactory("next", 2, 1);
    auto const coll = Vorn::rootConfigCollFactory("coll");
    auto old = Vorn::rootConfigFactory("old", 3, 1);
    config->initialize();
    config->vornAclColl()->aclIs(aclId, Acl::ip, "");
    old->initialize();
    coll->chipRootConfigLastFailedIs(old);
    std::size_t told = 0;
    std::vector<Ptr<Kro::PtrInterface>> spies;
    for (int i = 0; i < 9; ++i) {
      spies.insert(spies.end(), {quiet<ConfigSpy>(config, told), quiet<ConfigCollSpy>(coll, told)});
    }
    // Where something is replaced, its end changes what held it.
    auto const ofChild = quiet<AclCollSpy>(config->vornAclColl(), told);
    ofChild->isWeakReferenceIs(true);
    ofChild->act = [&] { config->vornRootKickIs(1); };
    auto const ofTarget = quiet<ConfigSpy>(std::exchange(old, nullptr), told);
    ofTarget->isWeakReferenceIs(true);
    ofTarget->act = [&] { coll->chipRootConfigIs(5, 2); };
    std::size_t replaced = 0;
    failAllocation(failing);
    try {
      config->vornAclCollIs("x");
      ++replaced;
      coll->chipRootConfigLastFailedIs(next);
      ++replaced;
    } catch (std::bad_alloc const&) {
    }
    fails = failAllocation(0);
    EXPECT_EQ(config->vornAclColl()->name() == "x", replaced > 0);
    EXPECT_EQ(coll->chipRootConfigLastFailed(1) == next, replaced > 1);
    EXPECT_EQ(told, 9 * (replaced + config->vornRootKick() + coll->chipRootConfigSize()));
  }
}

TEST_F(Dispatch, MemoryThatAFailedChangeLeftIsNoRoomForMoreObservers) {
  for (std::size_t failing = 1; failing <= 3; ++failing) {
    Ptr<VornAcl> const acl = newAcl();
    std::size_t told = 0;
    std::vector<Ptr<AclSpy>> spies;
    auto const observers = [&](std::size_t n) {
      while (spies.size() < n) {
        spies.push_back(quiet<AclSpy>(acl, told));
      }
    };
    observers(9);
    failAllocation(failing);
    try {
      acl->ipRuleByIdIs(at(1), logged());
    } catch (std::bad_alloc const&) {
    }
    failAllocation(0);
    observers(200);
    told = 0;
    acl->ipRuleByIdNotify(at(1));
    EXPECT_EQ(told, 200U);
  }
}

TEST_F(Dispatch, InADestructorLackOfMemoryEndsOneDispatchOnly) {
  for (std::size_t failing = 1; failing <= 4; ++failing) {
    SCOPED_TRACE(failing);
    Ptr<Vorn::VornAclColl> coll = Vorn::vornAclCollFactory("c");
    Ptr<VornAcl> const first = coll->aclIs(aclId, Acl::ip, "");
    Ptr<VornAcl> const second = coll->aclIs(otherId, Acl::ip, "");
    std::size_t told = 0;
    std::vector<Ptr<AclCollSpy>> spies;
    for (int i = 0; i < 9; ++i) {
      spies.push_back(quiet<AclCollSpy>(coll, told));
      spies.back()->isWeakReferenceIs(true);
    }
    failAllocation(failing);
    coll = nullptr;
    failAllocation(0);
    EXPECT_EQ(told, failing <= 3 ? 18U : 27U) << "the last reference and two removals are told to nine";
    EXPECT_FALSE(first->parent() || second->parent());
  }
}

}  // namespace
