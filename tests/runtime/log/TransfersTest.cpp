// Whole transfers that are interrupted, resumed and repeated; connections that are lost, limited and destroyed;
// roots.
#include <algorithm>

#include "tests/runtime/log/Harness.h"
#include "tests/support/Allocations.h"

namespace {

using namespace VornTest;

class Transfers : public LogTest {
 protected:
  static constexpr auto more =
      "c5=1 initialize a7=0acl-a r1=1 r2=2 k:k=7 c6=2 f5 a1=0m a2=0m a3=0m 5v1/r1=1 5v2/m2=2 5v3/r3=3 6/v=v 6v/a1=0a";

  void connectWith(std::uint32_t bufferedBytes) {
    start(more);
    run("cut drop");
    Limits limits;
    limits.bufferedBytes = bufferedBytes;
    connect(limits);
  }
  bool isInSync() { return (*link)[M].state() == LogConnection::State::inSync; }
  int marks() {
    int n = 0;
    for (auto const& record : acl()->ipRuleByIdMap()) {
      n += record.kroMarkedForDeletion() ? 1 : 0;
    }
    return n;
  }
};

TEST_F(Transfers, GoOnWhereTheBufferWasFull) {
  connectWith(1 << 20);
  link->move();
  std::string const whole = link->lines(S);
  for (std::uint32_t const limit : {0U, 1U, 7U, 64U, 100U, 4096U}) {
    SCOPED_TRACE(limit);
    connectWith(limit);
    for (int pulls = 0; !isInSync() && pulls < 1000; ++pulls) {
      run("step");
    }
    link->pull(M);
    EXPECT_EQ(link->lines(S), whole);
    EXPECT_EQ(link->tree.dump(), Dump::of(*root));
    link->move();
    expectEqual();
  }
}

TEST_F(Transfers, TakeChangesAtEachOfTheirSteps) {
  for (char const* const change :
       {"r1=9 r0=1 -r2", "-a7 a7=2new m4=4", "-a1 -a3 a9=0nine", "v=other a7=0in", "-p -v v=VornAclColl active=1",
        "-c5 c5=1 initialize", "-c6 c4=4 4/initialize", "c9=1 f9", "-f* -c* old/-r*"}) {
    bool done = false;
    for (int steps = 0; !done && !HasFailure(); ++steps) {
      SCOPED_TRACE(change + (" after steps: " + std::to_string(steps)));
      connectWith(0);
      for (int i = 0; i < steps; ++i) {
        run("step");
      }
      done = isInSync();
      run(change);
      link->move();
      expectEqual();
    }
  }
}

TEST_F(Transfers, ThatAreCutRemoveNothingAndTheNextOneRepairs) {
  start("c5=1 initialize a7=0acl-a r1=1 r2=2 r3=3 a1=0gone k:k=7 c7=7");
  Ptr<Entity> const five = at(M, "5"), seven = at(M, "5v7");
  run("cut r1=11 -r3 -a1 c8=1 -c7 connect until=ttl=11");
  EXPECT_EQ(journal.take(), "c:config(8) c:config(7) 5v:acl(ipv4PAcl:1:in) 5v7:ip(1.0.0)");
  EXPECT_EQ(root->kroFirstAdapter()->nextOfEntity(), nullptr) << "the adapter of the first connection is gone";
  EXPECT_EQ(marks(), 2);
  link->receive(M, wire("A(11,261)"));
  EXPECT_EQ(marks(), 0);
  link->receive(M, wire("B(11,261)"));
  EXPECT_EQ(marks(), 3);
  run("cut");
  EXPECT_EQ(marks(), 0);
  EXPECT_EQ(acl()->ipRuleByIdSize(), 3U) << "what was still to come was marked, and is kept";
  run("connect move");
  EXPECT_EQ(journal.take(), "5v7:ip(3.0.0)");
  EXPECT_TRUE(at(M, "5") == five && at(M, "5v7") == seven) << "the same objects";
  expectEqual();
}

TEST_F(Transfers, OfTwoPeersIntoOneTreeAreDecidedByTheYounger) {
  start();
  auto sender = Vorn::rootConfigCollFactory("rcc");
  Link second;
  second[M].rootOffer(mirror);
  second[S].rootIs(sender);
  std::swap(root, sender);
  run("c5=1 initialize a7=0acl-a r1=1 r2=2");
  std::swap(root, sender);
  second.move();
  ASSERT_TRUE(second[M].demuxer().reactor({9}) != nullptr);
  link->receive(M, wire("B(11,261)"));
  EXPECT_EQ(marks(), 2);
  second.receive(M, wire("B(9,261); (9,261,T,0,0) @1 R1"));
  link->receive(M, wire("E(11,261)"));
  EXPECT_EQ(acl()->ipRuleByIdSize(), 2U);
  EXPECT_EQ(marks(), 1) << "of the younger one, still";
  second.receive(M, wire("E(9,261)"));
  EXPECT_EQ(acl()->ipRuleByIdSize(), 1U);
}

TEST_F(Transfers, OfAnotherTreeBringReferencesIntoIt) {
  start();
  auto const others = Vorn::rootConfigCollFactory("others");
  root->chipRootConfigLastFailedIs(others->chipRootConfigIs(9, 1));  // replaces what the peer has
  link->move();
  EXPECT_EQ(link->lines(S), "(3,-259,T,0,0) 1");
  Ptr<RootConfigColl> const first = mirror;
  (*link)[S].rootIs(others);
  link->move();
  EXPECT_NE(link->lines(S).find("(3,259,T,0,0) 17; complete"), std::string::npos);
  ASSERT_EQ(first->chipRootConfigLastFailedSize(), 1U);
  EXPECT_TRUE(first->chipRootConfigLastFailed(1) == mirror->chipRootConfig(9));
  // One of two that hold references goes; the other one hears of new targets as before.
  auto const third = Vorn::rootConfigCollFactory("third");
  root->chipRootConfigLastFailedIs(third->chipRootConfigIs(9, 7));
  EXPECT_TRUE((*link)[S].rootDel(others));
  (*link)[S].rootIs(third);
  link->move();
  EXPECT_TRUE(first->chipRootConfigLastFailed(7) == mirror->chipRootConfig(9));
  adapterOf(*root->chipRootConfig(5))->doRemountSelf((*link)[S].out());
  EXPECT_TRUE(adapterOf(*root->chipRootConfig(5)) && !adapterOf(*acl(S)) && !adapterOf(*at(S, "5p")));
}

TEST_F(Transfers, OfRootsOfEachType) {
  start();
  EXPECT_FALSE((*link)[S].rootDel(root->chipRootConfig(5))) << "lies below one";
  run("kick=1 move");
  expectEqual();
  Link byHand;
  Ptr<Sa> const made = root->kroNboAttrLogSaIs({}, 0, byHand[S].out(), nullptr);
  made->doAssignEntityId();
  made->doSerializeOrphan();
  byHand.move();
  EXPECT_EQ(byHand.recorded(S), "(1,136,T,0,0) \"Vorn::RootConfigColl\" \"rcc\" 3; complete");
  for (Ptr<Entity> const& sent : std::initializer_list<Ptr<Entity>>{
           root, Vorn::rootConfigFactory("n", 70000, 2), Vorn::vornAclCollFactory("n"),
           Vorn::aclKeyToAclIdMappingFactory("n"), Kro::adopt(new VornAcl(aclId(7), Acl::mac, "n"))}) {
    Link one;
    Ptr<Entity> arrived;
    one[M].onRootIs([&](Ptr<Entity> const& entity) { arrived = entity; });
    one[S].rootIs(sent);
    EXPECT_EQ(messageOf<Kro::InternalException>([&] { one[S].rootIs(sent); }),
              "a root is attached twice: " + std::string(sent->fullName().view()));
    one.move();
    EXPECT_EQ(one.recorded(S).rfind("; complete"), one.recorded(S).size() - 10);
    ASSERT_TRUE(arrived);
    EXPECT_EQ(Dump::of(*arrived), Dump::of(*sent));
    EXPECT_EQ(one.tree.dump(), Dump::of(*sent));
    Ptr<Sa> const adapter = sent->kroNboAttrLogSa(Ptr<Kro::NboAttrLog::Out const>(one[S].out()));
    EXPECT_TRUE(one[S].rootDel(sent));
    EXPECT_FALSE(one[S].rootDel(sent));
    EXPECT_EQ(adapter->countWord() & 0xffffU, 1U) << "nobody else holds it";
    one[S].out()->limitIs(1);
    one[S].out()->endIs(one[S].out()->room(1) + 1);
    one[S].rootIs(sent);
    Ptr<Sa> const held = sent->kroNboAttrLogSa(Ptr<Kro::NboAttrLog::Out const>(one[S].out()));
    one[S].close("before it was announced");
    EXPECT_FALSE(held->isRegistered());
  }
}

TEST_F(Transfers, OfRootsThatOverlapAreRefusedOrBecomeOne) {
  start();
  auto const refusal = [&](Ptr<Entity> const& entity) {
    return messageOf<Kro::InternalException>([&] { (*link)[S].rootIs(entity); });
  };
  Ptr<Entity> const acls = at(S, "5v"), six = at(S, "6");
  std::string const nameOfAcls = "rcc/chipRootConfig[5]/vornAclColl";
  EXPECT_EQ(refusal(acls), "a root lies below an attached entity: " + nameOfAcls);
  run("cut");
  link = std::make_unique<Link>();
  (*link)[S].rootIs(acls);
  (*link)[S].rootIs(six);
  EXPECT_EQ(refusal(acls), "a root is attached twice: " + nameOfAcls);
  EXPECT_EQ(refusal(root), "a root lies above an attached entity: rcc above " + nameOfAcls);
  EXPECT_EQ(refusal(acl(S)), "a root lies below an attached entity: " + nameOfAcls + "/acl[ipv4PAcl:7:in]");
  // A root that goes ends for itself; who owns the connection is told when the change is done.
  std::string left;
  (*link)[S].onRootLeftIs([&](Ptr<Entity> const& entity) { left += std::string(entity->fullName().view()) + ' '; });
  link->move();
  link->lines(S);
  run("-v 6/kick=4");
  EXPECT_EQ(left, "");
  link->move();
  EXPECT_EQ(left, "VornAclColl ");
  EXPECT_EQ(words(S), "(5,265,F,4,0) 4") << "the other root goes on";
  EXPECT_TRUE((*link)[S].rootDel(six));
  link->move();
  EXPECT_EQ(left, "VornAclColl ") << "no news to who ended it";
  // What was made a root by hand becomes a part of the tree that is attached above it.
  connect();
  Ptr<Sa> const made = six->kroNboAttrLogSaIs({}, 0, (*link)[S].out(), nullptr);
  made->flowOutIs(Kro::firstEntityAttributeId);
  made->doAssignEntityId();
  made->doSerializeOrphan();
  (*link)[M].onRootIs([&](Ptr<Entity> const& entity) {
    auto const arrived = Kro::ptrCast<RootConfigColl>(entity);
    mirror = arrived ? arrived : mirror;
  });
  link->move();
  expectEqual();
}

TEST_F(Transfers, ThatAreAskedForByHandTakeTheirTurn) {
  for (char const* const before : {"", "deferred", "block c8=1 8/initialize r1=9 -c6", "mute r1=9 a8=0x", "cut drop"}) {
    SCOPED_TRACE(before);
    start();
    run(before);
    if (!mirror) {
      Limits nothingGoesYet;
      nothingGoesYet.bufferedBytes = 1;
      connect(nothingGoesYet);
    }
    auto const sa = Kro::ptrCast<RootConfigColl::KroNboAttrLogSa>(adapterOf(*root));
    sa->kroInstantiateSerialize();
    sa->kroHandleChipRootConfigSerializeColl();
    sa->kroHandleChipRootConfigLastFailedSerializeColl();
    for (auto& config : root->chipRootConfigMap()) {
      EXPECT_TRUE(sa->chipRootConfigNboAttrLogAdapterIs(0, config));
      adapterOf(config)->kroInstantiateSerialize();
    }
    EXPECT_FALSE(sa->chipRootConfigNboAttrLogAdapterIs(0, *Vorn::rootConfigFactory("elsewhere", 5, 1)));
    auto const ofAcl = Kro::ptrCast<VornAcl::KroNboAttrLogSa>(adapterOf(*acl(S)));
    EXPECT_EQ(!ofAcl || ofAcl->kroHandleIpRuleByIdSerializeColl(), std::string(before).find("r1") == std::string::npos);
    run(before[0] == 'b' ? "free" : "unmute");
    link->move();
    expectEqual();
  }
}

TEST_F(Transfers, CountWhatMerged) {
  start();
  run("block 6/v=v");
  for (int n = 0; n < 10; ++n) {
    run("kick+1 r1=" + std::to_string(n) + " r" + std::to_string(2 + n % 2) + "=100");
  }
  auto const stats = (*link)[S].stats();
  EXPECT_EQ(stats.dirtyMarks, 5U);
  EXPECT_EQ(stats.dirtyMarksPeak, 5U);
  EXPECT_EQ(stats.mergedChanges, 18U);
  run("free move block kick=77 free move");
  EXPECT_EQ((*link)[S].stats().dirtyMarksPeak, 5U);
  run("-a7 a7=0new M -a7 cross move S v=x M -v cross move S a8=0s M a8=0m cross move");
  EXPECT_EQ((*link)[S].stats().droppedChanges, 3U);
  expectEqual();
}

TEST_F(Transfers, OfManyThatWaitLookAtEachOnce) {
  constexpr int configs = 50;
  std::string tree, kicks, rules;
  for (int i = 0; i < configs; ++i) {
    std::string const n = std::to_string(i);
    tree += "c" + n + "=1 " + n + "/initialize " + n + "v/a7=0a ";
    kicks += n + "/kick+1 ";
    rules += n + "v7/r1=1 ";
  }
  start(tree);
  run("block " + kicks + rules + kicks + "free");  // each rule goes before the kick above it
  std::uint64_t const before = (*link)[S].demuxer().queue().looks();
  link->move();
  EXPECT_LE((*link)[S].demuxer().queue().looks() - before, 2U * configs + 10);
  expectEqual();
}

TEST_F(Transfers, WaitAsLongAsABitOfTheStateWordTells) {
  for (unsigned const bit : {Sa::attachedBit, Sa::applyingBit, Sa::heldBit, Sa::mutedBit}) {
    SCOPED_TRACE(bit);
    start();
    Ptr<Sa> const sa = share((*link)[S].demuxer().reactor({7}));
    run("block kick=4 r1=9 free");
    sa->stateIs(bit, bit != Sa::attachedBit);
    link->move();
    EXPECT_EQ(link->lines(S), "(11,261,T,0,0) 1.0.0 ttl=9");
    sa->stateIs(bit, bit == Sa::attachedBit);
    link->move();
    expectEqual();
  }
}

TEST_F(Transfers, EndAtALimitAndOnlyTheirConnection) {
  std::string const at = "received byte 955: entity rcc/chipRootConfig[5]/vornAclColl, attribute acl, byte ";
  struct Case {
    std::uint32_t Limits::*limit;
    std::uint32_t value;
    std::string script, errorS, errorM;
  } const cases[] = {
      {&Limits::stringBytes, 20, "a8=0" + std::string(23, 'x'), "",
       at + "17 of the message: string of 23 bytes, the limit is 20"},
      {&Limits::messageBytes, 115, "a8=0" + std::string(90, 'x'), "", ""},
      {&Limits::messageBytes, 114, "a8=0" + std::string(90, 'x'),
       "writing acl of rcc/chipRootConfig[5]/vornAclColl: message of 115 payload bytes, the limit is 114", ""},
      {&Limits::entities, 7, "a8=0x", "", ""},
      {&Limits::entities, 6, "a8=0x", "", at + "26 of the message: more entities than the limit of 6"},
      {&Limits::nesting, 2, "", "",
       "received byte 398: entity rcc/chipRootConfig[5]/vornAclColl, attribute acl, byte 30 of the message: entities "
       "nested deeper than the limit of 2"}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.errorS + c.errorM);
    start();
    Limits limits;
    limits.*c.limit = c.value;
    Link limited({}, limits);
    limited.fault = "a value out of range";  // a writer does not look at the peer's limit of strings
    limited[S].rootIs(root);
    Ptr<Entity> arrived;
    limited[M].onRootIs([&](Ptr<Entity> const& entity) { arrived = entity; });
    limited.move();
    run(c.script);
    limited.move();
    EXPECT_EQ(limited.error(S), c.errorS);
    EXPECT_EQ(limited.error(M), c.errorM);
    EXPECT_EQ(arrived->auditErrors(9), 0U);
    link->move();
    expectEqual();
  }
  // Roots: three of 99 bytes where that is the limit, then one of 100, or one too many.
  for (auto const& [length, entities, errorS, errorM] :
       std::initializer_list<std::tuple<std::size_t, std::uint32_t, char const*, char const*>>{
           {66, 3, "", ""}, {67, 3, "limit is 99", ""}, {66, 2, "", "more entities than the limit of 2"}}) {
    Limits limits;
    limits.messageBytes = 99;
    limits.entities = entities;
    Link limited({}, limits);
    limited.move();
    std::string errors;
    for (std::size_t const n : {std::size_t{65}, std::size_t{66}, length}) {
      errors += messageOf<Kro::Exception>(
          [&] { limited[S].rootIs(Vorn::vornAclCollFactory(Kro::String8(std::string(n, 'x')))); });
    }
    limited.move();
    EXPECT_NE((errors + limited.error(S)).find(errorS), std::string::npos) << errors + limited.error(S);
    EXPECT_TRUE(*errorM != 0 ? limited.error(M).find(errorM) != std::string::npos : limited.error(M).empty())
        << limited.error(M);
  }
}

