// Telling observers: order, meddling observers, exceptions, memory.
#include <algorithm>
#include <array>

#include "tests/support/Allocations.h"
#include "tests/support/Spies.h"

namespace {

using namespace VornTest;
using Kro::adopt;
using Kro::Ptr;
using Vorn::AceIndex;
using Vorn::VornAcl;

Vorn::AclId const aclId(Vorn::ipv4PAcl, 5, Acl::in);

Vorn::IpRuleConfig logged() {
  Vorn::IpRuleConfig rule;
  rule.logIs(true);
  return rule;
}

enum class Deed { releases, unregisters, detaches, switchesOff, movesToTheEnd, adds, throws, rethrows };
constexpr std::array<char const*, 8> deedNames = {"Releaser",      "Unregisterer", "Detacher", "SwitcherOff",
                                                  "MoverToTheEnd", "Adder",        "Thrower",  "Rethrower"};

/// One of `count` observers meddles with one of them (itself among them) while a rule is set.
struct Meddling {
  Deed deed;
  std::size_t count, doer, target;
};

std::string nameOf(std::size_t i) { return std::string(1, static_cast<char>('A' + i)); }

/// What must be told of the change during which the deed is done.
std::string toldMeanwhile(Meddling const& m) {
  Journal expected;
  for (std::size_t i = 0; i < m.count; ++i) {
    if (m.deed == Deed::releases && i == m.target && i > m.doer) {
      continue;
    }
    expected.add(nameOf(i), "ip(1.0.0)");
    if (i == m.doer && (m.deed == Deed::throws || m.deed == Deed::rethrows)) {
      expected.add(nameOf(i), "!261");
      if (m.deed == Deed::rethrows) {
        break;
      }
    }
  }
  return expected.take();
}

/// What must be told of the next change.
std::string toldAfter(Meddling const& m) {
  bool const isGone = m.deed <= Deed::switchesOff;
  Journal expected;
  for (std::size_t i = 0; i < m.count; ++i) {
    if (i != m.target || !(isGone || m.deed == Deed::movesToTheEnd)) {
      expected.add(nameOf(i), "ip(2.0.0)");
    }
  }
  if (m.deed == Deed::movesToTheEnd) {
    expected.add(nameOf(m.target), "ip(2.0.0)");
  } else if (m.deed == Deed::adds) {
    expected.add("new", "ip(2.0.0)");
  }
  return expected.take();
}

class Dispatch : public EntityTest {
 protected:
  void meddle(Meddling const& m) {
    Ptr<VornAcl> const acl = adopt(new VornAcl(aclId, Acl::ip, "acl"));
    std::vector<Ptr<AclSpy>> spies;
    for (std::size_t i = 0; i < m.count; ++i) {
      spies.push_back(observe<AclSpy>(acl, nameOf(i)));
    }
    Ptr<AclSpy> added;
    std::array<std::function<void()>, 8> const deeds = {[&] { spies[m.target] = nullptr; },
                                                        [&] { spies[m.target]->isRegisteredNotifieeIs(false); },
                                                        [&] { spies[m.target]->notifierIs(nullptr); },
                                                        [&] { spies[m.target]->hasNotificationActiveIs(false); },
                                                        [&] {
                                                          spies[m.target]->isRegisteredNotifieeIs(false);
                                                          spies[m.target]->isRegisteredNotifieeIs(true);
                                                        },
                                                        [&] { added = observe<AclSpy>(acl, "new"); },
                                                        [] { throw 1; },
                                                        [] { throw 1; }};
    spies[m.doer]->act = deeds[static_cast<std::size_t>(m.deed)];
    if (m.deed == Deed::rethrows) {
      spies[m.doer]->report = [] { throw; };
    }
    bool hasThrown = false;
    Cost const cost = costOf(*acl, [&] {
      try {
        acl->ipRuleByIdIs(AceIndex(1, 0, 0), logged());
      } catch (int) {
        hasThrown = true;
      }
    });
    EXPECT_EQ(hasThrown, m.deed == Deed::rethrows);
    EXPECT_EQ(journal.take(), toldMeanwhile(m));
    EXPECT_EQ(cost, (Cost{1, 0})) << "the change stands in every case";
    EXPECT_EQ(acl->ipRuleById(AceIndex(1, 0, 0)), logged());
    EXPECT_EQ(acl->auditErrors(9), 0U);
    if (spies[m.doer]) {
      spies[m.doer]->act = nullptr;
    }
    acl->ipRuleByIdIs(AceIndex(2, 0, 0), logged());
    EXPECT_EQ(journal.take(), toldAfter(m));
    EXPECT_EQ(acl->auditErrors(9), 0U);
  }
};

TEST_F(Dispatch, StandsMeddlingObserversInEveryPosition) {
  for (std::size_t const count : {1U, 3U, 10U}) {
    for (Deed const deed : {Deed::releases, Deed::unregisters, Deed::detaches, Deed::switchesOff, Deed::movesToTheEnd,
                            Deed::adds, Deed::throws, Deed::rethrows}) {
      for (std::size_t doer = 0; doer < count; ++doer) {
        for (std::size_t target = 0; target < count; ++target) {
          SCOPED_TRACE(std::string(deedNames[static_cast<std::size_t>(deed)]) + ' ' + nameOf(doer) + " on " +
                       nameOf(target) + " of " + std::to_string(count));
          meddle({deed, count, doer, target});
        }
      }
    }
  }
}

TEST_F(Dispatch, CatchesEveryTypeOfException) {
  Ptr<VornAcl> const acl = adopt(new VornAcl(aclId, Acl::ip, "acl"));
  auto const thrower = observe<AclSpy>(acl, "Thrower");
  auto const other = observe<AclSpy>(acl, "B");
  for (std::function<void()> const& act :
       std::vector<std::function<void()>>{[] { throw 1; }, [] { throw std::bad_alloc(); },
                                          [] { Kro::throwRangeException("text"); }, [] { throw Ptr<VornAcl>(); }}) {
    thrower->act = act;
    acl->macRuleByIdNotify(AceIndex(7, 0, 0));
    EXPECT_EQ(journal.take(), "Thrower:mac(7.0.0) Thrower:!262 B:mac(7.0.0)");
  }
}

TEST_F(Dispatch, NestsAndTellsInnerChangesFirst) {
  Ptr<VornAcl> const acl = adopt(new VornAcl(aclId, Acl::ip, "acl"));
  auto const a = observe<AclSpy>(acl, "A");
  auto b = observe<AclSpy>(acl, "B");
  a->act = [&] {
    a->act = nullptr;
    acl->ipRuleByIdDel(AceIndex(1, 0, 0));
    acl->macRuleByIdIs(AceIndex(2, 0, 0), Vorn::MacRuleConfig());
  };
  acl->ipRuleByIdIs(AceIndex(1, 0, 0), logged());
  EXPECT_EQ(journal.take(), "A:ip(1.0.0) A:ip(1.0.0) B:ip(1.0.0) A:mac(2.0.0) B:mac(2.0.0) B:ip(1.0.0)");

  // The outer snapshot holds B too, so the inner one finds it held and calls it; the outer one does not any more.
  a->act = [&] {
    a->act = nullptr;
    b = nullptr;
    acl->ipRuleByIdIs(AceIndex(4, 0, 0), logged());
  };
  acl->ipRuleByIdIs(AceIndex(3, 0, 0), logged());
  EXPECT_EQ(journal.take(), "A:ip(3.0.0) A:ip(4.0.0) B:ip(4.0.0)");
  EXPECT_EQ(acl->auditErrors(9), 0U);
}

TEST_F(Dispatch, ToldKeySurvivesTheRecordItComesFrom) {
  Ptr<Vorn::AclKeyToAclIdMapping> const mapping = Vorn::aclKeyToAclIdMappingFactory("m");
  mapping->newKeyToId(Zil::AclKey(Acl::ip, "a name that takes memory of its own"), Vorn::AclId());
  auto const a = observe<MappingSpy>(mapping, "A");
  auto const b = observe<MappingSpy>(mapping, "B");
  a->act = [&] {
    a->act = nullptr;
    b->act = nullptr;
    mapping->keyToIdDelAll();
  };
  mapping->keyToIdIs(mapping->keyToIdMap().begin()->key(), aclId);
  EXPECT_EQ(journal.take(),
            "A:key(ip:a name that takes memory of its own) A:key(ip:a name that takes memory of its own) "
            "B:key(ip:a name that takes memory of its own) B:key(ip:a name that takes memory of its own)");
}

/// A tree with quiet observers everywhere.
struct Tree {
  explicit Tree(std::size_t observers) {
    configs->chipRootConfigLastFailedIs(config);
    config->initialize();
    aclColl = config->vornAclColl();
    acl = aclColl->aclIs(aclId, Acl::ip, "acl");
    acl->ipRuleByIdIs(AceIndex(1, 0, 0), Vorn::IpRuleConfig());
    for (std::size_t i = 0; i < observers; ++i) {
      add<ConfigCollSpy>(configs);
      add<ConfigSpy>(config);
      add<AclCollSpy>(aclColl);
      add<AclSpy>(acl);
    }
  }
  template <class S, class X>
  void add(Ptr<X> const& entity) {
    auto const spy = adopt(new S);
    spy->isRegisteredNotifieeIs(true);
    spy->notifierIs(entity);
    spies.push_back(spy);
    calls.push_back([counter = &spy->calls] { return *counter; });
  }
  std::size_t told() const {
    std::size_t sum = 0;
    for (auto const& count : calls) {
      sum += count();
    }
    return sum;
  }
  std::uint32_t mutations() const {
    return configs->mutationCount() + config->mutationCount() + aclColl->mutationCount() + acl->mutationCount() +
           config->vornRootKick();
  }

