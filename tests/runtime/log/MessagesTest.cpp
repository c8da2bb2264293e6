// The messages of each kind of change, written at once and after waiting; how changes that wait merge; whole transfers
// that are interrupted and resumed; limits.
#include "tests/runtime/log/Harness.h"

namespace {

using namespace VornTest;

/// How a change gets out: at once, or marked and flowed out; in either mode of the adapters.
enum class Way { atOnce, deferred, waiting, deferredWaiting };
constexpr Way allWays[] = {Way::atOnce, Way::deferred, Way::waiting, Way::deferredWaiting};
char const* const wayNames[] = {"at once", "deferred mode", "waiting", "deferred mode, waiting"};

class Messages : public TreeTest {
 protected:
  /// In sync, with a bare configuration 6 of chip 2 beside the filled one, and a reference for chip 1.
  void start(Way way) {
    rebuild();
    r6 = root->chipRootConfigIs(6, 2);
    root->chipRootConfigLastFailedIs(r5);
    inSync();
    if (way == Way::deferred || way == Way::deferredWaiting) {
      Ptr<Kro::NboAttrLog::Out const> const out((*link)[S].out());
      for (Kro::Entity* const entity : std::initializer_list<Kro::Entity*>{root.get(), r5.get(), r6.get(), acls.get(),
                                                                           acl.get(), r5->aclKeyToAclId().get()}) {
        entity->kroNboAttrLogSa(out)->stateIs(Kro::Entity::KroNboAttrLogSa::deferredBit, true);
      }
    }
  }
  static bool waits(Way way) { return way == Way::waiting || way == Way::deferredWaiting; }

