// Attaching, registering, weakness, switching off, zombies, and who outlives whom.
#include <algorithm>
#include <array>
#include <optional>
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
    spies.back()->notifierIs(mapping);
    spies.back()->isRegisteredNotifieeIs(true);
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

/// What an observer must be after any sequence of operations; it is attached to an entity by number.
struct State {
  std::optional<std::size_t> at;
  bool isRegistered = false, isWeak = false, isActive = true, wasRegistered = false;
};

/// Observers and two entities beside a model of them, under random operations.
class ObserverModel : public EntityTest {
 protected:
  static constexpr std::size_t observers = 5;

  ObserverModel() {
    for (auto& spy : spies_) {
      spy = adopt(new MappingSpy);
    }
  }

  void step(std::uint32_t random) {
    std::size_t const i = random % observers;
    bool const on = (random >> 8U) % 2 != 0;
    MappingSpy& spy = *spies_[i];
    State state = states_[i];
    switch ((random >> 16U) % 8) {
      case 0:
      case 1:
        state.at = on ? std::optional<std::size_t>((random >> 9U) % 2) : std::nullopt;
        spy.notifierIs(on ? entities_[*state.at] : nullptr);
        break;
      case 2:
        spy.isRegisteredNotifieeIs(on);
        state.isRegistered = on;
        break;
      case 3:
        spy.isWeakReferenceIs(on);
        state.isWeak = on;
        break;
      case 4:
        spy.hasNotificationActiveIs(on);
        if (on != state.isActive) {
          state.wasRegistered = on ? state.wasRegistered : state.isRegistered;
          state.isRegistered = on && (state.wasRegistered || state.isRegistered);
          state.isActive = on;
        }
        break;
      case 5:
        if (on) {  // as a zombie, which must not be registered any more
          spy.hasNotificationActiveIs(false);
          spy.isRegisteredNotifieeIs(false);
          spy.kroMarkedForDeletionIs(true);
        }
        spies_[i] = adopt(new MappingSpy);
        state = {};
        break;
      default:
        mayDie_[on ? 1 : 0] = true;
    }
    if (state.at != states_[i].at || state.isRegistered != states_[i].isRegistered) {
      std::erase(told_[0], i);
      std::erase(told_[1], i);
      if (state.at && state.isRegistered) {
        told_[*state.at].push_back(i);
      }
    }
    states_[i] = state;
    dropWhereUnheld();
  }

  void check() {
    for (std::size_t e = 0; e < 2; ++e) {
      std::uint32_t strong = 1;
      std::uint32_t silent = 0;
      for (State const& state : states_) {
        strong += state.at == e && !state.isWeak ? 1U : 0U;
        silent += state.at == e && state.isWeak && !state.isRegistered ? 1U : 0U;
      }
      std::vector<Kro::NotifieeOf<AclKeyToAclIdMapping, Zil::AclKey> const*> expected, found;
      for (std::size_t const i : told_[e]) {
        expected.push_back(spies_[i].get());
      }
      auto const& list = entities_[e]->kroObservers();
      for (AclKeyToAclIdMapping::Observers::LrIterator it(list); it; ++it) {
        found.push_back(it.member().get());
      }
      EXPECT_EQ(found, expected) << "who is told, in which order";
      EXPECT_EQ(list.silent().count(), silent);
      EXPECT_EQ(entities_[e]->countWord(), strong);
      EXPECT_EQ(entities_[e]->auditErrors(9), 0U);
    }
    for (std::size_t i = 0; i < observers; ++i) {
      EXPECT_EQ(spies_[i]->notifier(), states_[i].at ? entities_[*states_[i].at].get() : nullptr) << i;
      EXPECT_EQ(spies_[i]->name().view(), states_[i].at ? names[*states_[i].at] : "") << i;
      EXPECT_EQ(spies_[i]->isRegisteredNotifiee(), states_[i].isRegistered) << i;
      EXPECT_EQ(spies_[i]->hasNotificationActive(), states_[i].isActive) << i;
    }
  }

 private:
  /// An entity that only weak observers know dies and forgets them; a new one takes its place.
  void dropWhereUnheld() {
    for (std::size_t e = 0; e < 2; ++e) {
      auto const holds = [e](State const& state) { return state.at == e && !state.isWeak; };
      if (mayDie_[e] && std::none_of(states_.begin(), states_.end(), holds)) {
        mayDie_[e] = false;
        entities_[e] = Vorn::aclKeyToAclIdMappingFactory(names[e]);
        told_[e].clear();
        for (State& state : states_) {
          state.at = state.at == e ? std::nullopt : state.at;
        }
      }
    }
  }

  static constexpr char const* names[] = {"first", "second"};
  Ptr<AclKeyToAclIdMapping> entities_[2] = {Vorn::aclKeyToAclIdMappingFactory(names[0]),
                                            Vorn::aclKeyToAclIdMappingFactory(names[1])};
  bool mayDie_[2] = {};
  Ptr<MappingSpy> spies_[observers];
  std::array<State, observers> states_;
  std::vector<std::size_t> told_[2];
};

TEST_F(ObserverModel, HoldsUnderRandomOperations) {
  std::mt19937 random(20240501);
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    SCOPED_TRACE("step " + std::to_string(i));
    step(static_cast<std::uint32_t>(random()));
    check();
  }
}