  Ptr<Vorn::RootConfigColl> configs = Vorn::rootConfigCollFactory("root");
  Ptr<Vorn::RootConfig> config = configs->chipRootConfigIs(5, 1);
  Ptr<Vorn::RootConfig> other = Vorn::rootConfigFactory("other", 6, 1);
  Ptr<Vorn::RootConfig> third = Vorn::rootConfigFactory("third", 7, 2);
  Ptr<Vorn::VornAclColl> aclColl;
  Ptr<VornAcl> acl;
  std::vector<Ptr<Kro::PtrInterface>> spies;
  std::vector<std::function<std::size_t()>> calls;
};

struct Operation {
  char const* what;
  void (*act)(Tree&);
  bool isCreating = false;  ///< takes memory of its own
};
Vorn::AclId const otherId(Vorn::macAcl, 1, Acl::out);
Operation const operations[] = {
    {"set in place", [](Tree& t) { t.acl->ipRuleByIdIs(AceIndex(1, 0, 0), logged()); }},
    {"set anew", [](Tree& t) { t.acl->ipRuleByIdIs(AceIndex(2, 0, 0), logged()); }, true},
    {"remove a rule", [](Tree& t) { t.acl->ipRuleByIdDel(AceIndex(1, 0, 0)); }},
    {"create an ACL", [](Tree& t) { t.aclColl->aclIs(otherId, Acl::mac, "other"); }, true},
    {"remove an ACL", [](Tree& t) { t.aclColl->aclDel(aclId); }},
    {"scalar", [](Tree& t) { t.config->activeIs(true); }},
    {"counter", [](Tree& t) { t.config->vornRootKickInc(1); }},
    {"replace a child", [](Tree& t) { t.config->vornAclCollIs("other"); }, true},
    {"remove a child", [](Tree& t) { t.config->aclKeyToAclIdDel(); }},
    {"create a configuration", [](Tree& t) { t.configs->chipRootConfigIs(6, 1); }, true},
    {"remove a configuration", [](Tree& t) { t.configs->chipRootConfigDel(5); }},
    {"replace a reference", [](Tree& t) { t.configs->chipRootConfigLastFailedIs(t.other); }},
    {"create a reference", [](Tree& t) { t.configs->chipRootConfigLastFailedIs(t.third); }, true},
    {"remove a reference", [](Tree& t) { t.configs->chipRootConfigLastFailedDel(1); }},
};

TEST_F(Dispatch, AllocatesOnlyForMoreThanEightObservers) {
  for (Operation const& operation : operations) {
    for (std::size_t const observers : {0U, 8U, 9U}) {
      SCOPED_TRACE(std::string(operation.what) + ", observers: " + std::to_string(observers));
      Tree tree(observers);
      std::size_t const before = allocations();
      operation.act(tree);
      std::size_t const made = allocations() - before;
      EXPECT_EQ(tree.told(), observers);
      EXPECT_TRUE(operation.isCreating || made == (observers > 8 ? 1 : 0)) << made;
    }
  }
}

TEST_F(Dispatch, LackOfMemoryChangesNothingOrTellsAll) {
  for (Operation const& operation : operations) {
    SCOPED_TRACE(operation.what);
    bool hasThrown = true;
    for (std::size_t failing = 1; hasThrown; ++failing) {
      SCOPED_TRACE("allocation " + std::to_string(failing));
      Tree tree(9);
      std::uint32_t const before = tree.mutations();
      hasThrown = false;
      failAllocation(failing);
      try {
        operation.act(tree);
      } catch (std::bad_alloc const&) {
        hasThrown = true;
      }
      failAllocation(0);
      EXPECT_EQ(tree.told(), hasThrown ? 0U : 9U);
      EXPECT_EQ(tree.mutations() != before, !hasThrown);
      EXPECT_EQ(tree.configs->auditErrors(9), 0U);
      ASSERT_TRUE(hasThrown || failing > 1) << "nine observers take memory, and it was there";
    }
  }
}

TEST_F(Dispatch, InADestructorLackOfMemoryEndsOneDispatchOnly) {
  for (std::size_t failing = 1; failing <= 4; ++failing) {
    SCOPED_TRACE(failing);
    Ptr<Vorn::VornAclColl> coll = Vorn::vornAclCollFactory("c");
    Ptr<VornAcl> const first = coll->aclIs(aclId, Acl::ip, "");
    Ptr<VornAcl> const second = coll->aclIs(otherId, Acl::ip, "");
    std::vector<Ptr<AclCollSpy>> spies;
    for (int i = 0; i < 9; ++i) {
      spies.push_back(adopt(new AclCollSpy));
      spies.back()->isRegisteredNotifieeIs(true);
      spies.back()->notifierIs(coll);
      spies.back()->isWeakReferenceIs(true);
    }
    failAllocation(failing);
    coll = nullptr;
    failAllocation(0);
    std::size_t told = 0;
    for (auto const& spy : spies) {
      told += spy->calls;
    }
    EXPECT_EQ(told, failing <= 3 ? 18U : 27U) << "the last reference and two removals are told to nine";
    EXPECT_FALSE(first->parent() || second->parent());
  }
}

}  // namespace
