// Live entities through reflection: what observers and mirrors are told, collections, deferred delivery.
#include "VornRootConfig/VornRootConfigReflection.h"
#include "runtime/reflection/Activity.h"
#include "tests/runtime/reflection/Reflected.h"
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
  void handleNotificationException(Kro::AttributeId id) override { journal_.add("R", "!" + std::to_string(id)); }

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

/// Moves what both ends of a mirror have to say until nothing is left.
void exchange(Ptr<Kro::NboAttrLog::Connection> const& a, Ptr<Kro::NboAttrLog::Connection> const& b) {
  for (bool moved = true; moved;) {
    moved = false;
    for (auto const& [from, to] : {std::pair(a, b), std::pair(b, a)}) {
      auto const bytes = from->pending();
      std::vector<std::uint8_t> const copy(bytes.begin(), bytes.end());
      moved = moved || !copy.empty();
      to->receive(copy);
      from->sent(copy.size());
    }
  }
}

TEST_F(EntityReflectionTest, changesAreToldToObserversAndMirrors) {
  using Connection = Kro::NboAttrLog::Connection;
  auto const config = newConfig();
  auto const acl = config->vornAclColl()->aclIs(aclId(5), Acl::ip, "edge");
  auto const sender = Connection::create(Connection::Role::opener);
  auto const receiver = Connection::create(Connection::Role::acceptor);
  Ptr<Vorn::RootConfig> mirror;
  receiver->onRootIs([&](auto const& root) { mirror = Kro::ptrCast<Vorn::RootConfig>(root); });
  sender->rootIs(config);
  exchange(sender, receiver);
  ASSERT_TRUE(mirror);
  auto const configSpy = observe<ConfigSpy>(config, "C");
  auto const collSpy = observe<AclCollSpy>(config->vornAclColl(), "L");
  auto const aclSpy = observe<AclSpy>(acl, "A");

  auto const object = Kro::reflectionOf(config);
  auto const coll = object->attribute("vornAclColl");
  auto const member = coll->attribute("acl", held(aclId(5)));
  object->attributeIs("action", value("Vorn::RootAction 'vornLoad'"));
  object->attributeIs("vornRootKick", value("U32 7"));
  object->attributeIs("vornRootKick", value("U32 7"));  // no change
  member->attributeOp(operation(261, Op::write), held(at(3)), held(rule(9)));
  auto const created =
      coll->attributeOp(operation(258, Op::write), nullptr,
                        GenericIf::List_::of({held(aclId(6)), value("Acl::AclType 'mac'"), value("Kro::Name 'core'")}));
  EXPECT_EQ(created->attribute("cliName")->strRep(), "'core'");
  EXPECT_EQ(coll->attributeOp(operation(258, Op::del), held(aclId(7)), nullptr)->strRep(), "null");
  auto const again = GenericIf::List_::of({held(aclId(5)), value("Acl::AclType 'ip'"), value("Kro::Name 'core'")});
  EXPECT_THROW(coll->attributeOp(operation(258, Op::write), nullptr, again), Kro::NameInUseException);
  EXPECT_EQ(journal.take(), "C:action C:kick A:ip(3.0.0) L:acl(ipv4PAcl:6:in)");

  exchange(sender, receiver);
  auto const far = Kro::reflectionOf(mirror)->attribute("vornAclColl");
  EXPECT_EQ(mirror->action(), Vorn::vornLoad);
  EXPECT_EQ(far->attribute("acl", held(aclId(6)))->attribute("aclType")->strRep(), "'mac'");
  EXPECT_EQ(mirror->vornAclColl()->acl(aclId(5))->ipRuleById(at(3)), rule(9));

  coll->attributeOp(operation(258, Op::del), held(aclId(5)), nullptr);
  object->attributeOp(operation(262, Op::del), nullptr, nullptr);
  EXPECT_EQ(journal.take(), "L:acl(ipv4PAcl:5:in) C:mapping");
  exchange(sender, receiver);
  EXPECT_FALSE(mirror->vornAclColl()->acl(aclId(5)));
  EXPECT_FALSE(mirror->aclKeyToAclId());
}