TEST_F(Transfers, SurviveWhatObserversThrowAndEndWhereTheyWant) {
  for (std::size_t const first : {0U, 30U}) {  // of a message that comes in one piece or two
    start();
    watch->rethrows = true;
    run("{5v7 throw } r3=3 r4=4");
    link->pull(S);
    link->deliver(S, first);
    EXPECT_THROW(link->deliver(S), std::runtime_error);
    EXPECT_EQ(acl()->ipRuleByIdSize(), 3U);
    link->receive(M, "");
    EXPECT_EQ(acl()->ipRuleByIdSize(), 4U) << "what stood behind it was kept";
    run("move M -r3 move");
    EXPECT_EQ(link->tree.ends[M].applied, link->tree.ends[S].messages);
    expectEqual();
  }
  run("{5v7 close } S r5=5 r6=6 step");
  EXPECT_EQ(link->error(M), "enough");
  EXPECT_EQ(acl()->ipRuleByIdSize(), 4U) << "the second message is not applied";
  expectValid();
  start();
  watch->rethrows = true;
  run("{5v7 throwNumber }");
  EXPECT_ANY_THROW(link->inject(M, wire("B(11,261); E(11,261)")));
  run("M kick=1");
  link->pull(M);
  EXPECT_EQ(link->tree.ends[M].applied, link->tree.ends[S].messages) << "a message of which an observer throws counts";
}

