// Live entities through reflection: what observers are told, collections, deferred delivery.
#include "VornRootConfig/VornRootConfig.h"
#include "runtime/reflection/Activity.h"
#include "tests/runtime/reflection/Reflected.h"
#include "tests/support/Allocations.h"
#include "tests/support/Spies.h"

namespace {

using namespace VornTest;

Vorn::AclId aclId(std::uint8_t n) { return {Vorn::ipv4PAcl, n, Acl::in}; }
Vorn::AceIndex at(std::uint32_t n) { return {n, 0, 0}; }
Vorn::IpRuleConfig rule(std::uint8_t ttl) {
  Vorn::IpFilter filter;
  filter.ttlIs(ttl);
  Vorn::IpRuleConfig rule;
  rule.filterIs(filter);
  return rule;
}
template <class T>
Ptr<GenericIf> held(T const& v) {
  return T::_fwkType()->genericIf(&v, false);
}

/// Writes down what reflection tells: "R:261(KEY)" with a key, "R:261" without.
template <class X>
class Hearer : public X::GenericIf_ {
 public:
  Hearer(Ptr<X> const& entity, Journal& journal) : X::GenericIf_(entity, false), journal_(journal) {}
  std::function<void()> act;

  void onAttribute(Kro::AttributeId id, Ptr<GenericIf> const& key) override {
    auto const shown = key->type()->fullName() == "Vorn::AceIndex" ? key->attribute("ruleId") : key;
    told(std::to_string(id) + "(" + std::string(shown->strRep().view()) + ")");
  }
  void onAttribute(Kro::AttributeId id) override { told(std::to_string(id)); }
  void handleNotificationException(Kro::AttributeId id) override { journal_.addReport("R", id); }

