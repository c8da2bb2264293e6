// Ten situations between two ends, each as the messages that both write and the trees that they end with.
#include "tests/runtime/log/Harness.h"

namespace {

using namespace VornTest;

// --- a tree sent whole ---

class WholeTree : public LogTest<RootConfigColl> {};

TEST_F(WholeTree, ArrivesDepthFirst) {
  root = Vorn::rootConfigCollFactory("rcc");
  auto const r5 = root->chipRootConfigIs(5, 1);
  root->chipRootConfigIs(6, 1);
  r5->initialize();
  r5->actionIs(Vorn::vornLoad);
  r5->vornRootKickIs(2);
  auto const acl = r5->vornAclColl()->aclIs(aclId(7), Acl::ip, "acl-a");
  acl->ipRuleByIdIs(at(1), rule(1));
  acl->ipRuleByIdIs(at(2), rule(2));
  r5->aclKeyToAclId()->keyToIdIs(key("k"), aclId(7));
  root->chipRootConfigLastFailedIs(r5);
  connect();
  move();
  EXPECT_EQ(said(),
            "(1,136,T,0,0) \"Vorn::RootConfigColl\" \"rcc\" 3; B(3,258); (3,258,T,0,151) 6 1 5; "
            "(5,260,F,1,0) 0; (5,-261,F,0,0); (5,-262,F,0,0); (5,263,T,0,0) 0; (5,264,T,0,0) 0; "
            "(5,265,F,4,0) 0; (5,267,F,1,0) 0; (3,258,T,0,151) 5 1 7; E(3,258); (7,260,F,1,0) 0; "
            "(7,261,T,0,151) \"VornAclColl\" 9; B(9,258); (9,258,T,0,151) 1.7.0 0 \"acl-a\" 11; E(9,258); "
            "B(11,261); (11,261,T,0,0) 1.0.0 ttl=1; (11,261,T,0,0) 2.0.0 ttl=2; E(11,261); B(11,262); E(11,262); "
            "(7,262,T,0,151) \"AclKeyToAclId\" 13; B(13,258); (13,258,T,0,0) 0:k 1.7.0; E(13,258); "
            "(7,263,T,0,0) 1; (7,264,T,0,0) 0; (7,265,F,4,0) 2; (7,267,F,1,0) 1; "
            "B(3,259); (3,259,T,0,0) 7; E(3,259); complete");
  EXPECT_EQ(said(M), "complete");
  EXPECT_EQ(told(),
            "c:config(6) c:config(5) 5:aclColl 5v:acl(ipv4PAcl:7:in) 5v/1.7.0:ip(1.0.0) 5v/1.7.0:ip(2.0.0) "
            "5:mapping 5p:key(ip:k) 5:action 5:kick 5:initialized c:failed(1)");
  expectAllEqual();
}

// --- the buffer fills inside a rule map ---

class RuleMap : public LogTest<VornAcl> {};

TEST_F(RuleMap, GoesOnWhereTheBufferFilled) {
  for (bool const stale : {false, true}) {
    SCOPED_TRACE(stale ? "stale mirror" : "fresh mirror");
    root = Kro::adopt(new VornAcl(aclId(7), Acl::ip, "a"));
    mirror = stale ? Kro::adopt(new VornAcl(aclId(7), Acl::ip, "a")) : nullptr;
    for (std::uint8_t n = 1; n <= 5; n++) {
      root->ipRuleByIdIs(at(n), rule(n));
    }
    for (std::uint32_t const n : {1U, 2U, 3U, 5U, 9U}) {
      stale ? mirror->ipRuleByIdIs(at(n), rule(static_cast<std::uint8_t>(n))) : void();
    }
    connect({}, stale);
    moveUntil("(3,261,T,0,0) 2.0.0 ttl=2");
    EXPECT_EQ(said(),
              "(1,136,T,0,0) \"Vorn::VornAcl\" 1.7.0 0 \"a\" 3; B(3,261); (3,261,T,0,0) 1.0.0 ttl=1; "
              "(3,261,T,0,0) 2.0.0 ttl=2");
    root->ipRuleByIdIs(at(1), rule(11));
    root->ipRuleByIdIs(at(4), rule(14));
    for (std::uint32_t const n : {2U, 5U, 3U}) {  // before the place, behind it, the place itself
      root->ipRuleByIdDel(at(n));
    }
    root->ipRuleByIdIs(at(0), rule(10));
    root->ipRuleByIdIs(at(6), rule(6));
    (*link)[S].out()->limitIs(4096);
    EXPECT_EQ((*link)[M].state(), LogConnection::State::synchronising);
    move();
    EXPECT_EQ(said(),
              "(3,261,T,0,0) 4.0.0 ttl=14; (3,261,T,0,0) 6.0.0 ttl=6; E(3,261); (3,261,T,0,0) 0.0.0 ttl=10; "
              "(3,261,T,0,0) 1.0.0 ttl=11; (3,-261,T,0,0) 2.0.0; (3,-261,T,0,0) 3.0.0; (3,-261,T,0,0) 5.0.0; "
              "B(3,262); E(3,262); complete");
    EXPECT_EQ(told(), stale ? "c:ip(4.0.0) c:ip(6.0.0) c:ip(3.0.0) c:ip(5.0.0) c:ip(9.0.0) c:ip(0.0.0) c:ip(1.0.0) "
                              "c:ip(2.0.0)"
                            : "c:ip(1.0.0) c:ip(2.0.0) c:ip(4.0.0) c:ip(6.0.0) c:ip(0.0.0) c:ip(1.0.0) c:ip(2.0.0)");
    expectAllEqual();
  }
}

// --- members and single children removed and made again while nothing can be written ---

class ShortBuffer : public TreeTest {};

TEST_F(ShortBuffer, SendsTheRemovalOfAMemberBeforeItsSuccessor) {
  Vorn::AclId const k = aclId(7);
  std::string const removed = "(7,-258,T,0,0) 1.7.0; ", told1 = "5v:acl(ipv4PAcl:7:in)";
  std::string const markers = "B(13,261); E(13,261); B(13,262); E(13,262); complete";
  struct Case {
    char const* what;
    std::function<void()> act;
    std::string said, told;
  } const cases[] = {
      {"made again with other content",
       [&] {
         acls->aclDel(k);
         acl->ipRuleByIdIs(at(8), rule(8));  // by a holder of what was removed
         acls->aclIs(k, Acl::ip, "acl-a")->ipRuleByIdIs(at(3), rule(3));
       },
       removed + "(7,258,T,0,151) 1.7.0 0 \"acl-a\" 13; B(13,261); (13,261,T,0,0) 3.0.0 ttl=3; E(13,261); " +
           "B(13,262); E(13,262); complete",
       told1 + " " + told1 + " 5v/1.7.0:ip(3.0.0)"},
      {"made again with other parameters", [&] { acls->aclDel(k), acls->aclIs(k, Acl::mac, "acl-b"); },
       removed + "(7,258,T,0,151) 1.7.0 2 \"acl-b\" 13; " + markers, told1 + " " + told1},
      {"made and removed once more", [&] { acls->aclDel(k), acls->aclIs(k, Acl::ip, "x"), acls->aclDel(k); },
       removed + "complete", told1},
      {"of another key, never announced",
       [&] {
         acls->aclIs(aclId(8), Acl::ip, "x");
         acls->aclDel(aclId(8));
         acls->aclIs(aclId(8), Acl::ip, "y");
       },
       "(7,-258,T,0,0) 1.8.0; (7,258,T,0,151) 1.8.0 0 \"y\" 13; " + markers, "5v:acl(ipv4PAcl:8:in)"}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    rebuild();
    inSync();
    Ptr<VornAcl> const old = mirrorAcl();
    link->block(S);
    c.act();
    link->unblock(S);
    move();
    EXPECT_EQ(said(), c.said);
    EXPECT_EQ(told(), c.told);
    EXPECT_EQ(mirrorAcl() == old, c.said.find(removed) == std::string::npos);
    expectAllEqual();
  }
}

TEST_F(ShortBuffer, OverrulesAMemberThatTheMirrorMakesMeanwhile) {
  inSync();
  auto const maker = observe<AclCollSpy>(mirrorAcls(), "A");
  maker->act = [&] {
    maker->act = nullptr;
    mirrorAcls()->aclIs(aclId(7), Acl::mac, "mine")->ipRuleByIdIs(at(9), rule(9));
  };
  link->block(S);
  acls->aclDel(aclId(7));
  acls->aclIs(aclId(7), Acl::ip, "acl-b");
  link->unblock(S);
  move();
  EXPECT_EQ(mirrorAcl()->cliName(), Kro::Name("acl-b"));
  EXPECT_EQ((*link)[S].stats().droppedChanges, 1U);
  expectEqual();
}

TEST_F(ShortBuffer, ReplacesASingleChildOnceAndRemovesOneThatComesAgain) {
  for (bool const again : {false, true}) {
    rebuild();
    inSync();
    link->block(S);
    if (again) {
      r5->vornAclCollDel();
    }
    r5->vornAclCollIs(again ? "VornAclColl" : "x");
    acl->ipRuleByIdIs(at(3), rule(3));  // below what was replaced
    link->unblock(S);
    move();
    EXPECT_EQ(said(), std::string(again ? "(5,-261,F,0,0); (5,261,T,0,151) \"VornAclColl\" 13; "
                                        : "(5,261,T,0,151) \"x\" 13; ") +
                          "B(13,258); E(13,258); complete");
    EXPECT_EQ(told(), again ? "5:aclColl 5:aclColl" : "5:aclColl");
    expectAllEqual();
  }
}

// --- both ends change the same ---

class BothEnds : public TreeTest {};

TEST_F(BothEnds, ConvergeOnWhatTheDecidingEndSays) {
  Vorn::AclId const k7 = aclId(7), k8 = aclId(8);
  struct Case {
    char const* what;
    std::function<void()> atS, atM;
    std::string said, saidM;  ///< without "applied"
  } const cases[] = {
      {"a value", [&] { acl->ipRuleByIdIs(at(1), rule(10)); }, [&] { mirrorAcl()->ipRuleByIdIs(at(1), rule(20)); },
       "(9,261,T,0,0) 1.0.0 ttl=10; applied 1; (9,261,T,0,0) 1.0.0 ttl=20; complete", "(9,261,T,0,0) 1.0.0 ttl=20"},
      {"a value, removed by the mirror", [&] { acl->ipRuleByIdIs(at(1), rule(10)); },
       [&] { mirrorAcl()->ipRuleByIdDel(at(1)); },
       "(9,261,T,0,0) 1.0.0 ttl=10; applied 1; (9,-261,T,0,0) 1.0.0; complete", "(9,-261,T,0,0) 1.0.0"},
      {"a scalar", [&] { r5->actionIs(Vorn::vornLoad); }, [&] { mirror5()->actionIs(Vorn::vornAbort); },
       "(5,263,T,0,0) 1; applied 1; (5,263,T,0,0) 2; complete", "(5,263,T,0,0) 2"},
      {"two keys", [&] { acl->ipRuleByIdIs(at(1), rule(10)); }, [&] { mirrorAcl()->ipRuleByIdIs(at(5), rule(50)); },
       "(9,261,T,0,0) 1.0.0 ttl=10; applied 1; (9,261,T,0,0) 5.0.0 ttl=50; complete", "(9,261,T,0,0) 5.0.0 ttl=50"},
      {"a member made again, removed by the mirror", [&] { acls->aclDel(k7), acls->aclIs(k7, Acl::ip, "new"); },
       [&] { mirrorAcls()->aclDel(k7); },
       "(7,-258,T,0,0) 1.7.0; (7,258,T,0,151) 1.7.0 0 \"new\" 13; B(13,261); E(13,261); B(13,262); E(13,262); complete",
       "(7,-258,T,0,0) 1.7.0"},
      {"a member made by both", [&] { acls->aclIs(k8, Acl::ip, "s"); }, [&] { mirrorAcls()->aclIs(k8, Acl::ip, "m"); },
       "(7,258,T,0,151) 1.8.0 0 \"s\" 13; B(13,261); E(13,261); B(13,262); E(13,262); complete",
       "(7,258,T,0,151) 1.8.0 0 \"m\" 2"},
      {"a child replaced, removed by the mirror", [&] { r5->vornAclCollIs("x"); }, [&] { mirror5()->vornAclCollDel(); },
       "(5,261,T,0,151) \"x\" 13; B(13,258); E(13,258); complete", "(5,-261,F,0,0)"},
      {"a reference", [&] { root->chipRootConfigLastFailedIs(r5); },
       [&] { mirror->chipRootConfigLastFailedIs(mirror->chipRootConfig(6)); },
       "(3,259,T,0,0) 7; applied 1; (3,259,T,0,0) 5; complete", "(3,259,T,0,0) 5"}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    rebuild();
    if (c.what == std::string("a reference")) {
      root->chipRootConfigIs(6, 1);
    }
    inSync();
    link->held[S] = link->held[M] = true;
    c.atS();
    c.atM();
    link->pull(S);
    link->pull(M);
    link->held[S] = link->held[M] = false;
    link->deliver(M);
    link->deliver(S);
    move();
    EXPECT_EQ(said(), c.said);
    std::string const saidM = said(M);
    EXPECT_NE(saidM.find(c.saidM), std::string::npos) << saidM;
    expectEqual();
  }
}

TEST_F(BothEnds, TakeWhatTheMirrorWritesWhenNothingCrosses) {
  inSync();
  mirrorAcl()->ipRuleByIdIs(at(5), rule(5));
  mirrorAcl()->ipRuleByIdDel(at(1));
  mirror5()->vornRootKickIs(3);
  mirrorAcls()->aclIs(aclId(8), Acl::mac, "m")->macRuleByIdIs(at(1), macRule(1));
  mirror5()->aclKeyToAclIdDel();
  mirror->chipRootConfigLastFailedIs(mirror5());
  mirror->chipRootConfigIs(6, 2)->initialize();
  move();
  EXPECT_EQ(said(), "");
  EXPECT_EQ((*link)[S].stats().droppedChanges + (*link)[M].stats().droppedChanges, 0U);
  expectAllEqual();
  acls->acl(aclId(8))->macRuleByIdIs(at(1), macRule(2));  // into what the mirror announced
  acls->aclDel(aclId(8));
  move();
  expectAllEqual();
}

// --- a connection lost inside a whole transfer ---

class Lost : public TreeTest {};

TEST_F(Lost, RemovesNothingAndTheNextTransferRepairs) {
  root->chipRootConfigIs(7, 7);
  acls->aclIs(aclId(1), Acl::ip, "gone");
  acl->ipRuleByIdIs(at(3), rule(3));
  inSync();
  Ptr<RootConfig> const five = mirror5();
  Ptr<VornAcl> const k = mirrorAcl();
  cut();
  acl->ipRuleByIdIs(at(1), rule(11));
  acl->ipRuleByIdDel(at(3));
  acls->aclDel(aclId(1));
  root->chipRootConfigIs(6, 1);
  root->chipRootConfigDel(7);
  EXPECT_EQ(told(), "");
  std::string const before = Dump::of(*mirror);
  connect({}, true);
  EXPECT_EQ(root->kroFirstAdapter()->nextOfEntity(), nullptr) << "the adapter of the first connection is gone";
  moveUntil("1.0.0 ttl=11");
  EXPECT_EQ(told(), "c:config(6) c:config(7) 5v:acl(ipv4PAcl:1:in) 5v/1.7.0:ip(1.0.0)");
  cut();
  EXPECT_EQ(mirrorAcl()->ipRuleByIdSize(), 3U) << "what was still to come was marked, and is kept";
  EXPECT_EQ(mirror->auditErrors(9), 0U);
  connect({}, true);
  move();
  EXPECT_EQ(told(), "5v/1.7.0:ip(3.0.0)");
  EXPECT_TRUE(mirror5() == five && mirrorAcl() == k) << "the same objects";
  expectAllEqual();
}

TEST_F(Lost, InsideATransferTakesTheMarksOff) {
  inSync();
  cut();
  connect({}, true);
  moveUntil("B(9,261)");
  auto const marks = [&] {
    int n = 0;
    for (auto const& record : mirrorAcl()->ipRuleByIdMap()) {
      n += record.kroMarkedForDeletion() ? 1 : 0;
    }
    return n;
  };
  EXPECT_EQ(marks(), 2);
  link->receive(M, WireText::marker(9, 261, 1));  // an abort does it, too
  EXPECT_EQ(marks(), 0);
  link->receive(M, WireText::marker(9, 261, 0));
  EXPECT_EQ(marks(), 2);
  cut();
  EXPECT_EQ(marks(), 0);
}

// --- references ---

class References : public TreeTest {
 protected:
  Ptr<RootConfigColl> others = Vorn::rootConfigCollFactory("others");
};

TEST_F(References, FollowTheAnnouncementOfTheirTarget) {
  inSync();
  link->block(S);
  root->chipRootConfigLastFailedIs(root->chipRootConfigIs(8, 2));
  link->unblock(S);
  move();
  EXPECT_EQ(said(),
            "(3,258,T,0,151) 8 2 13; (13,260,F,1,0) 0; (13,-261,F,0,0); (13,-262,F,0,0); (13,263,T,0,0) 0; "
            "(13,264,T,0,0) 0; (13,265,F,4,0) 0; (13,267,F,1,0) 0; (3,259,T,0,0) 13; complete");
  expectAllEqual();
  auto const elsewhere = others->chipRootConfigIs(9, 2);
  root->chipRootConfigLastFailedIs(elsewhere);  // replaces what the peer has
  move();
  EXPECT_EQ(said(), "(3,-259,T,0,0) 2");
  EXPECT_EQ(mirror->chipRootConfigLastFailedSize(), 0U);
  Ptr<RootConfigColl> const first = mirror;
  (*link)[S].rootIs(others);
  move();
  EXPECT_NE(("; " + said()).find("; (3,259,T,0,0) 17;"), std::string::npos);
  mirror = first;
  expectEqual();
}

TEST_F(References, OutliveTheirTargetOnTheConnectionOnly) {
  root->chipRootConfigLastFailedIs(r5);
  inSync();
  root->chipRootConfigDel(5);
  move();
  EXPECT_EQ(said(), "(3,-258,T,0,0) 5");
  EXPECT_EQ(mirror->chipRootConfigLastFailedSize(), 1U);
  expectAllEqual();
  cut();
  connect({}, true);
  move();
  EXPECT_EQ(
      said(),
      "(1,136,T,0,0) \"Vorn::RootConfigColl\" \"rcc\" 3; B(3,258); E(3,258); B(3,259); (3,-259,T,0,0) 1; E(3,259); "
      "complete");
  EXPECT_EQ(mirror->chipRootConfigLastFailedSize(), 0U);
  root->chipRootConfigLastFailedDel(1);
  move();
  EXPECT_EQ(said(), "(3,-259,T,0,0) 1");
}

TEST_F(References, ToWhatTheMirrorHasRemovedAreDropped) {
  inSync();
  root->chipRootConfigLastFailedIs(r5);
  mirror->chipRootConfigDel(5);
  move();
  EXPECT_EQ(mirror->chipRootConfigLastFailedSize(), 0U);
  EXPECT_EQ((*link)[M].stats().nullReferences, 1U);
  EXPECT_EQ(root->chipRootConfigSize(), 0U);
  EXPECT_EQ(link->errors(), "|");
}

// --- observers of a mirror that change it ---

class BusyObserver : public TreeTest {};

TEST_F(BusyObserver, SendsBackWhatItChanges) {
  inSync();
  auto const a = observe<ConfigSpy>(mirror5(), "A", [&] { mirror5()->actionIs(Vorn::vornCompute); });
  r5->actionIs(Vorn::vornLoad);
  move();
  EXPECT_EQ(r5->action(), Vorn::vornCompute);
  auto const b = observe<AclSpy>(mirrorAcl(), "B", [&] { mirrorAcl()->ipRuleByIdIs(at(2), rule(2)); });
  acl->ipRuleByIdDel(at(2));
  move();
  EXPECT_EQ(acl->ipRuleById(at(2)), rule(2));
  expectEqual();
}

TEST_F(BusyObserver, KeepsWhatItAddsToAMemberThatIsStillToCome) {
  inSync();
  auto const a = observe<AclCollSpy>(mirrorAcls(), "A", [&] {
    if (auto const made = mirrorAcls()->acl(aclId(8))) {
      made->ipRuleByIdIs(at(9), rule(9));
    }
  });
  acls->aclIs(aclId(8), Acl::ip, "x")->ipRuleByIdIs(at(1), rule(1));
  move();
  EXPECT_EQ(acls->acl(aclId(8))->ipRuleByIdSize(), 2U);
  EXPECT_NE(said().find("(13,261,T,0,0) 9.0.0 ttl=9"), std::string::npos) << "S confirms it";
  expectEqual();
}

TEST_F(BusyObserver, KeepsWhatItSetsAgainDuringASweep) {
  inSync();
  cut();
  acl->ipRuleByIdDel(at(2));
  auto const a = observe<AclSpy>(mirrorAcl(), "A", [&] { mirrorAcl()->ipRuleByIdIs(at(2), rule(22)); });
  connect({}, true);
  move();
  EXPECT_EQ(acl->ipRuleById(at(2)), rule(22));
  expectEqual();
}

TEST_F(BusyObserver, MayChangeAMarkedRuleThatTheTransferThenRepeats) {
  inSync();
  cut();
  acl->ipRuleByIdIs(at(1), rule(11));
  auto const a = observe<AclSpy>(mirrorAcl(), "A");
  a->act = [&] { a->act = nullptr, mirrorAcl()->ipRuleByIdIs(at(2), rule(22)); };
  connect({}, true);
  move();
  EXPECT_EQ(acl->ipRuleById(at(2)), rule(22)) << "written on this connection, so it is a change of the peer";
  expectEqual();
}

TEST_F(BusyObserver, MarksOfTheMirrorAreVoidedByTheDecidingEnd) {
  inSync();
  link->block(M);
  mirrorAcl()->ipRuleByIdIs(at(1), rule(21));
  mirrorAcl()->ipRuleByIdIs(at(2), rule(22));
  mirror5()->vornRootKickIs(9);
  acl->ipRuleByIdIs(at(1), rule(11));
  r5->vornRootKickIs(8);
  link->pull(S);
  link->deliver(S);
  link->unblock(M);
  move();
  EXPECT_EQ(said(M), "applied 27; (9,261,T,0,0) 2.0.0 ttl=22; complete");
  expectAllEqual();
}

TEST_F(BusyObserver, MayUndoWhatIsBeingApplied) {
  struct Case {
    char const* what;
    std::function<void()> change, act;
    std::string saidM;
  } const cases[] = {
      {"the ACL of an arriving rule", [&] { acl->ipRuleByIdIs(at(3), rule(3)); },
       [&] { mirrorAcls()->aclDel(aclId(7)); }, "(7,-258,T,0,0) 1.7.0"},
      {"the configuration of an arriving rule", [&] { acl->ipRuleByIdIs(at(3), rule(3)); },
       [&] { mirror->chipRootConfigDel(5); }, "(3,-258,T,0,0) 5"},
      {"the child that holds an arriving ACL", [&] { acls->aclIs(aclId(8), Acl::ip, "x"); },
       [&] { mirror5()->vornAclCollDel(); }, "(5,-261,F,0,0)"},
      {"an arriving ACL itself", [&] { acls->aclIs(aclId(8), Acl::ip, "x")->ipRuleByIdIs(at(1), rule(1)); },
       [&] { mirrorAcls()->aclDel(aclId(8)); }, "(7,-258,T,0,0) 1.8.0"},
      {"nothing, but makes a removed ACL again", [&] { acls->aclDel(aclId(7)); },
       [&] { mirrorAcls()->aclIs(aclId(7), Acl::mac, "again"); }, "(7,258,T,0,151) 1.7.0 2 \"again\" 2"},
      {"nothing, but makes a removed child again", [&] { r5->vornAclCollDel(); },
       [&] { mirror5()->vornAclCollIs("again"); }, "(5,261,T,0,151) \"again\" 2"}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    rebuild();
    inSync();
    auto const once = [&](auto const& spy) {
      spy->act = [&] {
        spy->act = nullptr;
        c.act();
      };
    };
    auto const a = observe<AclSpy>(mirrorAcl(), "A");
    auto const b = observe<AclCollSpy>(mirrorAcls(), "B");
    auto const d = observe<ConfigSpy>(mirror5(), "D");
    once(a);
    once(b);
    once(d);
    c.change();
    move();
    EXPECT_NE(said(M).find(c.saidM), std::string::npos);
    expectEqual();
  }
}

TEST_F(BusyObserver, MayEndTheConnection) {
  inSync();
  auto const a = observe<AclSpy>(mirrorAcl(), "A", [&] { (*link)[M].close("enough"); });
  acl->ipRuleByIdIs(at(3), rule(3));
  acl->ipRuleByIdIs(at(4), rule(4));
  link->pull(S);
  link->deliver(S);
  EXPECT_EQ((*link)[M].lastError(), "enough");
  EXPECT_EQ(mirrorAcl()->ipRuleByIdSize(), 3U) << "the second message is not applied";
  EXPECT_EQ(mirror->auditErrors(9), 0U);
}

TEST_F(BusyObserver, WhoThrowsEndsNothing) {
  inSync();
  auto const a = observe<AclSpy>(mirrorAcl(), "A", [] { throw std::runtime_error("handler"); });
  a->report = [] { throw std::runtime_error("report"); };
  acl->ipRuleByIdIs(at(3), rule(3));
  acl->ipRuleByIdIs(at(4), rule(4));
  link->pull(S);
  EXPECT_THROW(link->deliver(S), std::runtime_error);
  EXPECT_EQ(mirrorAcl()->ipRuleByIdSize(), 3U);
  a->act = a->report = nullptr;
  link->receive(M, "");
  EXPECT_EQ(mirrorAcl()->ipRuleByIdSize(), 4U) << "what stood behind it was kept";
  mirrorAcl()->ipRuleByIdDel(at(3));
  move();
  expectAllEqual();
}

}  // namespace