TEST_F(EntityReflectionTest, readsCountAsTheAccessorsDo) {
  auto const acl = newAcl();
  acl->ipRuleByIdIs(at(1), rule(1));
  auto const object = Kro::reflectionOf(acl);
  auto const coll = Kro::adopt(new Vorn::VornAclColl("acls"));
  auto const collObject = Kro::reflectionOf(coll);
  run(*acl, {{"key", [&] { object->attribute("fwkKey"); }, {0, 1}, ""},
             {"parameter", [&] { object->attribute("cliName"); }, {0, 1}, ""},
             {"present", [&] { object->attribute("ipRuleById", held(at(1))); }, {0, 1}, ""},
             {"absent", [&] { object->attribute("ipRuleById", held(at(2))); }, {0, 1}, ""},
             {"size", [&] { object->attributeOp(operation(261, Op::size), nullptr, nullptr); }, {0, 1}, ""},
             {"write", [&] { object->attributeOp(operation(261, 128), held(at(2)), held(rule(2))); }, {1, 0}, ""},
             {"delete", [&] { object->attributeOp(operation(261, 129), held(at(2)), nullptr); }, {1, 0}, ""},
             {"delete, absent", [&] { object->attributeOp(operation(261, 129), held(at(2)), nullptr); }, {0, 0}, ""}});
  run(*coll, {{"absent member", [&] { collObject->attribute("acl", held(aclId(1))); }, {0, 1}, ""}});
}

TEST_F(EntityReflectionTest, collectionsAreWalkedFromTheFirstMemberOrFromAKey) {
  auto const acl = newAcl();
  auto const object = Kro::reflectionOf(acl);
  EXPECT_FALSE(object->attributeIteratorConst(261));
  for (std::uint32_t n : {4U, 2U, 8U}) {
    acl->ipRuleByIdIs(at(n), rule(static_cast<std::uint8_t>(n)));
  }
  auto const walk = [&](GenericIf::AttributeIteratorConst from, std::uint32_t removed) {
    std::string seen;
    for (; from; ++from) {
      seen += std::string(from.key()->attribute("ruleId")->strRep().view()) + ":" +
              std::string(from.object()->attribute("filter")->attribute("ttl")->strRep().view()) + " ";
      acl->ipRuleByIdDel(at(removed));  // the walk goes on behind it
    }
    return seen;
  };
  EXPECT_EQ(walk(object->attributeIteratorConst(261), 0), "2:2 4:4 8:8 ");
  EXPECT_EQ(walk(object->attributeIterator(261), 0), "2:2 4:4 8:8 ");
  EXPECT_EQ(walk(object->attributeIteratorKeyConst(261, held(at(3))), 0), "4:4 8:8 ");
  EXPECT_EQ(walk(object->attributeIteratorConst(261), 4), "2:2 8:8 ");
  EXPECT_EQ(outcomeOf([&] { return object->attributeIteratorKeyConst(261, value("U32 3")).key(); }), "T:kro_index");
  EXPECT_EQ(outcomeOf([&] { return object->attributeIteratorKeyConst(261, nullptr).key(); }), "T:kro_index");

  auto iterator = object->attributeIteratorConst(261);
  auto copy = object->attributeIterator_iterClone(iterator);
  object->attributeIterator_iterInc(iterator);
  EXPECT_EQ(object->attributeIterator_iterKey(copy)->attribute("ruleId")->strRep(), "2");
  EXPECT_EQ(object->attributeIterator_iterKey(iterator)->attribute("ruleId")->strRep(), "8");
  ++iterator;
  EXPECT_FALSE(object->attributeIterator_nonNull(iterator));
  object->attributeIterator_iterDel(copy);
  EXPECT_THROW(iterator.object(), Kro::InternalException);
  EXPECT_THROW(++iterator, Kro::InternalException);
  EXPECT_THROW(copy.key(), Kro::InternalException);

  auto const failed = Vorn::rootConfigFactory("failed", 8, 3);
  auto configs = Vorn::rootConfigCollFactory("all");
  configs->chipRootConfigIs(5, 1);
  configs->chipRootConfigLastFailedIs(failed);
  auto const moving = Kro::reflectionOf(configs);
  auto members = moving->attributeIteratorConst(258);
  auto references = moving->attributeIteratorConst(259);
  auto const spy = observeWeakly<ConfigCollSpy>(configs, "C");
  configs = nullptr;
  moving->notifierIs(nullptr);  // the iterators keep the collection
  EXPECT_EQ(members.key()->strRep() + members.object()->strRep(), "5'all/chipRootConfig[5]'");
  EXPECT_EQ(references.key()->strRep() + references.object()->strRep(), "3'failed'");
  EXPECT_FALSE(++members);
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
  auto const told = [&] {  // whether a change of `acl` and one of `other` are heard
    acl->ipRuleByIdIs(at(++n), {});
    std::string text = journal.take().empty() ? "" : "acl";
    other->ipRuleByIdIs(at(n), {});
    return text += journal.take().empty() ? "" : "other";
  };
  EXPECT_EQ(told(), "acl");
  for (bool const on : {false, true, true}) {
    object->hasNotificationActiveIs(on);
    EXPECT_EQ(told(), on ? "acl" : "");
  }
  for (bool const zombie : {true, true, false}) {
    object->kroDoZombieReactors(zombie);
    EXPECT_EQ(object->kroMarkedForDeletion(), zombie);
    EXPECT_EQ(told(), zombie ? "" : "acl");
  }
  object->notifierIs(other);
  EXPECT_EQ(told(), "other");
  EXPECT_EQ(object->obj(), other);
  object->notifierIs(Kro::adopt(new Vorn::VornAclColl("of another type")));
  EXPECT_EQ(told(), "");
  EXPECT_EQ(object->strRep(), "null");
  auto const value = Vorn::AceIndex::GenericIf_::GenericIf_Is({}, false);
  EXPECT_TRUE(value->hasNotificationActive());
  EXPECT_EQ(value->flagWord(), 0x4000000U);
  value->kroDoZombieReactors(true);
  EXPECT_TRUE(value->kroMarkedForDeletion());
  EXPECT_EQ(acl->auditErrors(9) + other->auditErrors(9), 0U);
}

