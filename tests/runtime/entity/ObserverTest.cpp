// Attaching, registering, weakness, switching off, and the last reference.
#include <array>
#include <map>
#include <random>

#include "runtime/log/Connection.h"
#include "tests/support/Spies.h"

namespace {

using namespace VornTest;
using Kro::adopt;
using Kro::Ptr;
using Vorn::AclKeyToAclIdMapping;

Vorn::AclId const aclId(Vorn::ipv4PAcl, 5, Acl::in);

using ObserverTest = EntityTest;

/// Reacts on behalf of a stream adapter, as the registration of one does.
class AdaptersSpy : public MappingSpy {
 public:
  using MappingSpy::MappingSpy;
  Ptr<Kro::PtrInterface::NotifieeConst> kroReactor() const override { return adapter; }

  Ptr<Kro::PtrInterface::NotifieeConst> adapter;
};

TEST_F(ObserverTest, StreamAdaptersAreToldFirstTheLatestAhead) {
  using Kro::NboAttrLog::Connection;
  Ptr<AclKeyToAclIdMapping> const mapping = Vorn::aclKeyToAclIdMappingFactory("mapping");
  auto const a = observe<MappingSpy>(mapping, "A");
  auto const b = observe<MappingSpy>(mapping, "B");
  auto const connection = Connection::create(Connection::Role::opener);
  connection->rootIs(mapping);
  auto const adapter = mapping->kroNboAttrLogSa(connection->out());
  ASSERT_TRUE(adapter);
  EXPECT_EQ(mapping->kroObservers().head()->kroReactor(), adapter) << "a real one, attached last";
  std::vector<Ptr<AdaptersSpy>> spies;
  for (char const* name : {"S", "T"}) {
    spies.push_back(adopt(new AdaptersSpy(&journal, name)));
    spies.back()->adapter = adapter;
    spies.back()->isRegisteredNotifieeIs(true);
    spies.back()->notifierIs(mapping);
  }
  auto const order = [&] {
    mapping->keyToIdNotify(Zil::AclKey());
    EXPECT_EQ(mapping->auditErrors(9), 0U);
    return journal.take();
  };
  EXPECT_EQ(order(), "T:key(ip:) S:key(ip:) A:key(ip:) B:key(ip:)");
  for (Ptr<MappingSpy> const& spy : {Ptr<MappingSpy>(spies[0]), a}) {
    spy->hasNotificationActiveIs(false);
    spy->hasNotificationActiveIs(true);
  }
  EXPECT_EQ(order(), "S:key(ip:) T:key(ip:) B:key(ip:) A:key(ip:)") << "off and on moves within the kind";
  EXPECT_TRUE(connection->rootDel(mapping));
}

/// An observer beside what it must be after any sequence of operations.
struct Observer {
  Ptr<MappingSpy> spy;
  AclKeyToAclIdMapping* at = nullptr;
  bool isRegistered = false, isWeak = false, isActive = true, wasRegistered = false;
  int since = 0;  ///< the step in which it took its place among those that are told
};

TEST_F(ObserverTest, HoldsUnderRandomOperations) {
  Ptr<AclKeyToAclIdMapping> const entities[] = {Vorn::aclKeyToAclIdMappingFactory("first"),
                                                Vorn::aclKeyToAclIdMappingFactory("second")};
  std::array<Observer, 5> all;
  std::mt19937 random(20240501);
  for (int step = 0; step < 20000 && !HasFailure(); ++step) {
    SCOPED_TRACE(step);
    auto const number = static_cast<std::uint32_t>(random());
    bool const on = (number >> 8U) % 2 != 0;
    Observer& o = all[number % all.size()];
    auto const before = std::pair(o.at, o.isRegistered);
    auto const kind = o.spy ? (number >> 16U) % 7 : 6;
    if (kind < 3) {
      o.at = on ? entities[(number >> 9U) % 2].get() : nullptr;
      o.spy->notifierIs(Kro::share(o.at));
    } else if (kind == 3) {
      o.spy->isRegisteredNotifieeIs(o.isRegistered = on);
    } else if (kind == 4) {
      o.spy->isWeakReferenceIs(o.isWeak = on);
    } else if (kind == 5) {
      o.spy->hasNotificationActiveIs(on);
      if (std::exchange(o.isActive, on) != on) {
        o.wasRegistered = on ? o.wasRegistered : o.isRegistered;
        o.isRegistered = on && (o.wasRegistered || o.isRegistered);
      }
    } else {
      if (o.spy) {
        o.spy->kroMarkedForDeletionIs(on);  // such a one takes itself out of the list, too
      }
      o = {adopt(new MappingSpy(&journal, std::to_string(number % all.size())))};
    }
    o.since = before != std::pair(o.at, o.isRegistered) ? step : o.since;
    EXPECT_EQ(o.spy->notifier(), o.at);
    EXPECT_EQ(o.spy->isRegisteredNotifiee(), o.isRegistered);
    for (auto const& entity : entities) {
      std::map<int, std::string> places;
      std::string told;
      std::uint32_t strong = 1, silent = 0;
      for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i].at == entity.get()) {
          strong += all[i].isWeak ? 0U : 1U;
          silent += all[i].isWeak && !all[i].isRegistered ? 1U : 0U;
          places[all[i].isRegistered ? all[i].since : -1] = std::to_string(i) + ":key(ip:)";
        }
      }
      places.erase(-1);
      for (auto const& [since, name] : places) {
        told += (told.empty() ? "" : " ") + name;
      }
      entity->keyToIdNotify(Zil::AclKey());
      EXPECT_EQ(journal.take(), told);
      EXPECT_EQ(entity->kroObservers().silent().count(), silent);
      EXPECT_EQ(entity->countWord(), strong);
      EXPECT_EQ(entity->auditErrors(9), 0U);
    }
  }
}

