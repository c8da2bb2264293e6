// One access-control list: rules of both kinds, iterators, removal of all, comparison.
#include "VornAclTable/VornAcl.h"

#include "tests/support/Spies.h"

namespace {

using namespace VornTest;
using Kro::adopt;
using Kro::Ptr;
using Vorn::AceIndex;
using Vorn::VornAcl;

Vorn::AclId const aclId(Vorn::ipv4PAcl, 5, Acl::in);

AceIndex at(std::uint32_t rule) { return AceIndex(rule, 0, 0); }

/// The IP side of an ACL.
struct Ip {
  using Rule = Vorn::IpRuleConfig;
  using Iterator = VornAcl::IpRuleByIdMap::Iterator;
  static constexpr char const* event = "ip";
  static constexpr int id = 261;
  static void set(VornAcl& acl, AceIndex const& key, Rule const& rule) { acl.ipRuleByIdIs(key, rule); }
  static Rule get(VornAcl const& acl, AceIndex const& key) { return acl.ipRuleById(key); }
  static Rule del(VornAcl& acl, AceIndex const& key) { return acl.ipRuleByIdDel(key); }
  static Rule del(VornAcl& acl, Iterator& iterator) { return acl.ipRuleByIdDel(iterator); }
  static void delAll(VornAcl& acl) { acl.ipRuleByIdDelAll(); }
  static void notify(VornAcl& acl, AceIndex const& key) { acl.ipRuleByIdNotify(key); }
  static auto create(VornAcl& acl, AceIndex const& key, Rule const& rule) { return acl.newIpRuleById(key, rule); }
  static std::uint32_t size(VornAcl const& acl) { return acl.ipRuleByIdSize(); }
  static auto const& map(VornAcl const& acl) { return acl.ipRuleByIdMap(); }
  static Iterator begin(VornAcl& acl) { return acl.ipRuleByIdIterator(); }
};

/// The MAC side.
struct Mac {
  using Rule = Vorn::MacRuleConfig;
  using Iterator = VornAcl::MacRuleByIdMap::Iterator;
  static constexpr char const* event = "mac";
  static constexpr int id = 262;
  static void set(VornAcl& acl, AceIndex const& key, Rule const& rule) { acl.macRuleByIdIs(key, rule); }
  static Rule get(VornAcl const& acl, AceIndex const& key) { return acl.macRuleById(key); }
  static Rule del(VornAcl& acl, AceIndex const& key) { return acl.macRuleByIdDel(key); }
  static Rule del(VornAcl& acl, Iterator& iterator) { return acl.macRuleByIdDel(iterator); }
  static void delAll(VornAcl& acl) { acl.macRuleByIdDelAll(); }
  static void notify(VornAcl& acl, AceIndex const& key) { acl.macRuleByIdNotify(key); }
  static auto create(VornAcl& acl, AceIndex const& key, Rule const& rule) { return acl.newMacRuleById(key, rule); }
  static std::uint32_t size(VornAcl const& acl) { return acl.macRuleByIdSize(); }
  static auto const& map(VornAcl const& acl) { return acl.macRuleByIdMap(); }
  static Iterator begin(VornAcl& acl) { return acl.macRuleByIdIterator(); }
};

template <class Side>
class VornAclRules : public EntityTest {
 protected:
  using Rule = typename Side::Rule;

  static Rule rule(bool log, Acl::Action action = Acl::permit) {
    Rule made;
    made.actionIs(action);
    made.logIs(log);
    return made;
  }
  /// "ip(3.0.0)" told to `name` for each of the rules.
  static std::string told(std::initializer_list<std::uint32_t> rules, std::string const& name = "A") {
    Journal expected;
    for (std::uint32_t const number : rules) {
      expected.add(name, Side::event + ('(' + std::string(at(number).toStr().view()) + ')'));
    }
    return expected.take();
  }
  std::vector<std::uint32_t> rulesLeft() const {
    std::vector<std::uint32_t> left;
    for (auto const& record : Side::map(*held)) {
      left.push_back(record.key().ruleId());
    }
    return left;
  }