TEST_F(EntityReflectionTest, aReflectionObjectMayGoWhileItIsTold) {
  auto const acl = newAcl();
  auto object = hear(acl);
  object->act = [&] { object = nullptr; };
  acl->ipRuleByIdIs(at(1), {});
  EXPECT_FALSE(object);
  EXPECT_EQ(journal.take(), "R:261(1)");
  // Two dispatches hold its observer when the object goes: the inner one still calls it.
  bool nested = false;
  auto const first = observe<AclSpy>(acl, "A", [&] {
    if (!std::exchange(nested, true)) {
      acl->ipRuleByIdIs(at(3), {});
    } else {
      object = nullptr;
    }
  });
  object = hear(acl);
  acl->ipRuleByIdIs(at(2), {});
  EXPECT_EQ(journal.take(), "A:ip(2.0.0) A:ip(3.0.0)");
  EXPECT_EQ(acl->auditErrors(9), 0U);
  // Of two attributes that wait, the first one's handler drops the object; and an observer drops it while it writes.
  Kro::ActivityScheduler scheduler;
  object = hear(newAcl());
  object->activitySchedulerIs(&scheduler);
  object->obj()->ipRuleByIdIs(at(1), {});
  object->obj()->macRuleByIdIs(at(1), {});
  object->act = [&] { object = nullptr; };
  object->activitySchedulerIs(nullptr);
  EXPECT_EQ(journal.take(), "R:261(1) R:262(1)");
  auto config = Vorn::rootConfigFactory("root", 5, 1);
  Ptr<GenericIf> writer = Kro::reflectionOf(config);
  auto const spy = observeWeakly<ConfigSpy>(std::exchange(config, nullptr), "C", [&] { writer = nullptr; });
  auto const child = writer->attributeOp(operation(261, Op::write), nullptr, list("Kro::Name 'acls'"));
  EXPECT_FALSE(writer);
  EXPECT_EQ(child->strRep(), "'acls'") << "its parent is gone";
}

TEST_F(EntityReflectionTest, deferredChangesAreToldWhenTheSchedulerIsStepped) {
  auto const acl = newAcl();
  Kro::ActivityScheduler scheduler;
  auto const object = hear(acl);
  object->activitySchedulerIs(&scheduler);
  auto const change = [&](std::uint32_t n, bool ip) {
    static std::uint8_t ttl = 0;
    ip ? acl->ipRuleByIdIs(at(n), rule(++ttl)) : acl->macRuleByIdIs(at(1000U * n + ++ttl), {});
  };
  struct Row {
    char const* what;
    std::vector<std::pair<int, bool>> changes;  ///< number, IP
    bool bulk;
    std::string told;
    unsigned redispatches;
  };
  for (Row const& row : std::vector<Row>{{"nothing", {}, false, "", 0},
                                         {"one", {{1, true}}, false, "R:261(7)", 0},
                                         {"three", {{3, true}}, false, "R:261", 0},
                                         {"as many as a byte counts", {{256, true}}, false, "R:261", 0},
                                         {"one of the other", {{2, false}}, false, "R:262", 0},
                                         {"one and more", {{1, true}, {2, false}}, false, "R:261(7) R:262", 2},
                                         {"bulk, without changes", {}, true, "R:261 R:262", 2},
                                         {"bulk, one changed", {{1, true}}, true, "R:261 R:262", 2}}) {
    SCOPED_TRACE(row.what);
    auto const before = object->actsm()->redispatches();
    for (auto const& [count, ip] : row.changes) {
      for (int i = 0; i < count; ++i) {
        change(7, ip);
      }
    }
    if (row.bulk) {
      object->pendingBulkIs();
      change(8, true);  // adds nothing
    }
    EXPECT_EQ(journal.take(), "") << "told at once";
    scheduler.run();
    EXPECT_EQ(journal.take(), row.told);
    EXPECT_EQ(object->actsm()->redispatches() - before, row.redispatches);
    EXPECT_FALSE(scheduler.step());
  }
}