TEST_F(ObserverTest, WeakOnesHearTheLastReferenceGoAndAreLetGo) {
  Ptr<Vorn::VornAclColl> coll = Vorn::vornAclCollFactory("coll");
  Ptr<Vorn::VornAcl> const acl = coll->aclIs(aclId, Acl::ip, "");
  auto const weak = observeWeakly<AclCollSpy>(coll, "W");
  auto const silent = observeWeakly<AclCollSpy>(coll, "silent");
  silent->isRegisteredNotifieeIs(false);
  auto late = observeWeakly<AclCollSpy>(coll, "late");
  weak->act = [&] {
    EXPECT_EQ(weak->name().view(), "coll") << "still there while it tells";
    Ptr<Vorn::VornAclColl const> taken = Kro::share(weak->notifier());  // and may be asked, not kept
    EXPECT_EQ(taken->aclMap().size(), acl->parent() ? 1U : 0U);
    late = nullptr;
  };
  weak->report = [] { throw; };
  coll = nullptr;
  EXPECT_EQ(journal.take(), "W:zero W:acl(ipv4PAcl:5:in)");
  EXPECT_FALSE(weak->notifier() || silent->notifier() || acl->parent());
  EXPECT_TRUE(silent->name().empty());

  Ptr<Vorn::VornAclColl> next = Vorn::vornAclCollFactory("next");
  weak->act = nullptr;
  weak->notifierIs(next);
  next->zeroReferencesIs(false);
  EXPECT_EQ(journal.take(), "W:zero") << "it keeps its registration; the argument says nothing";
  Ptr<Vorn::VornAcl> const member = next->aclIs(aclId, Acl::ip, "");
  journal.take();
  weak->act = [] { throw 1; };  // a report that fails does not stop the destructor
  next = nullptr;
  EXPECT_EQ(journal.take(), "W:zero W:!5 W:acl(ipv4PAcl:5:in) W:!258");
  EXPECT_FALSE(member->parent());
  silent->notifierIs(acl);
  EXPECT_EQ(silent->notifier(), nullptr) << "an entity of another type detaches";
}

}  // namespace