  Ptr<RootConfig> r6;
  Vorn::AclId const k7 = aclId(7), k8 = aclId(8);
};

std::string const bareAcl = "B(15,261); E(15,261); B(15,262); E(15,262)";

TEST_F(Messages, AreThoseOfTheTable) {
  struct Case {
    char const* what;
    std::function<void()> act;
    std::string said, told;
  } const cases[] = {
      {"active", [&] { r5->activeIs(true); }, "(7,260,F,1,0) 1", "5:active"},
      {"initialized", [&] { r5->initializedIs(false); }, "(7,267,F,1,0) 0", "5:initialized"},
      {"action", [&] { r5->actionIs(Vorn::vornAbort); }, "(7,263,T,0,0) 2", "5:action"},
      {"kick time", [&] { r5->vornRootKickTimeIs(-0.25); }, "(7,264,T,0,0) -0.25", "5:time"},
      {"kick", [&] { r5->vornRootKickInc(3); }, "(7,265,F,4,0) 3", "5:kick"},
      {"rule set",
       [&] {
         acl->ipRuleByIdIs({9, 8, 7}, rule(9));
       },
       "(11,261,T,0,0) 9.8.7 ttl=9", "5v/1.7.0:ip(9.8.7)"},
      {"rule changed", [&] { acl->ipRuleByIdIs(at(1), rule(9)); }, "(11,261,T,0,0) 1.0.0 ttl=9", "5v/1.7.0:ip(1.0.0)"},
      {"rule of equal value", [&] { acl->ipRuleByIdIs(at(1), rule(1)); }, "", ""},
      {"rule removed", [&] { acl->ipRuleByIdDel(at(1)); }, "(11,-261,T,0,0) 1.0.0", "5v/1.7.0:ip(1.0.0)"},
      {"absent rule removed", [&] { acl->ipRuleByIdDel(at(3)); }, "", ""},
      {"all rules removed", [&] { acl->ipRuleByIdDelAll(); }, "(11,-261,T,0,0) 1.0.0; (11,-261,T,0,0) 2.0.0",
       "5v/1.7.0:ip(1.0.0) 5v/1.7.0:ip(2.0.0)"},
      {"MAC rule", [&] { acl->macRuleByIdIs(at(1), macRule(2048)); }, "(11,262,T,0,0) 1.0.0 proto=2048",
       "5v/1.7.0:mac(1.0.0)"},
      {"key", [&] { r5->aclKeyToAclId()->keyToIdIs(key("n"), k8); }, "(13,258,T,0,0) 0:n 1.8.0", "5p:key(ip:n)"},
      {"key removed", [&] { r5->aclKeyToAclId()->keyToIdDel(key("k")); }, "(13,-258,T,0,0) 0:k", "5p:key(ip:k)"},
      {"ACL", [&] { acls->aclIs(k8, Acl::mac, "n"); }, "(9,258,T,0,151) 1.8.0 2 \"n\" 15; " + bareAcl,
       "5v:acl(ipv4PAcl:8:in)"},
      {"ACL removed", [&] { acls->aclDel(k7); }, "(9,-258,T,0,0) 1.7.0", "5v:acl(ipv4PAcl:7:in)"},
      {"all ACLs removed", [&] { acls->aclDelAll(); }, "(9,-258,T,0,0) 1.7.0", "5v:acl(ipv4PAcl:7:in)"},
      {"child", [&] { r6->vornAclCollIs("v"); }, "(5,261,T,0,151) \"v\" 15; B(15,258); E(15,258)", "6:aclColl"},
      {"other child", [&] { r6->aclKeyToAclIdIs("p"); }, "(5,262,T,0,151) \"p\" 15; B(15,258); E(15,258)", "6:mapping"},
      {"child replaced", [&] { r5->vornAclCollIs("v"); }, "(7,261,T,0,151) \"v\" 15; B(15,258); E(15,258)",
       "5:aclColl"},
      {"child removed", [&] { r5->vornAclCollDel(); }, "(7,-261,F,0,0)", "5:aclColl"},
      {"other child removed", [&] { r5->aclKeyToAclIdDel(); }, "(7,-262,F,0,0)", "5:mapping"},
      {"configuration", [&] { root->chipRootConfigIs(8, 2); },
       "(3,258,T,0,151) 8 2 15; (15,260,F,1,0) 0; (15,-261,F,0,0); (15,-262,F,0,0); (15,263,T,0,0) 0; "
       "(15,264,T,0,0) 0; (15,265,F,4,0) 0; (15,267,F,1,0) 0",
       "c:config(8)"},
      {"configuration removed", [&] { root->chipRootConfigDel(6); }, "(3,-258,T,0,0) 6", "c:config(6)"},
      {"reference", [&] { root->chipRootConfigLastFailedIs(r6); }, "(3,259,T,0,0) 5", "c:failed(2)"},
      {"reference removed", [&] { root->chipRootConfigLastFailedDel(1); }, "(3,-259,T,0,0) 1", "c:failed(1)"}};
  for (Case const& c : cases) {
    for (Way const way : allWays) {
      SCOPED_TRACE(c.what + std::string(", ") + wayNames[static_cast<int>(way)]);
      start(way);
      if (waits(way)) {
        link->block(S);
        c.act();
        EXPECT_EQ((*link)[S].out()->length(), 1U) << "nothing is written";
        link->unblock(S);
      } else {
        c.act();
      }
      move();
      std::string said = this->said();
      if (std::size_t const end = said.rfind("complete"); end != std::string::npos) {
        said.erase(end == 0 ? 0 : end - 2);
      } else {
        EXPECT_FALSE(waits(way) && !c.said.empty()) << "all that waited was written: that is told";
      }
      EXPECT_EQ(said, c.said);
      EXPECT_EQ(told(), c.told);
      expectAllEqual();
    }
  }
}

TEST_F(Messages, MergeWhileTheyWait) {
  std::string const added8 = "(9,258,T,0,151) 1.8.0 0 \"a\" 15; ";
  auto const child = [&](char const* name) { return [this, name] { r6->vornAclCollIs(name); }; };
  auto const noChild = [&] { r6->vornAclCollDel(); };
  auto const set = [&](std::uint32_t n, std::uint8_t ttl) {
    return [this, n, ttl] { acl->ipRuleByIdIs(at(n), rule(ttl)); };
  };
  auto const noRule = [&](std::uint32_t n) { return [this, n] { acl->ipRuleByIdDel(at(n)); }; };
  auto const add = [&](Vorn::AclId k) { return [this, k] { acls->aclIs(k, Acl::ip, "a"); }; };
  auto const noAcl = [&](Vorn::AclId k) { return [this, k] { acls->aclDel(k); }; };
  auto const refer = [&](std::uint32_t id) {
    return [this, id] { root->chipRootConfigLastFailedIs(root->chipRootConfigIs(id, 1)); };
  };
  auto const noReference = [&] { root->chipRootConfigLastFailedDel(1); };
  Ptr<RootConfig> const stranger = Vorn::rootConfigFactory("stranger", 99, 1);
  auto const referToStranger = [&] { root->chipRootConfigLastFailedIs(stranger); };
  auto const nothing = [] {};
  auto const rule3 = "5v/1.7.0:ip(3.0.0)", rule1 = "5v/1.7.0:ip(1.0.0)";
  auto const acl7 = "5v:acl(ipv4PAcl:7:in)", acl8 = "5v:acl(ipv4PAcl:8:in)";
  struct Case {
    char const* what;
    std::function<void()> before, first, second;  ///< the peer knows what was before
    std::string said, told;
  } const cases[] = {
      {"value added, changed", nothing, set(3, 3), set(3, 4), "(11,261,T,0,0) 3.0.0 ttl=4", rule3},
      {"value added, removed", nothing, set(3, 3), noRule(3), "(11,-261,T,0,0) 3.0.0", ""},
      {"value changed, changed", nothing, set(1, 3), set(1, 4), "(11,261,T,0,0) 1.0.0 ttl=4", rule1},
      {"value changed, changed back", nothing, set(1, 3), set(1, 1), "(11,261,T,0,0) 1.0.0 ttl=1", ""},
      {"value changed, removed", nothing, set(1, 3), noRule(1), "(11,-261,T,0,0) 1.0.0", rule1},
      {"value removed, added", nothing, noRule(1), set(1, 4), "(11,261,T,0,0) 1.0.0 ttl=4", rule1},
      {"value removed, added as it was", nothing, noRule(1), set(1, 1), "(11,261,T,0,0) 1.0.0 ttl=1", ""},
      {"member added, changed inside", nothing, add(k8), [&] { acls->acl(k8)->ipRuleByIdIs(at(3), rule(3)); },
       added8 + "B(15,261); (15,261,T,0,0) 3.0.0 ttl=3; E(15,261); B(15,262); E(15,262)",
       acl8 + std::string(" 5v/1.8.0:ip(3.0.0)")},
      {"member added, removed", nothing, add(k8), noAcl(k8), "(9,-258,T,0,0) 1.8.0", ""},
      {"member changed inside twice", nothing, set(3, 3), [&] { acl->macRuleByIdIs(at(1), macRule(1)); },
       "(11,261,T,0,0) 3.0.0 ttl=3; (11,262,T,0,0) 1.0.0 proto=1", rule3 + std::string(" 5v/1.7.0:mac(1.0.0)")},
      {"member changed inside, removed", nothing, set(3, 3), noAcl(k7), "(9,-258,T,0,0) 1.7.0", acl7},
      {"member removed, added", add(k8), noAcl(k8), add(k8),
       "(9,-258,T,0,0) 1.8.0; (9,258,T,0,151) 1.8.0 0 \"a\" 17; " +
           std::string("B(17,261); E(17,261); B(17,262); E(17,262)"),
       acl8 + std::string(" ") + acl8},
      {"child added, replaced", nothing, child("x"), child("y"), "(5,261,T,0,151) \"y\" 15; B(15,258); E(15,258)",
       "6:aclColl"},
      {"child added, removed", nothing, child("x"), noChild, "(5,-261,F,0,0)", ""},
      {"child replaced twice", child("w"), child("x"), child("y"), "(5,261,T,0,151) \"y\" 17; B(17,258); E(17,258)",
       "6:aclColl"},
      {"child replaced, removed", child("w"), child("x"), noChild, "(5,-261,F,0,0)", "6:aclColl"},
      {"child removed, added", child("w"), noChild, child("w"),
       "(5,-261,F,0,0); (5,261,T,0,151) \"w\" 17; B(17,258); E(17,258)", "6:aclColl 6:aclColl"},
      {"reference set, changed", [&] { root->chipRootConfigIs(8, 1), root->chipRootConfigLastFailedDel(1); }, refer(5),
       refer(8), "(3,259,T,0,0) 15", "c:failed(1)"},
      {"reference set, removed", noReference, refer(5), noReference, "(3,-259,T,0,0) 1", ""},
      {"reference changed twice", [&] { root->chipRootConfigIs(8, 1), root->chipRootConfigIs(9, 1); }, refer(8),
       refer(9), "(3,259,T,0,0) 17", "c:failed(1)"},
      {"reference changed, to what is not announced", [&] { root->chipRootConfigIs(8, 1); }, refer(8), referToStranger,
       "(3,-259,T,0,0) 1", "c:failed(1)"},
      {"reference changed, removed", [&] { root->chipRootConfigIs(8, 1); }, refer(8), noReference, "(3,-259,T,0,0) 1",
       "c:failed(1)"},
      {"reference removed, set", nothing, noReference, refer(5), "(3,259,T,0,0) 7", ""}};
  for (Case const& c : cases) {
    for (Way const way : {Way::waiting, Way::deferredWaiting}) {
      SCOPED_TRACE(c.what + std::string(", ") + wayNames[static_cast<int>(way)]);
      start(way);
      c.before();
      move();
      link->forget();
      journal.take();
      link->block(S);
      c.first();
      c.second();
      link->unblock(S);
      move();
      EXPECT_EQ(said(), c.said + "; complete");
      EXPECT_EQ(told(), c.told);
      EXPECT_EQ((*link)[S].stats().dirtyMarks, 0U);
      if (c.what != std::string("reference changed, to what is not announced")) {
        expectAllEqual();
      }
    }
  }
}

TEST_F(Messages, CountWhatMerged) {
  start(Way::waiting);
  link->block(S);
  for (std::uint8_t n = 0; n < 10; n++) {
    acl->ipRuleByIdIs(at(1), rule(n));
    acl->ipRuleByIdIs(at(2U + n % 2U), rule(100));
    r5->vornRootKickInc(1);
  }
  auto const stats = (*link)[S].stats();
  EXPECT_EQ(stats.dirtyMarks, 3U);
  EXPECT_EQ(stats.dirtyMarksPeak, 3U);
  EXPECT_EQ(stats.mergedChanges, 9U + 9U);
  link->unblock(S);
  move();
  EXPECT_EQ((*link)[S].stats().dirtyMarks, 0U);
  expectAllEqual();
}

TEST_F(Messages, OfRootsOfEachType) {
  struct Case {
    Ptr<Kro::Entity> root;
    std::string said;
  } const cases[] = {
      {Vorn::rootConfigCollFactory("n"),
       "\"Vorn::RootConfigColl\" \"n\" 3; B(3,258); E(3,258); B(3,259); E(3,259); complete"},
      {Vorn::rootConfigFactory("n", 70000, 2),
       "\"Vorn::RootConfig\" \"n\" 70000 2 3; (3,260,F,1,0) 0; (3,-261,F,0,0); (3,-262,F,0,0); (3,263,T,0,0) 0; "
       "(3,264,T,0,0) 0; (3,265,F,4,0) 0; (3,267,F,1,0) 0; complete"},
      {Vorn::vornAclCollFactory("n"), "\"Vorn::VornAclColl\" \"n\" 3; B(3,258); E(3,258); complete"},
      {Vorn::aclKeyToAclIdMappingFactory("n"), "\"Vorn::AclKeyToAclIdMapping\" \"n\" 3; B(3,258); E(3,258); complete"},
      {Kro::adopt(new VornAcl(aclId(7), Acl::mac, "n")),
       "\"Vorn::VornAcl\" 1.7.0 2 \"n\" 3; B(3,261); E(3,261); B(3,262); E(3,262); complete"}};
  for (Case const& c : cases) {
    Link one;
    Ptr<Kro::Entity> arrived;
    one[M].onRootIs([&](Ptr<Kro::Entity> const& entity) { arrived = entity; });
    one[S].rootIs(c.root);
    EXPECT_EQ(messageOf<Kro::InternalException>([&] { one[S].rootIs(c.root); }),
              std::string(("a root is attached twice: " + c.root->fullName()).view()));
    one.move();
    EXPECT_EQ(one.lines(S), "(1,136,T,0,0) " + c.said);
    ASSERT_TRUE(arrived);
    EXPECT_EQ(arrived->fwkType(), c.root->fwkType());
    EXPECT_EQ(Dump::of(*arrived), Dump::of(*c.root));
    EXPECT_TRUE(one[S].rootDel(c.root));
    EXPECT_FALSE(one[S].rootDel(c.root));
  }
}

// --- whole transfers ---

class Transfers : public TreeTest {
 protected:
  void build() {
    rebuild();
    for (std::uint8_t n = 1; n <= 3; n++) {
      auto const more = acls->aclIs(aclId(n), Acl::ip, "more");
      more->ipRuleByIdIs(at(n), rule(n));
      more->macRuleByIdIs(at(n), macRule(n));
    }
    root->chipRootConfigIs(6, 2)->vornAclCollIs("v")->aclIs(aclId(1), Acl::ip, "a");
    root->chipRootConfigLastFailedIs(r5);
  }
  /// One step: as much as is written while nothing is taken.
  void step() {
    link->pull(S);
    link->deliver(S);
  }
};

TEST_F(Transfers, GoOnWhereTheBufferWasFull) {
  build();
  connect();
  move();
  std::string const whole = said();
  for (std::uint32_t const limit : {0U, 1U, 7U, 64U, 100U, 4096U}) {
    SCOPED_TRACE(limit);
    build();
    Limits limits;
    limits.bufferedBytes = limit;
    connect(limits);
    for (int pulls = 0; (*link)[M].state() != LogConnection::State::inSync; pulls++) {
      ASSERT_LT(pulls, 1000);
      step();
      EXPECT_LE((*link)[S].out()->length(), 0U);
    }
    EXPECT_EQ(said(), whole);
    expectAllEqual();
  }
}

TEST_F(Transfers, TakeChangesAtEachOfTheirSteps) {
  std::function<void()> const changes[] = {
      [&] { acl->ipRuleByIdIs(at(1), rule(9)), acl->ipRuleByIdIs(at(0), rule(1)), acl->ipRuleByIdDel(at(2)); },
      [&] { acls->aclDel(aclId(7)), acls->aclIs(aclId(7), Acl::mac, "new")->macRuleByIdIs(at(4), macRule(4)); },
      [&] { acls->aclDel(aclId(1)), acls->aclDel(aclId(3)), acls->aclIs(aclId(9), Acl::ip, "nine"); },
      [&] { r5->vornAclCollIs("other")->aclIs(aclId(7), Acl::ip, "in other"); },
      [&] { r5->aclKeyToAclIdDel(), r5->vornAclCollDel(), r5->vornAclCollIs("VornAclColl"), r5->activeIs(true); },
      [&] { root->chipRootConfigDel(5), root->chipRootConfigIs(5, 1)->initialize(); },
      [&] { root->chipRootConfigDel(6), root->chipRootConfigIs(4, 4)->initialize(); },
      [&] { root->chipRootConfigLastFailedIs(root->chipRootConfigIs(9, 1)); },
      [&] { root->chipRootConfigLastFailedDelAll(), root->chipRootConfigDelAll(), acl->ipRuleByIdDelAll(); }};
  for (auto const& change : changes) {
    bool done = false;
    for (int steps = 0; !done; steps++) {
      SCOPED_TRACE("change " + std::to_string(&change - changes) + " after " + std::to_string(steps) + " steps");
      build();
      Limits limits;
      limits.bufferedBytes = 0;
      connect(limits);
      for (int i = 0; i < steps; i++) {
        step();
      }
      done = (*link)[M].state() == LogConnection::State::inSync;
      change();
      move();
      // A reference to a configuration that was removed before it was sent is absent at the peer.
      if (&change - changes == 5 && !done) {
        root->chipRootConfigLastFailedDelAll();
        move();
      }
      expectAllEqual();
      EXPECT_EQ((*link)[S].stats().dirtyMarks, 0U);
      if (HasFailure()) {
        return;
      }
    }
  }
}

// --- limits ---

class LimitsHit : public TreeTest {};

TEST_F(LimitsHit, EndThatConnectionOnly) {
  Limits const usual;
  auto const with = [&](auto const& set) {
    Limits limits = usual;
    set(limits);
    return limits;
  };
  struct Case {
    Limits limits;  ///< of M
    std::function<void()> act;
    std::string error;  ///< of S, "|", of M
  } const cases[] = {
      {with([](Limits& l) { l.stringBytes = 20; }), [&] { acls->aclIs(aclId(8), Acl::ip, "a name of 23 characters"); },
       "|received byte 753: entity rcc/chipRootConfig[5]/vornAclColl, attribute acl, byte 17 of the message: string of "
       "23 "
       "bytes, the limit is 20"},
      {with([](Limits& l) { l.messageBytes = 100; }),
       [&] { acls->aclIs(aclId(8), Acl::ip, Kro::String8(std::string(90, 'x'))); },
       "writing acl of rcc/chipRootConfig[5]/vornAclColl: message of 115 payload bytes, the limit is 100|"},
      {with([](Limits& l) { l.entities = 5; }), [&] { acls->aclIs(aclId(8), Acl::ip, "x"); },
       "|received byte 753: entity rcc/chipRootConfig[5]/vornAclColl, attribute acl, byte 26 of the message: more "
       "entities than the limit of 5"},
      {with([](Limits& l) { l.nesting = 2; }), [] {},
       "|received byte 222: entity rcc/chipRootConfig[5]/vornAclColl, attribute acl, byte 30 of the message: entities "
       "nested deeper than the limit of 2"}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.error);
    rebuild();
    inSync();
    Link limited({}, c.limits);
    limited.fault = "a value out of range";  // a writer does not look at the peer's limit of strings
    limited[S].rootIs(root);
    Ptr<RootConfigColl> arrived;
    limited[M].onRootIs([&](Ptr<Kro::Entity> const& entity) { arrived = Kro::ptrCast<RootConfigColl>(entity); });
    limited.move();
    c.act();
    limited.move();
    EXPECT_EQ(limited.errors(), c.error);
    EXPECT_EQ(arrived->auditErrors(9), 0U);
    acl->ipRuleByIdIs(at(8), rule(8));
    move();
    expectAllEqual();
  }
}

}  // namespace
