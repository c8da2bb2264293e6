// The six collections of the model: what each operation costs and tells, iterators, removal of all, comparison, the
// end. One body for what holds for all of them.
#include <sstream>

#include "tests/Contracts.h"
#include "tests/support/Spies.h"

namespace {

using namespace Vorn;
using namespace VornTest;
using Kro::adopt;
using Kro::Ptr;

AclId aclId(std::uint32_t n) { return {Vorn::ipv4PAcl, static_cast<std::uint8_t>(n), Acl::in}; }
Ptr<VornAcl> newAcl() { return adopt(new VornAcl(aclId(5), Acl::ip, "acl")); }

/// The place of an attribute in the list of its type.
template <class X>
constexpr std::size_t placeOf(std::string_view name) {
  std::size_t place = 0, n = 0;
  Kro::forEachEntityAttribute<X>([&](auto const& d) { place = d.name == name ? n++ : (n++, place); });
  return place;
}

/// A collection: its owner, descriptor and functions, and what observers say of it.
#define COLLECTION(X, attribute, observer, what)                               \
  using Owner = X;                                                             \
  using Spy = observer;                                                        \
  static constexpr auto d = Kro::entityAttribute<X, placeOf<X>(#attribute)>;   \
  static constexpr auto get = &X::attribute;                                   \
  static constexpr auto size = &X::attribute##Size;                            \
  static constexpr auto delAll = &X::attribute##DelAll;                        \
  static Iterator<decltype(d)> begin(X& x) { return x.attribute##Iterator(); } \
  static constexpr char const* event = what

template <class D>
using Iterator = typename std::remove_cvref_t<D>::MapType::Iterator;

/// Each makes its owner, keys and what stands under them from numbers: `put` tells observers, `store` does not.
struct IpRules {
  COLLECTION(VornAcl, ipRuleById, AclSpy, "ip");
  static Ptr<VornAcl> make() { return newAcl(); }
  static AceIndex key(std::uint32_t n) { return {n, 0, 0}; }
  static Vorn::IpRuleConfig value(std::uint32_t n) {
    Vorn::IpRuleConfig rule;
    rule.logIs(n % 2 != 0);
    return rule;
  }
  static void put(VornAcl& x, std::uint32_t n) { x.ipRuleByIdIs(key(n), value(n)); }
  static auto store(VornAcl& x, std::uint32_t n, std::uint32_t v) { return x.newIpRuleById(key(n), value(v)); }
};
struct MacRules {
  COLLECTION(VornAcl, macRuleById, AclSpy, "mac");
  static Ptr<VornAcl> make() { return newAcl(); }
  static AceIndex key(std::uint32_t n) { return {n, 0, 0}; }
  static Vorn::MacRuleConfig value(std::uint32_t n) {
    Vorn::MacRuleConfig rule;
    rule.countIs(n % 2 != 0);
    return rule;
  }
  static void put(VornAcl& x, std::uint32_t n) { x.macRuleByIdIs(key(n), value(n)); }
  static auto store(VornAcl& x, std::uint32_t n, std::uint32_t v) { return x.newMacRuleById(key(n), value(v)); }
};
struct Keys {
  COLLECTION(AclKeyToAclIdMapping, keyToId, MappingSpy, "key");
  static Ptr<AclKeyToAclIdMapping> make() { return Vorn::aclKeyToAclIdMappingFactory("mapping"); }
  static Zil::AclKey key(std::uint32_t n) { return {Acl::ip, Kro::valueToStrep(n)}; }
  static AclId value(std::uint32_t n) { return n % 2 != 0 ? aclId(n) : AclId(); }
  static void put(Owner& x, std::uint32_t n) { x.keyToIdIs(key(n), value(n)); }
  static auto store(Owner& x, std::uint32_t n, std::uint32_t v) { return x.newKeyToId(key(n), value(v)); }
};
struct Acls {
  COLLECTION(VornAclColl, acl, AclCollSpy, "acl");
  static Ptr<VornAclColl> make() { return Vorn::vornAclCollFactory("acls"); }
  static AclId key(std::uint32_t n) { return aclId(n); }
  static void put(Owner& x, std::uint32_t n) { x.aclIs(key(n), Acl::ip, "acl"); }
  static void store(Owner& x, std::uint32_t n, std::uint32_t) { x.newAcl(key(n), Acl::ip, "acl"); }
};
struct Configs {
  COLLECTION(RootConfigColl, chipRootConfig, ConfigCollSpy, "config");
  static Ptr<RootConfigColl> make() { return Vorn::rootConfigCollFactory("root"); }
  static std::uint32_t key(std::uint32_t n) { return n; }
  static void put(Owner& x, std::uint32_t n) { x.chipRootConfigIs(n, 1); }
  static void store(Owner& x, std::uint32_t n, std::uint32_t) { x.newChipRootConfig(n, 1); }
};
struct Failed {
  COLLECTION(RootConfigColl, chipRootConfigLastFailed, ConfigCollSpy, "failed");
  static Ptr<RootConfigColl> make() { return Vorn::rootConfigCollFactory("root"); }
  static Vorn::ChipId key(std::uint32_t n) { return Vorn::ChipId(static_cast<std::uint16_t>(n)); }
  static Ptr<RootConfig> config(std::uint32_t n) { return Vorn::rootConfigFactory("failed", 6, key(n)); }
  static void put(Owner& x, std::uint32_t n) { x.chipRootConfigLastFailedIs(config(n)); }
  static void store(Owner& x, std::uint32_t n, std::uint32_t) { x.newChipRootConfigLastFailed(config(n)); }
};

template <class S>
class Collection : public EntityTest {
 protected:
  using Owner = typename S::Owner;

  auto get(std::uint32_t n) { return ((*held).*S::get)(S::key(n)); }
  auto del(std::uint32_t n) { return ((*held).*(S::d.del))(S::key(n)); }
  auto delAt(Iterator<decltype(S::d)>& at) { return ((*held).*(S::d.delAt))(at); }
  auto const& map() { return (*held).*(S::d.field); }
  /// What observer `name` is told of these keys.
  static std::string told(std::vector<std::uint32_t> const& keys, std::string const& name = "A") {
    Journal expected;
    for (std::uint32_t const n : keys) {
      std::ostringstream event;
      event << S::event << '(' << S::key(n) << ')';
      expected.add(name, event.str());
    }
    return expected.take();
  }
  /// Of the first twenty numbers, those that stand there, in the order of the map.
  std::vector<std::uint32_t> numbers() {
    std::vector<std::uint32_t> result;
    for (auto it = S::begin(*held); it; it.advance()) {
      for (std::uint32_t n = 0; n < 20; ++n) {
        if (map().find(S::key(n)) == it.member().get()) {
          result.push_back(n);
        }
      }
    }
    return result;
  }

  Ptr<Owner> held = S::make();
};
using Six = testing::Types<IpRules, MacRules, Keys, Acls, Configs, Failed>;
TYPED_TEST_SUITE(Collection, Six);

TYPED_TEST(Collection, CountsAndTellsWhatChanges) {
  using S = TypeParam;
  auto& x = *this->held;
  auto const a = this->template observe<typename S::Spy>(this->held, "A");
  auto const told = [](auto... keys) { return TestFixture::told({static_cast<std::uint32_t>(keys)...}); };
  auto const none = this->get(9);
  auto three = none;
  // In a handler the new state is there, of a member's parent, too.
  auto const seeing = [&](bool isThere, std::function<void()> act) {
    return [&, isThere, act = std::move(act)] {
      std::uint32_t const before = x.mutationCount();
      a->act = [&, before] {
        auto const* const record = this->map().find(S::key(3));
        EXPECT_EQ(record != nullptr, isThere);
        EXPECT_EQ(x.mutationCount(), before + 1);
        if constexpr (std::remove_cvref_t<decltype(S::d)>::kind == Kro::AttributeKind::members) {
          auto const parent = isThere ? record->parent() : three->parent();
          EXPECT_EQ(parent, isThere ? this->held : nullptr);
          EXPECT_EQ(isThere ? record->parentAttrId() : S::d.id, S::d.id);
        }
      };
      act();
      a->act = nullptr;
    };
  };
  Ptr<typename S::Owner> const elsewhere = S::make();
  S::store(*elsewhere, 1, 1);
  Iterator<decltype(S::d)> it, atEnd, foreign = S::begin(*elsewhere);
  this->run(x, {{"put", seeing(true, [&] { S::put(x, 3); }), {1, 0}, told(3)},
                {"get", [&] { three = this->get(3); }, {0, 1}, ""},
                {"get an absent one", [&] { EXPECT_EQ(this->get(9), none); }, {0, 1}, ""},
                {"size", [&] { EXPECT_EQ((x.*S::size)(), 1U); }, {0, 1}, ""},
                {"store", [&] { S::store(x, 1, 1); }, {0, 0}, ""},
                {"tell of an absent one", [&] { (x.*(S::d.notify))(S::key(9)); }, {0, 0}, told(9)},
                {"remove", seeing(false, [&] { EXPECT_EQ(this->del(3), three); }), {1, 0}, told(3)},
                {"remove it again", [&] { EXPECT_EQ(this->del(3), none); }, {0, 0}, ""},
                {"stand", [&] { it = S::begin(x); }, {0, 0}, ""},
                {"remove at", [&] { EXPECT_NE(this->delAt(it), none); }, {1, 0}, told(1)},
                {"detached", [&] { EXPECT_EQ(this->delAt(it), none); }, {0, 0}, ""},
                {"put back", [&] { S::put(x, 1); }, {1, 0}, told(1)},
                {"still detached", [&] { EXPECT_EQ(this->delAt(it), none); }, {0, 0}, ""},
                {"of another owner", [&] { EXPECT_EQ(this->delAt(foreign), none); }, {0, 0}, ""},
                {"at the end", [&] { EXPECT_EQ(this->delAt(atEnd), none); }, {0, 0}, ""},
                {"fill", [&] { S::put(x, 7), S::put(x, 2); }, {2, 0}, told(7, 2)}});
  auto const numbers = this->numbers();
  EXPECT_EQ(numbers.size(), 3U);
  this->run(x, {{"remove all", [&] { (x.*S::delAll)(); }, {3, 0}, this->told(numbers)},
                {"remove all of none", [&] { (x.*S::delAll)(); }, {0, 0}, ""}});
  a->act = [] { throw 1; };
  S::put(x, 1);
  EXPECT_EQ(this->journal.take(), told(1) + " A:!" + std::to_string(S::d.id));
}

TYPED_TEST(Collection, NothingTouchesAnOwnerThatAHandlerDestroyed) {
  using S = TypeParam;
  using X = typename S::Owner;
  for (std::function<void(X&)> const& act :
       std::vector<std::function<void(X&)>>{[](X& x) { S::put(x, 2); }, [](X& x) { (x.*(S::d.notify))(S::key(1)); },
                                            [](X& x) { (x.*(S::d.del))(S::key(1)); }, [](X& x) { (x.*S::delAll)(); },
                                            [](X& x) {
                                              auto it = S::begin(x);
                                              (x.*(S::d.delAt))(it);
                                            }}) {
    this->held = S::make();
    for (std::uint32_t const n : {1U, 4U, 5U}) {
      S::store(*this->held, n, n);
    }
    auto const w = this->template observeWeakly<typename S::Spy>(this->held, "W", [&] { this->held = nullptr; });
    auto const b = this->template observeWeakly<typename S::Spy>(this->held, "B");
    act(*this->held);
    EXPECT_FALSE(this->held);
    EXPECT_EQ(w->notifier(), nullptr);
    EXPECT_GE(b->calls, 2U) << "it is alive, and so is still told";
  }
}

template <class S>
class ValueCollection : public Collection<S> {};
using Three = testing::Types<IpRules, MacRules, Keys>;
TYPED_TEST_SUITE(ValueCollection, Three);

TYPED_TEST(ValueCollection, OverwritesInPlaceAndReplacesByStoring) {
  using S = TypeParam;
  auto& x = *this->held;
  auto const a = this->template observe<typename S::Spy>(this->held, "A");
  auto const set = [&](std::uint32_t n, std::uint32_t v) { (x.*(S::d.set))(S::key(n), S::value(v)); };
  auto const none = this->get(9);
  EXPECT_EQ(none, S::value(0));
  auto const record = S::store(x, 1, 1);
  auto const version = this->map().version();
  auto standing = S::begin(x);
  this->run(x, {{"set the same", [&] { set(1, 1); }, {0, 0}, ""},
                {"set another", [&] { set(1, 0); }, {1, 0}, this->told({1})}});
  EXPECT_EQ(this->map()[S::key(1)], record);
  EXPECT_EQ(this->map().version(), version);
  auto const next = S::store(x, 1, 1);
  EXPECT_EQ(this->map()[S::key(1)], next);
  EXPECT_EQ(standing.value(), none) << "the old record is detached, not changed";
  EXPECT_NE(this->map().version(), version);
  this->run(x,
            {{"set the default", [&] { set(4, 0); }, {1, 0}, this->told({4})},
             {"remove the default", [&] { EXPECT_EQ(this->del(4), none); }, {1, 0}, this->told({4})},
             {"remove by its own key", [&] { (x.*(S::d.del))(this->map().begin()->key()); }, {1, 0}, this->told({1})}});
  auto const w = this->template observeWeakly<typename S::Spy>(this->held, "W");
  w->notifierIs(S::make());
  EXPECT_EQ(this->journal.take(), "W:zero") << "nothing else is told of the end";
}

class RemoveAllTest : public Collection<IpRules> {};

TEST_F(RemoveAllTest, StandsWhatHandlersDo) {
  struct Case {
    char const* what;
    std::function<void()> act;  ///< when the second rule is told
    std::string told;
    std::vector<std::uint32_t> left;
  };
  for (Case const& c :
       std::vector<Case>{{"nothing", [] {}, told({2, 4, 6}, "W"), {}},
                         {"adds behind", [&] { IpRules::put(*held, 3); }, told({2, 4, 3, 6}, "W"), {3}},
                         {"adds ahead", [&] { IpRules::put(*held, 5); }, told({2, 4, 5, 5, 6}, "W"), {}},
                         {"puts back", [&] { IpRules::put(*held, 4); }, told({2, 4, 4, 6}, "W"), {4}},
                         {"removes ahead", [&] { del(6); }, told({2, 4, 6}, "W"), {}},
                         {"removes all", [&] { held->ipRuleByIdDelAll(); }, told({2, 4, 6}, "W"), {}},
                         {"rethrows", [] { throw 1; }, told({2, 4}, "W") + " W:!261", {6}},
                         {"drops the last handle", [&] { held = nullptr; }, told({2, 4, 6}, "W") + " W:zero", {}}}) {
    SCOPED_TRACE(c.what);
    held = newAcl();
    for (std::uint32_t const n : {6U, 2U, 4U}) {
      IpRules::store(*held, n, 1);
    }
    auto const spy = observeWeakly<AclSpy>(held, "W");
    spy->act = [&] { spy->calls == 2 ? c.act() : void(); };
    spy->report = [] { throw; };
    bool hasThrown = false;
    try {
      held->ipRuleByIdDelAll();
    } catch (int) {
      hasThrown = true;
    }
    EXPECT_EQ(hasThrown, c.what == std::string("rethrows"));
    EXPECT_EQ(journal.take(), c.told);
    EXPECT_EQ(held ? numbers() : std::vector<std::uint32_t>(), c.left);
    EXPECT_EQ(held ? held->auditErrors(9) : 0U, 0U);
  }
}

class MembersTest : public EntityTest {
 protected:
  Ptr<RootConfigColl> configs = Vorn::rootConfigCollFactory("root");
  Ptr<VornAclColl> acls = Vorn::vornAclCollFactory("acls");
};

TEST_F(MembersTest, AreNeverCreatedAgainWithOtherParameters) {
  auto const a = observe<AclCollSpy>(acls, "A");
  auto const c = observe<ConfigCollSpy>(configs, "C");
  Ptr<VornAcl> const acl = acls->aclIs(aclId(5), Acl::ip, "it's");
  Ptr<RootConfig> const config = configs->chipRootConfigIs(5, 1);
  EXPECT_EQ(journal.take(), "A:acl(ipv4PAcl:5:in) C:config(5)");
  EXPECT_EQ(config->name(), Kro::Name("5"));
  EXPECT_EQ(std::tuple(acl->aclId(), acl->aclType(), acl->cliName()), std::tuple(aclId(5), Acl::ip, Kro::Name("it's")));
  EXPECT_EQ(acl->name(), Kro::Name()) << "known to people by cliName alone";
  EXPECT_FALSE(config->vornAclColl()) << "nor is it initialized";
  auto const aclIs = [&](Acl::AclType type, char const* name) {
    return [=, this] { acls->aclIs(aclId(5), type, name); };
  };
  auto const configIs = [&](std::uint16_t chip) { return [=, this] { configs->chipRootConfigIs(5, chip); }; };
  std::string const start = "Reinstantiating the entity with name '";
  std::string const typeError = start +
                                "' where constructor parameter attribute _aclType has a different value of "
                                "'mac' than the current value of 'ip' not allowed";
  struct Case {
    std::function<void()> act;
    Ptr<Kro::Entity> member;
    std::uint32_t mutations, reads;  ///< of the collection, of the member
    std::string error;
  };
  for (Case const& t : std::vector<Case>{
           {aclIs(Acl::ip, "it's"), acl, 1, 2, "no error"},
           {aclIs(Acl::mac, "it's"), acl, 0, 2, typeError},
           {aclIs(Acl::mac, "other"), acl, 0, 2, typeError},
           {aclIs(Acl::ip, "other"), acl, 0, 3,
            start + "' where constructor parameter attribute _cliName has a different value of 'other' than the "
                    "current value of 'it\\'s' not allowed"},
           {configIs(1), config, 1, 1, "no error"},
           {configIs(2), config, 0, 2,
            start + "5' where constructor parameter attribute _chipId has a different value of 2 than the current "
                    "value of 1 not allowed"}}) {
    Cost cost;
    auto const onCollection = [&] { EXPECT_EQ(messageOf<Kro::NameInUseException>(t.act), t.error); };
    Cost const ofMember = costOf(*t.member, [&] { cost = costOf(*t.member->parent(), onCollection); });
    EXPECT_EQ(ofMember, (Cost{0, t.reads})) << t.error;
    EXPECT_EQ(cost, (Cost{t.mutations, 0})) << t.error;
  }
  EXPECT_EQ(acls->aclIs(aclId(5), Acl::ip, "it's"), acl);
  EXPECT_EQ(configs->chipRootConfigIs(5, 1), config);
  EXPECT_EQ(journal.take(), "");
#ifndef KRO_ABORT_ON_INTERNAL
  EXPECT_THROW(acls->newAcl(aclId(5), Acl::ip, "it's"), Kro::InternalException);
#endif
  EXPECT_EQ(acls->aclMap().size() + acls->auditErrors(9), 1U);
}

TEST_F(MembersTest, AreToldOneByOneAtTheEnd) {
  std::vector<Ptr<VornAcl>> members{acls->newAcl(aclId(5), Acl::ip, ""), acls->newAcl(aclId(7), Acl::mac, "")};
  AclId const first = VornAcl::KroHashLink::key(*acls->aclMap().begin());
  auto* const dying = acls.get();
  auto const w = observeWeakly<AclCollSpy>(acls, "W");
  w->act = [&] {  // one more ACL at each removal, before and behind the walk
    if (w->calls > 1 && members.size() < 40) {
      members.push_back(dying->newAcl(aclId(100 + static_cast<std::uint32_t>(members.size())), Acl::ipv6, ""));
    }
  };
  acls = nullptr;
  std::string const told = journal.take();
  EXPECT_TRUE(told.starts_with("W:zero W:acl(" + std::string(Kro::valueToStrep(first).view()) + ")")) << told;
  EXPECT_GT(members.size(), 3U);
  for (Ptr<VornAcl> const& acl : members) {
    EXPECT_FALSE(acl->parent());
    EXPECT_EQ(acl->countWord(), 1U);
  }

  // References are dropped silently.
  Ptr<RootConfig> const member = configs->chipRootConfigIs(5, 1);
  Ptr<RootConfig> stranger = Failed::config(2);
  configs->chipRootConfigLastFailedIs(member);
  configs->chipRootConfigLastFailedIs(stranger);
  auto const c = observeWeakly<ConfigCollSpy>(configs, "C");
  auto const f = observeWeakly<ConfigSpy>(stranger, "F");
  stranger = Failed::config(2);
  configs->chipRootConfigLastFailedIs(stranger);
  EXPECT_EQ(journal.take(), "F:zero C:failed(2)") << "what is replaced goes before the change is told";
  f->notifierIs(stranger);
  stranger = nullptr;
  configs = nullptr;
  EXPECT_EQ(journal.take(), "C:zero C:config(5) F:zero");
  EXPECT_FALSE(member->parent());
  EXPECT_EQ(member->countWord(), 1U);
}

TEST_F(MembersTest, AreReferredToUnderTheirChip) {
  auto const a = observe<ConfigCollSpy>(configs, "A");
  Ptr<RootConfig> const one = configs->newChipRootConfig(5, 1);
  auto const set = [&](Ptr<RootConfig> const& config) {
    return [=, this] { configs->chipRootConfigLastFailedIs(config); };
  };
  Ptr<RootConfig> const other = Failed::config(1);
  run(*configs, {{"set", set(other), {1, 0}, "A:failed(1)"},
                 {"set the same", set(other), {0, 0}, ""},
                 {"another of that chip", set(one), {1, 0}, "A:failed(1)"},
                 {"remove the member", [&] { configs->chipRootConfigDel(5); }, {1, 0}, "A:config(5)"},
                 {"it stays", [&] { EXPECT_EQ(configs->chipRootConfigLastFailed(1), one); }, {0, 1}, ""},
                 {"null",
                  [&] {
                    EXPECT_EQ(messageOf<Kro::RangeException>(set(nullptr)),
                              "null _chipRootConfigLastFailed parameter to mutator for "
                              "Vorn::RootConfigColl::chipRootConfigLastFailed not allowed\"");
                  },
                  {0, 0},
                  ""}});
  EXPECT_GT(costOf(*one, set(one)).reads, 0U) << "the key is read from the configuration";
#ifndef KRO_ABORT_ON_INTERNAL
  EXPECT_THROW(configs->newChipRootConfigLastFailed(Failed::config(1)), Kro::InternalException) << "it has an entry";
  EXPECT_THROW(configs->newChipRootConfigLastFailed(nullptr), Kro::InternalException);
#endif
  // Nothing holds what failed before, and its end destroys the collection.
  Ptr<RootConfig> last = Failed::config(2);
  configs->chipRootConfigLastFailedIs(last);
  auto const dropper = observeWeakly<ConfigSpy>(last, "D", [&] { configs = nullptr; });
  last = nullptr;
  a->notifierIs(nullptr);
  configs->chipRootConfigLastFailedIs(Failed::config(2));
  EXPECT_FALSE(configs);
}

TEST(Comparison, GoesUpToTheFirstDifference) {
  using Values = std::vector<std::pair<std::uint32_t, std::uint32_t>>;  // by number
  auto const fill = []<class S>(S, Ptr<typename S::Owner> const& owner, Values const& values) {
    for (auto const& [n, v] : values) {
      S::store(*owner, n, v);
    }
    return owner;
  };
  auto const acl = [&](Values const& ip, Values const& mac) {
    return fill(MacRules(), fill(IpRules(), newAcl(), ip), mac);
  };
  auto const other = [](AclId const& id, Acl::AclType type, char const* name) {
    return adopt(new VornAcl(id, type, name));
  };
  auto const mapping = [&](Values const& entries) { return fill(Keys(), Keys::make(), entries); };
  auto const acls = [&](Values const& members) { return fill(Acls(), Acls::make(), members); };
  auto const check = [](char const* what, auto const& mine, auto const& others, bool isEqual, std::uint32_t reads,
                        std::uint32_t otherReads) {
    SCOPED_TRACE(what);
    Cost ofMine;
    Cost const ofOthers =
        costOf(*others, [&] { ofMine = costOf(*mine, [&] { EXPECT_EQ(mine->equal(others), isEqual); }); });
    EXPECT_EQ(ofMine, (Cost{0, reads}));
    EXPECT_EQ(ofOthers, (Cost{0, otherReads}));
    EXPECT_EQ(costOf(*mine, [&] { EXPECT_FALSE(mine->equal(nullptr)); }), Cost());
  };
  check("empty", newAcl(), newAcl(), true, 5, 5);
  check("id", newAcl(), other(aclId(6), Acl::ip, "acl"), false, 1, 1);
  check("type", newAcl(), other(aclId(5), Acl::mac, "acl"), false, 2, 2);
  check("cliName", newAcl(), other(aclId(5), Acl::ip, "Acl"), false, 3, 3);
  check("number of IP rules", newAcl(), acl({{1, 0}}, {}), false, 4, 4);
  check("number of MAC rules", acl({{1, 0}}, {}), acl({{1, 0}}, {{1, 0}}), false, 5, 6);
  check("same rules", acl({{1, 1}}, {{2, 1}}), acl({{1, 1}}, {{2, 1}}), true, 5, 7);
  check("IP rule", acl({{1, 1}}, {{2, 1}}), acl({{1, 0}}, {{2, 1}}), false, 4, 5);
  check("MAC rule", acl({{1, 1}}, {{2, 1}}), acl({{1, 1}}, {{2, 0}}), false, 5, 7);
  check("absent counts as default", acl({{1, 0}}, {{1, 1}}), acl({{2, 1}}, {{1, 1}}), true, 5, 7);
  check("the other way round", acl({{2, 1}}, {{1, 1}}), acl({{1, 0}}, {{1, 1}}), false, 4, 5);
  check("number of entries", mapping({{1, 1}}), mapping({}), false, 1, 1);
  check("same entries", mapping({{1, 1}, {2, 3}}), mapping({{1, 1}, {2, 3}}), true, 1, 3);
  check("last entry", mapping({{1, 1}, {2, 3}}), mapping({{1, 1}, {2, 1}}), false, 1, 3);
  check("absent counts as default", mapping({{1, 0}}), mapping({{2, 1}}), true, 1, 2);
  auto const ruled = acls({{5, 0}});
  IpRules::put(*ruled->acl(aclId(5)), 1);
  check("number of members", acls({{5, 0}}), acls({}), false, 1, 1);
  check("same members", acls({{5, 0}}), acls({{5, 0}}), true, 1, 2);
  check("one rule", acls({{5, 0}}), ruled, false, 1, 2);
  check("absent there", acls({{5, 0}}), acls({{6, 0}}), false, 1, 2);
}

}  // namespace