TEST_F(EntityReflectionTest, deferredDeliveryStandsOddUses) {
  auto const acl = newAcl();
  Kro::ActivityScheduler scheduler, otherScheduler;
  auto object = hear(acl);
  object->activitySchedulerIs(&scheduler);
  acl->ipRuleByIdIs(at(1), {});
  acl->macRuleByIdIs(at(2), {});
  object->act = [&] { throw Kro::RangeException("a failing handler"); };
  scheduler.run();
  EXPECT_EQ(journal.take(), "R:261(1) R:!261 R:262(2) R:!262");

  object->act = [&] { acl->ipRuleByIdIs(at(9), {}); };  // a change while changes are told comes later
  acl->ipRuleByIdIs(at(3), {});
  EXPECT_TRUE(scheduler.step());
  EXPECT_EQ(journal.take(), "R:261(3)");
  object->act = nullptr;
  scheduler.run();
  EXPECT_EQ(journal.take(), "R:261(9)");

  acl->ipRuleByIdIs(at(4), {});
  object->activitySchedulerIs(&otherScheduler);
  EXPECT_TRUE(scheduler.empty());
  otherScheduler.run();
  EXPECT_EQ(journal.take(), "R:261(4)");

  acl->ipRuleByIdIs(at(5), {});
  object->activitySchedulerIs(nullptr);
  EXPECT_EQ(journal.take(), "R:261(5)");
  acl->ipRuleByIdIs(at(6), {});
  EXPECT_EQ(journal.take(), "R:261(6)");

  object->activitySchedulerIs(&scheduler);
  acl->ipRuleByIdIs(at(7), {});
  acl->macRuleByIdIs(at(7), {});
  object->act = [&] { object->activitySchedulerIs(nullptr); };
  scheduler.run();
  EXPECT_EQ(journal.take(), "R:261(7) R:262(7)");

  object->act = nullptr;
  object->activitySchedulerIs(&scheduler);
  acl->ipRuleByIdIs(at(8), {});
  object = nullptr;
  EXPECT_TRUE(scheduler.empty()) << "an object that is gone is still scheduled";
}

TEST_F(EntityReflectionTest, anObjectIsHandedOutAsItsOwnTypeAndAsItsBases) {
  auto const acl = newAcl();
  auto const object = Kro::reflectionOf(acl);
  EXPECT_EQ(object->voidPtrIs(Vorn::VornAcl::_fwkType()), acl.get());
  EXPECT_EQ(object->voidPtrIs(Kro::entityBaseType()), static_cast<Kro::Entity*>(acl.get()));
  EXPECT_EQ(object->voidPtrIs(Kro::ptrInterfaceType()), static_cast<Kro::PtrInterface*>(acl.get()));
  EXPECT_EQ(outcomeOf([&] { return object->voidPtrIs(Vorn::AclId::_fwkType()), object; }), "T:VornAcl");
  auto const id = held(aclId(1));
  EXPECT_EQ(outcomeOf([&] { return id->voidPtrIs(Vorn::ChipId::_fwkType()), id; }), "T:AclId");
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
    return type->childAttrLogIs(attribute, child, out);
  };
  auto const acls = config->vornAclColl();
  auto const acl = acls->aclIs(aclId(1), Acl::ip, "a");
  EXPECT_EQ(with(acls, "acl", acl), nullptr) << "the parent has none yet";
  auto const adapterOf = [&](Kro::Entity& child) {
    return child.kroNboAttrLogSa(Kro::Ptr<Kro::NboAttrLog::Out const>(out));
  };
  auto const made = with(root, "chipRootConfig", config);
  EXPECT_TRUE(made && made == adapterOf(*config));
  EXPECT_TRUE(with(config, "vornAclColl", acls) && adapterOf(*acls));
  EXPECT_TRUE(with(config, "aclKeyToAclId", config->aclKeyToAclId()) && adapterOf(*config->aclKeyToAclId()));
  EXPECT_TRUE(with(acls, "acl", acl) && adapterOf(*acl));
  EXPECT_EQ(with(root, "chipRootConfig", config), made) << "found again";
  EXPECT_EQ(with(config, "aclKeyToAclId", acls), nullptr);
  EXPECT_EQ(with(config, "vornAclColl", config), nullptr);
  EXPECT_EQ(with(root, "chipRootConfigLastFailed", config), nullptr);
  EXPECT_EQ(with(acls, "acl", nullptr), nullptr);
}

}  // namespace