  Ptr<VornAcl> held = adopt(new VornAcl(aclId, Acl::ip, "acl"));
};
using Sides = testing::Types<Ip, Mac>;
TYPED_TEST_SUITE(VornAclRules, Sides);

TYPED_TEST(VornAclRules, CountsAndTellsWhatChanges) {
  using Side = TypeParam;
  VornAcl& acl = *this->held;
  auto const a = this->template observe<AclSpy>(this->held, "A");
  auto const one = this->rule(true);
  auto const other = this->rule(false);
  auto const none = typename Side::Rule();
  auto const told = [](auto... rules) { return TestFixture::told({rules...}); };
  // In a handler, the new state is there.
  auto const seeing = [&](std::uint32_t key, bool isThere, std::function<void()> act) {
    return [&acl, &a, key, isThere, act = std::move(act)] {
      std::uint32_t const before = acl.mutationCount();
      a->act = [&] {
        EXPECT_EQ(Side::map(acl).find(at(key)) != nullptr, isThere);
        EXPECT_EQ(acl.mutationCount(), before + 1);
      };
      act();
      a->act = nullptr;
    };
  };
  this->run(acl, {{"set", seeing(3, true, [&] { Side::set(acl, at(3), one); }), {1, 0}, told(3U)},
                  {"set the same", [&] { Side::set(acl, at(3), one); }, {0, 0}, ""},
                  {"set another", seeing(3, true, [&] { Side::set(acl, at(3), other); }), {1, 0}, told(3U)},
                  {"set the default at a free position", [&] { Side::set(acl, at(0), none); }, {1, 0}, told(0U)},
                  {"get", [&] { EXPECT_EQ(Side::get(acl, at(3)), other); }, {0, 1}, ""},
                  {"get an absent one", [&] { EXPECT_EQ(Side::get(acl, at(9)), none); }, {0, 1}, ""},
                  {"size", [&] { EXPECT_EQ(Side::size(acl), 2U); }, {0, 1}, ""},
                  {"store", [&] { EXPECT_EQ(Side::create(acl, at(1), one)->value(), one); }, {0, 0}, ""},
                  {"tell of an absent one", [&] { Side::notify(acl, at(9)); }, {0, 0}, told(9U)},
                  {"remove", seeing(3, false, [&] { EXPECT_EQ(Side::del(acl, at(3)), other); }), {1, 0}, told(3U)},
                  {"remove it again", [&] { EXPECT_EQ(Side::del(acl, at(3)), none); }, {0, 0}, ""},
                  {"remove the default rule", [&] { EXPECT_EQ(Side::del(acl, at(0)), none); }, {1, 0}, told(0U)},
                  {"fill", [&] { Side::set(acl, at(7), one), Side::set(acl, at(2), other); }, {2, 0}, told(7U, 2U)},
                  {"remove all", [&] { Side::delAll(acl); }, {3, 0}, told(1U, 2U, 7U)},
                  {"remove all of none", [&] { Side::delAll(acl); }, {0, 0}, ""},
                  {"constructor parameters",
                   [&] { EXPECT_TRUE(acl.aclId() == aclId && acl.aclType() == Acl::ip && acl.cliName() == "acl"); },
                   {0, 3},
                   ""}});
  EXPECT_EQ(acl.name(), Kro::Name()) << "known to people by cliName alone";
  a->act = [] { throw 1; };
  Side::notify(acl, at(1));
  EXPECT_EQ(this->journal.take(), told(1U) + " A:!" + std::to_string(Side::id));
}

TYPED_TEST(VornAclRules, OverwritesInPlaceAndReplacesByStoring) {
  using Side = TypeParam;
  VornAcl& acl = *this->held;
  auto const one = this->rule(true);
  auto const other = this->rule(false);
  auto const record = Side::create(acl, at(1), one);
  auto const version = Side::map(acl).version();
  auto standing = Side::begin(acl);
  Side::set(acl, at(1), other);
  EXPECT_EQ(Side::map(acl)[at(1)], record);
  EXPECT_EQ(standing.value(), other);
  EXPECT_EQ(Side::map(acl).version(), version);
  auto const next = Side::create(acl, at(1), one);
  EXPECT_EQ(Side::map(acl)[at(1)], next);
  EXPECT_EQ(standing.value(), other) << "the old record is detached, not changed";
  EXPECT_NE(Side::map(acl).version(), version);
  EXPECT_EQ(acl.auditErrors(9), 0U);
}

TYPED_TEST(VornAclRules, IteratorRemoversActOnlyOnWhatStandsInTheMap) {
  using Side = TypeParam;
  VornAcl& acl = *this->held;
  auto const a = this->template observe<AclSpy>(this->held, "A");
  auto const one = this->rule(true);
  auto const none = typename Side::Rule();
  for (std::uint32_t const key : {1U, 2U, 3U}) {
    Side::create(acl, at(key), one);
  }
  Ptr<VornAcl> const elsewhere = adopt(new VornAcl(aclId, Acl::ip, ""));
  Side::create(*elsewhere, at(2), one);
  auto foreign = Side::begin(*elsewhere);
  auto it = Side::begin(acl);
  typename Side::Iterator atEnd;
  this->run(acl, {{"remove", [&] { EXPECT_EQ(Side::del(acl, it), one); }, {1, 0}, this->told({1})},
                  {"detached", [&] { EXPECT_EQ(Side::del(acl, it), none); }, {0, 0}, ""},
                  {"put back", [&] { Side::set(acl, at(1), one); }, {1, 0}, this->told({1})},
                  {"still detached", [&] { EXPECT_EQ(Side::del(acl, it), none); }, {0, 0}, ""},
                  {"the next one", [&] { it.advance(), Side::del(acl, it); }, {1, 0}, this->told({2})},
                  {"of another ACL", [&] { EXPECT_EQ(Side::del(acl, foreign), none); }, {0, 0}, ""},
                  {"at the end", [&] { EXPECT_EQ(Side::del(acl, atEnd), none); }, {0, 0}, ""}});
  EXPECT_EQ(this->rulesLeft(), (std::vector{1U, 3U}));
}

TYPED_TEST(VornAclRules, RemovesAllWhileHandlersMeddle) {
  using Side = TypeParam;
  auto const one = this->rule(true);
  struct Case {
    char const* what;
    std::function<void()> act;  ///< when the second rule is told
    std::string told;
    std::vector<std::uint32_t> left;
    bool isThrowing = false;
  };
  auto const told = [](auto... rules) { return TestFixture::told({rules...}, "W"); };
  auto const set = [&](std::uint32_t key) { Side::set(*this->held, at(key), one); };
  for (Case const& c :
       std::vector<Case>{{"nothing", [] {}, told(2U, 4U, 6U), {}},
                         {"adds behind", [&] { set(3); }, told(2U, 4U, 3U, 6U), {3}},
                         {"adds ahead", [&] { set(5); }, told(2U, 4U, 5U, 5U, 6U), {}},
                         {"puts back", [&] { set(4); }, told(2U, 4U, 4U, 6U), {4}},
                         {"removes ahead", [&] { Side::del(*this->held, at(6)); }, told(2U, 4U, 6U), {}},
                         {"removes all", [&] { Side::delAll(*this->held); }, told(2U, 4U, 6U), {}},
                         {"rethrows", [] { throw 1; }, told(2U, 4U) + " W:!" + std::to_string(Side::id), {6}, true},
                         {"drops the last handle", [&] { this->held = nullptr; }, told(2U, 4U, 6U) + " W:zero", {}}}) {
    SCOPED_TRACE(c.what);
    this->held = adopt(new VornAcl(aclId, Acl::ip, "acl"));
    for (std::uint32_t const key : {6U, 2U, 4U}) {
      Side::create(*this->held, at(key), one);
    }
    auto const spy = this->template observeWeakly<AclSpy>(this->held, "W");
    spy->act = [&] {
      if (spy->calls == 2) {
        c.act();
      }
    };
    spy->report = [] { throw; };
    bool hasThrown = false;
    try {
      Side::delAll(*this->held);
    } catch (int) {
      hasThrown = true;
    }
    EXPECT_EQ(hasThrown, c.isThrowing);
    EXPECT_EQ(this->journal.take(), c.told);
    if (this->held) {
      EXPECT_EQ(this->rulesLeft(), c.left);
      EXPECT_EQ(this->held->auditErrors(9), 0U);
    }
  }
}

TYPED_TEST(VornAclRules, NoMutatorTouchesAnAclThatAHandlerDestroyed) {
  using Side = TypeParam;
  auto const one = this->rule(true);
  auto const other = this->rule(false);
  auto const told = [&](std::uint32_t key) {
    return this->told({key}, "W") + " W:zero B:zero " + this->told({key}, "B");
  };
  for (std::function<void(VornAcl&)> const& act : std::vector<std::function<void(VornAcl&)>>{
           [&](VornAcl& acl) { Side::set(acl, at(1), other); }, [&](VornAcl& acl) { Side::notify(acl, at(1)); },
           [&](VornAcl& acl) { EXPECT_EQ(Side::del(acl, at(1)), one); },
           [&](VornAcl& acl) {
             auto it = Side::begin(acl);
             EXPECT_EQ(Side::del(acl, it), one);
           }}) {
    this->held = adopt(new VornAcl(aclId, Acl::ip, "acl"));
    Side::create(*this->held, at(1), one);
    auto const dropper = this->template observeWeakly<AclSpy>(this->held, "W", [&] { this->held = nullptr; });
    auto const b = this->template observeWeakly<AclSpy>(this->held, "B");
    act(*this->held);
    EXPECT_FALSE(this->held);
    EXPECT_EQ(this->journal.take(), told(1)) << "B is alive, and so is still told";
  }
}

TEST(VornAclEqual, ComparesUpToTheFirstDifference) {
  auto const ruled = [](VornAcl& acl, std::uint32_t ip, bool ipLog, std::uint32_t mac, bool macLog) {
    Vorn::IpRuleConfig ipRule;
    ipRule.logIs(ipLog);
    acl.ipRuleByIdIs(at(ip), ipRule);
    Vorn::MacRuleConfig macRule;
    macRule.logIs(macLog);
    acl.macRuleByIdIs(at(mac), macRule);
  };
  auto const plain = [] { return adopt(new VornAcl(aclId, Acl::ip, "acl")); };
  auto const with = [&](auto... arguments) {
    Ptr<VornAcl> const acl = plain();
    ruled(*acl, arguments...);
    return acl;
  };
  Vorn::AclId const otherDirection(Vorn::ipv4PAcl, 5, Acl::out);
  struct Case {
    char const* what;
    Ptr<VornAcl> mine, other;
    bool isEqual;
    std::uint32_t myReads, otherReads;
  };
  auto const ipOnly = plain();
  ipOnly->ipRuleByIdIs(at(1), Vorn::IpRuleConfig());
  for (Case const& c :
       std::vector<Case>{{"empty", plain(), plain(), true, 5, 5},
                         {"id", plain(), adopt(new VornAcl(otherDirection, Acl::ip, "acl")), false, 1, 1},
                         {"type", plain(), adopt(new VornAcl(aclId, Acl::mac, "acl")), false, 2, 2},
                         {"cliName", plain(), adopt(new VornAcl(aclId, Acl::ip, "Acl")), false, 3, 3},
                         {"number of IP rules", plain(), ipOnly, false, 4, 4},
                         {"number of MAC rules", ipOnly, with(1U, false, 1U, false), false, 5, 6},
                         {"same rules", with(1U, true, 2U, true), with(1U, true, 2U, true), true, 5, 7},
                         {"IP rule", with(1U, true, 2U, true), with(1U, false, 2U, true), false, 4, 5},
                         {"MAC rule", with(1U, true, 2U, true), with(1U, true, 2U, false), false, 5, 7},
                         {"absent counts as default", with(1U, false, 1U, true), with(2U, true, 1U, true), true, 5, 7},
                         {"the other way round", with(2U, true, 1U, true), with(1U, false, 1U, true), false, 4, 5}}) {
    SCOPED_TRACE(c.what);
    std::uint32_t const otherBefore = c.other->readCount();
    EXPECT_EQ(costOf(*c.mine, [&] { EXPECT_EQ(c.mine->equal(c.other), c.isEqual); }), (Cost{0, c.myReads}));
    EXPECT_EQ(c.other->readCount() - otherBefore, c.otherReads);
  }
  EXPECT_EQ(costOf(*ipOnly, [&] { EXPECT_FALSE(ipOnly->equal(nullptr)); }), (Cost{0, 0}));
}

}  // namespace