TEST_F(ObserverTest, WeakOnesHearTheLastReferenceGoAndAreLetGo) {
  Ptr<Vorn::VornAclColl> coll = Vorn::vornAclCollFactory("coll");
  Ptr<Vorn::VornAcl> const acl = coll->aclIs(aclId, Acl::ip, "");
  auto const weak = observeWeakly<AclCollSpy>(coll, "W");
  auto const silent = observeWeakly<AclCollSpy>(coll, "silent");
  silent->isRegisteredNotifieeIs(false);
  auto const off = observeWeakly<AclCollSpy>(coll, "off");
  off->hasNotificationActiveIs(false);
  auto late = observeWeakly<AclCollSpy>(coll, "late");
  weak->act = [&] {
    EXPECT_EQ(weak->name().view(), "coll") << "still there while it tells";
    Ptr<Vorn::VornAclColl const> taken = Kro::share(weak->notifier());  // and may be asked, not kept
    EXPECT_EQ(taken->aclMap().size(), acl->parent() ? 1U : 0U);
    late = nullptr;
  };
  coll = nullptr;
  EXPECT_EQ(journal.take(), "W:zero W:acl(ipv4PAcl:5:in)");
  for (auto const& spy : {weak, silent, off}) {
    EXPECT_EQ(spy->notifier(), nullptr);
    EXPECT_TRUE(spy->name().empty());
  }
  EXPECT_FALSE(acl->parent());

  Ptr<Vorn::VornAclColl> next = Vorn::vornAclCollFactory("next");
  next->zeroReferencesIs(true);
  weak->act = nullptr;
  for (auto const& spy : {weak, silent, off}) {
    spy->notifierIs(next);
  }
  off->hasNotificationActiveIs(true);
  next->zeroReferencesIs(false);
  EXPECT_EQ(journal.take(), "W:zero off:zero") << "each keeps its registration; the argument says nothing";
  // A report that fails does not stop the destructor.
  Ptr<Vorn::VornAcl> const member = next->aclIs(aclId, Acl::ip, "");
  journal.take();
  weak->act = [] { throw 1; };
  weak->report = [] { throw; };
  next = nullptr;
  EXPECT_EQ(journal.take(), "W:zero W:!5 W:acl(ipv4PAcl:5:in) W:!258");
  EXPECT_FALSE(member->parent());
  // An entity of another type detaches.
  Ptr<Vorn::VornAclColl> const last = Vorn::vornAclCollFactory("last");
  silent->notifierIs(last);
  silent->notifierIs(Vorn::aclKeyToAclIdMappingFactory("wrong"));
  EXPECT_EQ(silent->notifier(), nullptr);
}

TEST_F(ObserverTest, ListsAreReadWhileTheyChange) {
  Ptr<Vorn::VornAcl> const acl = adopt(new Vorn::VornAcl(aclId, Acl::ip, ""));
  Ptr<Vorn::VornAcl> const other = adopt(new Vorn::VornAcl(aclId, Acl::ip, ""));
  std::array<Ptr<AclSpy>, 4> spies;
  std::generate(spies.begin(), spies.end(), [&] { return observe<AclSpy>(acl, ""); });
  Vorn::VornAcl::Observers::LrIterator it(acl->kroObservers());
  spies[1]->isRegisteredNotifieeIs(false);
  EXPECT_EQ((++it).member(), spies[2]);
  Kro::BaseCollection const& list = acl->kroObservers();
  list.iteratorDelete(*list.iteratorSpaceCopy(it));
  spies[2]->notifierIs(other);
  spies[3]->notifierIs(other);
  EXPECT_FALSE(++it) << "the next one there is none of this list";
  EXPECT_FALSE(++it);
}

/// Handles of a whole tree and of its observers, dropped in every order.
TEST_F(ObserverTest, OutlivesItsTreeInEveryOrder) {
  std::array<std::size_t, 6> order = {0, 1, 2, 3, 4, 5};
  do {
    Ptr<Vorn::RootConfigColl> root = Vorn::rootConfigCollFactory("root");
    Ptr<Vorn::RootConfig> config = root->chipRootConfigIs(5, 1);
    root->chipRootConfigLastFailedIs(config);
    config->initialize();
    Ptr<Vorn::VornAclColl> coll = config->vornAclColl();
    Ptr<Vorn::VornAcl> acl = coll->aclIs(aclId, Acl::ip, "acl");
    acl->ipRuleByIdIs(Vorn::AceIndex(1, 0, 0), Vorn::IpRuleConfig());
    config->aclKeyToAclId()->keyToIdIs(Zil::AclKey(Acl::ip, "acl"), aclId);
    auto strong = observe<AclSpy>(acl, "S");
    auto weak = observeWeakly<AclCollSpy>(coll, "W");
    std::array<std::size_t, 6> place{};
    for (std::size_t i = 0; i < order.size(); ++i) {
      place[order[i]] = i;
      std::array<std::function<void()>, 6> const drops = {[&] { root = nullptr; },   [&] { config = nullptr; },
                                                          [&] { coll = nullptr; },   [&] { acl = nullptr; },
                                                          [&] { strong = nullptr; }, [&] { weak = nullptr; }};
      drops[order[i]]();
      EXPECT_EQ((root ? root->auditErrors(9) : 0U) + (coll ? coll->auditErrors(9) : 0U), 0U);
      EXPECT_TRUE(!acl || !coll || acl->parent() == coll);
    }
    bool const isHeard = place[5] > std::max({place[0], place[1], place[2]});
    EXPECT_EQ(journal.take(), isHeard ? "W:zero W:acl(ipv4PAcl:5:in)" : "");
  } while (std::next_permutation(order.begin(), order.end()) && !HasFailure());
}

}  // namespace