 private:
  void told(std::string const& event) {
    journal_.add("R", event);
    if (auto const now = act) {
      now();
    }
  }
  Journal& journal_;
};

class EntityReflectionTest : public EntityTest {
 protected:
  template <class X>
  Ptr<Hearer<X>> hear(Ptr<X> const& entity) {
    return Kro::adopt(new Hearer<X>(entity, journal));
  }
  Ptr<Vorn::VornAcl> newAcl() { return Kro::adopt(new Vorn::VornAcl(aclId(5), Acl::ip, "edge")); }
  Ptr<Vorn::RootConfig> newConfig() {
    auto config = Vorn::rootConfigFactory("root", 5, 1);
    config->initialize();
    return config;
  }
};

TEST_F(EntityReflectionTest, changesAreToldToObservers) {
  auto const config = newConfig();
  auto const acl = config->vornAclColl()->aclIs(aclId(5), Acl::ip, "edge");
  auto const configSpy = observe<ConfigSpy>(config, "C");
  auto const collSpy = observe<AclCollSpy>(config->vornAclColl(), "L");
  auto const aclSpy = observe<AclSpy>(acl, "A");
  auto const object = Kro::reflectionOf(config);
  auto const coll = object->attribute("vornAclColl");
  auto const write = [&](std::string const& id) {
    return coll->attributeOp(operation(258, Op::write), nullptr,
                             list("Vorn::AclId ipv4PAcl:" + id + "; Acl::AclType 'ip'; Kro::Name 'core'"));
  };
  object->attributeIs("action", value("Vorn::RootAction 'vornLoad'"));
  object->attributeIs("vornRootKick", value("U32 7"));
  object->attributeIs("vornRootKick", value("U32 7"));  // no change
  coll->attribute("acl", held(aclId(5)))->attributeOp(operation(261, Op::write), held(at(3)), held(rule(9)));
  EXPECT_EQ(write("6")->attribute("cliName")->strRep(), "'core'");
  EXPECT_THROW(write("5"), Kro::NameInUseException);
  EXPECT_EQ(coll->attributeOp(operation(258, Op::del), held(aclId(7)), nullptr)->strRep(), "null");
  EXPECT_EQ(journal.take(), "C:action C:kick A:ip(3.0.0) L:acl(ipv4PAcl:6:in)");
  EXPECT_EQ(config->action(), Vorn::vornLoad);
  EXPECT_EQ(acl->ipRuleById(at(3)), rule(9));

  coll->attributeOp(operation(258, Op::del), held(aclId(5)), nullptr);
  object->attributeOp(operation(262, Op::del), nullptr, nullptr);
  EXPECT_EQ(journal.take(), "L:acl(ipv4PAcl:5:in) C:mapping");
  EXPECT_FALSE(config->vornAclColl()->acl(aclId(5)) || config->aclKeyToAclId());
}

TEST_F(EntityReflectionTest, readsCountAsTheAccessorsDo) {
  auto const acl = newAcl();
  acl->ipRuleByIdIs(at(1), rule(1));
  auto const object = Kro::reflectionOf(acl);
  auto const op = [&](int id, std::uint32_t n) { object->attributeOp(operation(261, id), held(at(n)), held(rule(2))); };
  run(*acl, {{"key", [&] { object->attribute("fwkKey"); }, {0, 1}, ""},
             {"parameter", [&] { object->attribute("cliName"); }, {0, 1}, ""},
             {"present", [&] { op(0, 1); }, {0, 1}, ""},
             {"absent", [&] { op(0, 2); }, {0, 1}, ""},
             {"size", [&] { op(1, 1); }, {0, 1}, ""},
             {"write", [&] { op(128, 2); }, {1, 0}, ""},
             {"delete", [&] { op(129, 2); }, {1, 0}, ""},
             {"delete, absent", [&] { op(129, 2); }, {0, 0}, ""}});
}

TEST_F(EntityReflectionTest, collectionsAreWalkedFromTheFirstMemberOrFromAKey) {
  auto const acl = newAcl();
  auto const object = Kro::reflectionOf(acl);
  EXPECT_FALSE(object->attributeIteratorConst(261));
  for (std::uint32_t n : {4U, 2U, 8U}) {
    acl->ipRuleByIdIs(at(n), rule(static_cast<std::uint8_t>(n)));
  }
  auto const walk = [&](GenericIf::AttributeIteratorConst from, std::uint32_t removed = 0) {
    std::string seen;
    for (; from; ++from) {
      seen += std::string(from.key()->attribute("ruleId")->strRep().view()) + ":" +
              std::string(from.object()->attribute("filter")->attribute("ttl")->strRep().view()) + " ";
      acl->ipRuleByIdDel(at(removed));  // the walk goes on behind it
    }
    return seen;
  };
  EXPECT_EQ(walk(object->attributeIterator(261)), "2:2 4:4 8:8 ");
  EXPECT_EQ(walk(object->attributeIteratorKeyConst(261, held(at(3)))), "4:4 8:8 ");
  EXPECT_EQ(walk(object->attributeIteratorConst(261), 4), "2:2 8:8 ");
  EXPECT_EQ(outcomeOf([&] { return object->attributeIteratorKeyConst(261, value("U32 3")).key(); }), "T:kro_index");
  EXPECT_EQ(outcomeOf([&] { return object->attributeIteratorKeyConst(261, nullptr).key(); }), "T:kro_index");

  auto iterator = object->attributeIteratorConst(261);
  auto copy = object->attributeIterator_iterClone(iterator);
  object->attributeIterator_iterInc(iterator);
  EXPECT_EQ(object->attributeIterator_iterKey(copy)->attribute("ruleId")->strRep(), "2");
  object->attributeIterator_iterDel(copy);
  EXPECT_FALSE(object->attributeIterator_nonNull(++iterator));
  EXPECT_THROW(iterator.object(), Kro::InternalException);
  EXPECT_THROW(++iterator, Kro::InternalException);
  EXPECT_THROW(copy.key(), Kro::InternalException);

  auto configs = Vorn::rootConfigCollFactory("all");
  configs->chipRootConfigIs(5, 1);
  configs->chipRootConfigLastFailedIs(Vorn::rootConfigFactory("failed", 8, 3));
  auto const moving = Kro::reflectionOf(configs);
  auto members = moving->attributeIteratorConst(258);
  auto references = moving->attributeIteratorConst(259);
  auto const spy = observeWeakly<ConfigCollSpy>(configs, "C");
  configs = nullptr;
  moving->notifierIs(nullptr);  // the iterators keep the collection
  EXPECT_EQ(members.key()->strRep() + members.object()->strRep(), "5'all/chipRootConfig[5]'");
  EXPECT_EQ(references.key()->strRep() + references.object()->strRep(), "3'failed'");
  EXPECT_EQ(journal.take(), "");
  members = references = {};
  EXPECT_EQ(journal.take().substr(0, 6), "C:zero");
}

TEST_F(EntityReflectionTest, changesAreHeardThroughReflection) {
  auto const config = newConfig();
  auto const acl = newAcl();
  auto const hearsConfig = hear(config);
  auto const hearsAcl = hear(acl);
  auto const mapping = hear(config->aclKeyToAclId());
  config->activeIs(true);
  config->vornRootKickTimeIs(1.5);
  config->vornRootKickInc(1);
  config->actionIs(Vorn::vornAbort);
  config->initializedIs(false);
  config->vornAclCollDel();
  config->aclKeyToAclId()->keyToIdIs({Acl::ip, "x"}, {});
  acl->ipRuleByIdIs(at(4), {});
  acl->macRuleByIdIs(at(5), {});
  config->aclKeyToAclIdDel();
  EXPECT_EQ(journal.take(),
            "R:260 R:264 R:265 R:263 R:267 R:261 R:258(Value('Zil::AclKey', ** {'aclType': 'ip', 'aclName': 'x'})) "
            "R:261(4) R:262(5) R:262");
  EXPECT_EQ(hearsConfig->name(), "root");
}

TEST_F(EntityReflectionTest, notificationIsSwitchedOffAndOn) {
  auto const acl = newAcl();
  auto const other = newAcl();
  auto const object = hear(acl);
  std::uint32_t n = 0;
  auto const told = [&] {  // what is heard of a change of `acl` and of one of `other`
    acl->ipRuleByIdIs(at(++n), {});
    other->macRuleByIdIs(at(n), {});
    return journal.take().substr(0, 5);
  };
  for (bool const on : {true, false, true, true}) {
    object->hasNotificationActiveIs(on);
    EXPECT_EQ(told(), on ? "R:261" : "");
  }
  for (bool const zombie : {true, true, false}) {
    object->kroDoZombieReactors(zombie);
    EXPECT_EQ(object->kroMarkedForDeletion(), zombie);
    EXPECT_EQ(told(), zombie ? "" : "R:261");
  }
  object->notifierIs(other);
  EXPECT_EQ(told(), "R:262");
  EXPECT_EQ(object->obj(), other);
  object->notifierIs(Kro::adopt(new Vorn::VornAclColl("of another type")));
  EXPECT_EQ(told(), "");
  EXPECT_EQ(object->strRep(), "null");
  auto const value = held(at(1));
  EXPECT_EQ(value->flagWord(), 0x4000000U);
  value->kroDoZombieReactors(true);
  EXPECT_TRUE(value->kroMarkedForDeletion());
}

TEST_F(EntityReflectionTest, aReflectionObjectMayGoWhileItIsTold) {
  auto const acl = newAcl();
  auto object = hear(acl);
  object->act = [&] { object = nullptr; };
  acl->ipRuleByIdIs(at(1), {});
  EXPECT_FALSE(object);
  EXPECT_EQ(journal.take(), "R:261(1)");
  // Two dispatches hold its observer when the object goes: the inner one still calls it.
  auto const first = observe<AclSpy>(acl, "A", [&] {
    if (acl->ipRuleByIdSize() == 2) {
      acl->ipRuleByIdIs(at(3), {});
    } else {
      object = nullptr;
    }
  });
  object = hear(acl);
  acl->ipRuleByIdIs(at(2), {});
  EXPECT_EQ(journal.take(), "A:ip(2.0.0) A:ip(3.0.0)");
  EXPECT_EQ(acl->auditErrors(9), 0U);
  // An observer drops it while it writes.
  auto config = Vorn::rootConfigFactory("root", 5, 1);
  Ptr<GenericIf> writer = Kro::reflectionOf(config);
  auto const spy = observeWeakly<ConfigSpy>(std::exchange(config, nullptr), "C", [&] { writer = nullptr; });
  auto const child = writer->attributeOp(operation(261, Op::write), nullptr, list("Kro::Name 'acls'"));
  EXPECT_EQ(child->strRep(), "'acls'") << "its parent is gone";
}

TEST_F(EntityReflectionTest, deferredChangesAreToldWhenTheSchedulerIsStepped) {
  auto const acl = newAcl();
  Kro::ActivityScheduler scheduler;
  auto const object = hear(acl);
  object->activitySchedulerIs(&scheduler);
  std::uint8_t ttl = 0;
  struct Row {
    int ip, mac;  ///< changes of each
    bool bulk;
    std::string told;
    unsigned redispatches;
  };
  for (Row const& row : std::vector<Row>{{0, 0, false, "", 0},
                                         {1, 0, false, "R:261(7)", 0},
                                         {3, 0, false, "R:261", 0},
                                         {256, 0, false, "R:261", 0},  // as many as a byte counts
                                         {0, 2, false, "R:262", 0},
                                         {1, 2, false, "R:261(7) R:262", 2},
                                         {0, 0, true, "R:261 R:262", 2},
                                         {1, 0, true, "R:261 R:262", 2}}) {
    SCOPED_TRACE(row.ip + row.mac);
    auto const before = object->actsm()->redispatches();
    for (int i = 0; i < row.ip + row.mac; ++i) {
      i < row.ip ? acl->ipRuleByIdIs(at(7), rule(++ttl)) : acl->macRuleByIdIs(at(1000U + ++ttl), {});
    }
    if (row.bulk) {
      object->pendingBulkIs();
      acl->ipRuleByIdIs(at(7), rule(++ttl));  // adds nothing
    }
    EXPECT_EQ(journal.take(), "") << "told at once";
    scheduler.run();
    EXPECT_EQ(journal.take(), row.told);
    EXPECT_EQ(object->actsm()->redispatches() - before, row.redispatches);
    EXPECT_FALSE(scheduler.step());
  }
  for (int i = 0; i < 200; ++i) {  // to wait takes no memory
    ttl = static_cast<std::uint8_t>(ttl + 1);
    auto const change = rule(ttl);
    failAllocation(1, SIZE_MAX);
    acl->ipRuleByIdIs(at(7), change);
    failAllocation(0);
    scheduler.run();
    EXPECT_EQ(journal.take(), "R:261(7)") << i;
  }
}

TEST_F(EntityReflectionTest, deferredDeliveryStandsOddUses) {
  auto const acl = newAcl();
  Kro::ActivityScheduler scheduler, otherScheduler;
  auto object = hear(acl);
  auto const change = [&](std::uint32_t n) { acl->ipRuleByIdIs(at(n), {}), acl->macRuleByIdIs(at(n), {}); };
  object->activitySchedulerIs(&scheduler);
  object->act = [&] { throw Kro::RangeException("a failing handler"); };
  change(1);
  scheduler.run();
  EXPECT_EQ(journal.take(), "R:261(1) R:!261 R:262(1) R:!262");

  object->act = [&] { acl->ipRuleByIdIs(at(9), {}); };  // a change while changes are told comes later
  change(2);
  EXPECT_TRUE(scheduler.step());
  EXPECT_EQ(journal.take(), "R:261(2) R:262(2)");
  object->act = nullptr;
  object->activitySchedulerIs(&otherScheduler);
  EXPECT_TRUE(scheduler.empty());
  otherScheduler.run();
  EXPECT_EQ(journal.take(), "R:261(9)");

  change(5);
  object->activitySchedulerIs(nullptr);
  EXPECT_EQ(journal.take(), "R:261(5) R:262(5)");
  acl->ipRuleByIdIs(at(6), {});
  EXPECT_EQ(journal.take(), "R:261(6)") << "at once again";

  std::uint32_t n = 6;
  for (auto const& act : std::initializer_list<std::function<void()>>{[&] { object->activitySchedulerIs(nullptr); },
                                                                      [&] { object = nullptr; }}) {
    object->activitySchedulerIs(&scheduler);
    object->act = act;  // in the handler of the first of two attributes that wait
    change(++n);
    scheduler.run();
    EXPECT_EQ(journal.take(), n == 7 ? "R:261(7) R:262(7)" : "R:261(8) R:262(8)");
  }
  object = hear(acl);
  object->activitySchedulerIs(&scheduler);
  object->act = [&] { object = nullptr; };
  change(10);
  object->activitySchedulerIs(nullptr);  // delivers at once, and the handler drops it
  EXPECT_EQ(journal.take(), "R:261(10) R:262(10)");
}

TEST_F(EntityReflectionTest, anObjectIsHandedOutAsItsOwnTypeAndAsItsBases) {
  auto const acl = newAcl();
  auto const object = Kro::reflectionOf(acl);
  EXPECT_EQ(object->voidPtrIs(Kro::entityBaseType()), static_cast<Kro::Entity*>(acl.get()));
  EXPECT_EQ(object->voidPtrIs(Kro::ptrInterfaceType()), static_cast<Kro::PtrInterface*>(acl.get()));
  for (auto const& row : {std::pair(object, "T:VornAcl"), std::pair(held(aclId(1)), "T:AclId")}) {
    EXPECT_EQ(outcomeOf([&] { return row.first->voidPtrIs(Vorn::ChipId::_fwkType()), row.first; }), row.second);
  }
  EXPECT_THROW(Kro::reflectionOf(nullptr), Kro::RangeException);
}

TEST_F(EntityReflectionTest, aChildGetsAnAdapterOfItsOwn) {
  using Connection = Kro::NboAttrLog::Connection;
  auto const root = Vorn::rootConfigCollFactory("c");
  auto const config = root->chipRootConfigIs(1, 2);
  config->initialize();
  auto const sender = Connection::create(Connection::Role::opener);
  sender->rootIs(root);
  auto const& out = sender->out();
  auto const with = [&]<class X>(Kro::Ptr<X> const&, char const* attribute, Kro::Ptr<Kro::Entity> const& child) {
    auto const type = static_cast<typename X::_Type const*>(X::_fwkType().get());
    auto const adapter = type->childAttrLogIs(attribute, child, out);
    EXPECT_TRUE(!adapter || adapter == child->kroNboAttrLogSa(Kro::Ptr<Kro::NboAttrLog::Out const>(out)));
    return adapter != nullptr;
  };
  auto const acls = config->vornAclColl();
  auto const acl = acls->aclIs(aclId(1), Acl::ip, "a");
  EXPECT_FALSE(with(acls, "acl", acl)) << "the parent has none yet";
  EXPECT_TRUE(with(root, "chipRootConfig", config));
  EXPECT_TRUE(with(root, "chipRootConfig", config)) << "found again";
  EXPECT_TRUE(with(config, "vornAclColl", acls));
  EXPECT_TRUE(with(acls, "acl", acl));
  EXPECT_FALSE(with(config, "aclKeyToAclId", acls));
  EXPECT_FALSE(with(config, "vornAclColl", config));
  EXPECT_FALSE(with(root, "chipRootConfigLastFailed", config));
  EXPECT_FALSE(with(acls, "acl", nullptr));
}

}  // namespace