// --- the ends of things ---

TEST_F(Transfers, LeaveNoLargeBufferBehind) {
  auto const connection = LogConnection::create(LogConnection::Role::opener);
  Vorn::VornAcl* const acl = new Vorn::VornAcl({Vorn::ipv4PAcl, 7, Acl::in}, Acl::ip, "edge");
  connection->rootIs(Kro::adopt(acl));
  Vorn::IpRuleConfig rule;
  auto const madeByAChange = [&] {
    rule.logIs(!rule.log());
    std::size_t const before = allocations();
    acl->ipRuleByIdIs({1, 0, 0}, rule);
    return allocations() - before;
  };
  auto const drain = [&] {
    for (auto bytes = connection->pending(); !bytes.empty(); bytes = connection->pending()) {
      connection->sent(bytes.size());
    }
  };
  for (std::uint32_t n = 0; n < 1000; ++n) {
    acl->ipRuleByIdIs({n, 0, 0}, rule);
  }
  drain();
  EXPECT_EQ(madeByAChange(), 0U) << "there is room";
  drain();
  EXPECT_EQ(madeByAChange(), 0U) << "a busy one keeps it";
  drain();
  drain();
  EXPECT_EQ(madeByAChange(), 1U) << "at rest it was given back";
}

TEST_F(Transfers, AnyOrderOfDestructionIsClean) {
  std::vector<int> order = {0, 1, 2, 3};
  do {
    std::size_t const before = Kro::PtrTrack::live();
    {
      start();
      run("M block r8=8 a9=0m kick=1 S block r9=9 a8=0x -p");  // both ends have something to write
      link->pull(S);
      auto sa = std::make_pair(adapter(7), root->kroNboAttrLogSa(Ptr<Kro::NboAttrLog::Out const>((*link)[S].out())));
      Ptr<AclSpy> spy = observe<AclSpy>(acl(), "A");
      old = nullptr;
      for (int const what : order) {
        what == 0   ? void((root = nullptr, mirror = nullptr))
        : what == 1 ? void((watch = nullptr, spy = nullptr))
        : what == 2 ? void(sa = {})
                    : void(link = nullptr);
      }
    }
    EXPECT_EQ(Kro::PtrTrack::live(), before);
  } while (std::next_permutation(order.begin(), order.end()));
}

}  // namespace
