// What an end does with bytes: each message applied, and read from a given input; read-only ends, markers, unknown
// things; streams that are cut into pieces, end anywhere, or are damaged.
#include "tests/runtime/log/Harness.h"

namespace {

using namespace VornTest;
using Sa = Kro::Entity::KroNboAttrLogSa;

/// The ids of the tree: 3 the collection, 5 configuration 6 of chip 2, 7 configuration 5 of chip 1, 9 its ACLs, 11 the
/// ACL, 13 the mapping. The next new one is 15.
class Input : public TreeTest, public WireText {
 protected:
  void start() {
    rebuild();
    root->chipRootConfigIs(6, 2);
    root->chipRootConfigLastFailedIs(r5);
    inSync();
    link->tree.judgesApplied = false;
  }
  /// What M writes to nobody.
  std::string saidM() {
    link->pull(M);
    return said(M);
  }
  Ptr<Sa> adapter(std::uint64_t id) { return Kro::share((*link)[M].demuxer().reactor({id})); }
  std::string lastError() { return std::string((*link)[M].lastError().view()); }
};

std::string withoutApplied(std::string text) {
  std::size_t const end = text.find("; ");
  return text.compare(0, 7, "applied") == 0 ? text.erase(0, end == std::string::npos ? end : end + 2) : text;
}

struct Word {
  char const* what;
  std::uint64_t entity;
  int attribute;
  std::string payload;
  unsigned flags, code;
  std::string told;     ///< to the observers where it is applied
  std::string current;  ///< what M writes where it is only read
};

std::vector<Word> words() {
  using T = WireText;
  std::string const id15 = T::number(15, 8), k7 = T::value(aclId(7)), k8 = T::value(aclId(8));
  std::string const setRule = "(11,261,T,0,0) 1.0.0 ttl=1", acl7 = "5v:acl(ipv4PAcl:7:in)";
  return {
      {"active", 7, 260, T::number(1, 1), 16, 0, "5:active", "(7,260,F,1,0) 0"},
      {"child kept", 7, 261, T::string("VornAclColl") + T::number(9, 8), 1, 151, "", ""},
      {"child", 5, 261, T::string("v") + id15, 1, 151, "6:aclColl", "(5,-261,F,0,0)"},
      {"child replaced", 7, 261, T::string("v") + id15, 1, 151, "5:aclColl", ""},
      {"child of equal name made anew", 7, 261, T::string("VornAclColl") + id15, 1, 151, "5:aclColl 5:aclColl", ""},
      {"child removed", 7, -261, "", 0, 0, "5:aclColl", ""},
      {"no child removed", 5, -261, "", 0, 0, "", "(5,-261,F,0,0)"},
      {"mapping", 5, 262, T::string("p") + id15, 1, 151, "6:mapping", "(5,-262,F,0,0)"},
      {"mapping removed", 7, -262, "", 0, 0, "5:mapping", ""},
      {"action", 7, 263, T::number(1, 4), 1, 0, "5:action", "(7,263,T,0,0) 0"},
      {"kick time", 7, 264, T::number(0x3ff8000000000000, 8), 1, 0, "5:time", "(7,264,T,0,0) 0"},
      {"kick", 7, 265, T::number(0xffffffff, 4), 64, 0, "5:kick", "(7,265,F,4,0) 0"},
      {"initialized", 7, 267, T::number(0, 1), 16, 0, "5:initialized", "(7,267,F,1,0) 1"},
      {"rule", 11, 261, T::value(at(1)) + T::value(rule(99)), 1, 0, "5v/1.7.0:ip(1.0.0)", setRule},
      {"rule of an absent key", 11, 261, T::value(at(4)) + T::value(rule(4)), 1, 0, "5v/1.7.0:ip(4.0.0)",
       "(11,-261,T,0,0) 4.0.0"},
      {"rule removed", 11, -261, T::value(at(1)), 1, 0, "5v/1.7.0:ip(1.0.0)", setRule},
      {"MAC rule", 11, 262, T::value(at(4)) + T::value(macRule(4)), 1, 0, "5v/1.7.0:mac(4.0.0)",
       "(11,-262,T,0,0) 4.0.0"},
      {"MAC rule removed", 11, -262, T::value(at(4)), 1, 0, "", "(11,-262,T,0,0) 4.0.0"},
      {"configuration", 3, 258, T::number(8, 4) + T::number(2, 2) + id15, 1, 151, "c:config(8)", "(3,-258,T,0,0) 8"},
      {"configuration of other parameters", 3, 258, T::number(6, 4) + T::number(9, 2) + id15, 1, 151,
       "c:config(6) c:config(6)", ""},
      {"configuration removed", 3, -258, T::number(5, 4), 1, 0, "c:config(5)", ""},
      {"reference", 3, 259, T::number(5, 8), 1, 0, "c:failed(2)", "(3,-259,T,0,0) 2"},
      {"reference that stands", 3, 259, T::number(7, 8), 1, 0, "", "(3,259,T,0,0) 7"},
      {"reference removed", 3, -259, T::number(1, 2), 1, 0, "c:failed(1)", "(3,259,T,0,0) 7"},
      {"ACL", 9, 258, k8 + T::number(1, 4) + T::string("n") + id15, 1, 151, "5v:acl(ipv4PAcl:8:in)",
       "(9,-258,T,0,0) 1.8.0"},
      {"ACL made anew", 9, 258, k7 + T::number(0, 4) + T::string("acl-a") + id15, 1, 151, acl7 + " " + acl7, ""},
      {"ACL removed", 9, -258, k7, 1, 0, acl7, ""},
      {"key", 13, 258, T::value(key("k")) + k8, 1, 0, "5p:key(ip:k)", "(13,258,T,0,0) 0:k 1.7.0"},
      {"key removed", 13, -258, T::value(key("k")), 1, 0, "5p:key(ip:k)", "(13,258,T,0,0) 0:k 1.7.0"}};
}

TEST_F(Input, IsAppliedAndNotEchoed) {
  for (Word const& w : words()) {
    SCOPED_TRACE(w.what);
    start();
    link->inject(M, message(w.entity, w.attribute, w.payload, w.flags, w.code));
    EXPECT_EQ(told(), w.told);
    EXPECT_EQ(lastError(), "");
    EXPECT_EQ(saidM(), "");
    EXPECT_EQ(link->tree.dump(), Dump::of(*mirror));
    EXPECT_EQ(mirror->auditErrors(9), 0U);
  }
}

TEST_F(Input, GivenIsReadOnlyAndAnsweredWithWhatStands) {
  for (Word const& w : words()) {
    SCOPED_TRACE(w.what);
    start();
    std::string const before = Dump::of(*mirror);
    Bytes const bytes(w.payload.begin(), w.payload.end());
    auto const in = Kro::adopt(new Kro::NboAttrLog::In(bytes));
    in->resolverIs(&(*link)[M].demuxer());
    adapter(w.entity)->handleAttrDeserialization(w.attribute, Kro::StreamAdapter::noOptions, 0, in);
    EXPECT_EQ(in->remaining(), 0U);
    EXPECT_EQ(Dump::of(*mirror), before);
    EXPECT_EQ(told(), "");
    EXPECT_EQ(withoutApplied(saidM()), w.current);
  }
}

TEST_F(Input, OfEachLengthButTheRightOneIsRefused) {
  for (Word const& w : words()) {
    for (std::size_t n = 0; n <= w.payload.size() + 1; n++) {
      if (n == w.payload.size() || (w.code == 151 && n > w.payload.size())) {
        continue;
      }
      start();
      std::string const before = Dump::of(*mirror);
      link->receive(M, message(w.entity, w.attribute, (w.payload + "x").substr(0, n), w.flags, w.code));
      EXPECT_NE(lastError(), "") << w.what << ", " << n << " bytes";
      EXPECT_EQ(Dump::of(*mirror), before) << w.what << ", " << n << " bytes";
    }
  }
}

TEST_F(Input, TakesUnknownEnumeratorsAndNothingElseThatIsUnknown) {
  std::string const aclParameters = value(aclId(8)) + number(9, 4) + string("n") + number(15, 8);
  std::string badAction = value(rule(1)), badKey = value(aclId(7));
  badAction[badAction.size() - 3] = 9;
  badKey[3] = 9;
  std::string const place = "received byte 955: entity rcc/chipRootConfig[5]";
  struct Case {
    char const* what;
    std::string bytes;
    std::string told, error;
    unsigned enumerators, skipped;
  } const cases[] = {
      {"action", message(7, 263, number(9, 4)), "5:action", "", 1, 0},
      {"negative action", message(7, 263, number(0xffffffff, 4)), "5:action", "", 1, 0},
      {"ACL type of a member", message(9, 258, aclParameters, 1, 151), "5v:acl(ipv4PAcl:8:in)", "", 1, 0},
      {"action of a rule", message(11, 261, value(at(1)) + badAction), "",
       place + "/vornAclColl/acl[ipv4PAcl:7:in], attribute ipRuleById, byte 12 of the message: Action", 0, 0},
      {"table type in a key", message(9, -258, badKey), "",
       place + "/vornAclColl, attribute acl, byte 0 of the message: TableType", 0, 0},
      {"bool", message(7, 260, number(2, 1), 16), "",
       place + ", attribute active, byte 0 of the message: expected a bool, 0 or 1, not 2", 0, 0},
      {"attribute", message(7, 999, "anything"), "", "", 0, 1},
      {"removal of an attribute", message(7, -999, "anything"), "", "", 0, 1},
      {"removal of a scalar", message(7, -260, ""), "", "", 0, 1},
      {"child of an unknown attribute, and its child",
       creation(7, 999, "", 15) + creation(15, 258, "x", 17) + message(17, 1, "") + message(7, 260, number(1, 1), 16),
       "5:active", "", 0, 3},
      {"root of an unknown type",
       creation(1, 136, string("Vorn::Nothing") + "?", 15) + message(15, 261, "x") + message(7, 260, number(1, 1), 16),
       "5:active", "", 0, 2},
      {"id never given", message(15, 260, ""), "",
       "received byte 955: entity id 15, attribute 260: entity id 15 was "
       "never given",
       0, 0},
      {"id 0", message(0, 260, ""), "", "received byte 955: entity id 0, attribute 260: entity id 0 was never given", 0,
       0},
      {"id 1", message(1, 260, ""), "", "received byte 955: entity id 1, attribute 260: entity id 1 was never given", 0,
       0},
      {"new id of the reader's", creation(7, 262, string("p"), 2), "",
       place +
           ", attribute aclKeyToAclId, byte 13 of the message: entity id 2: expected a new id of the peer, above 13",
       0, 0},
      {"old id", creation(5, 262, string("p"), 13), "",
       "received byte 955: entity rcc/chipRootConfig[6], attribute aclKeyToAclId, byte 13 of the message: entity id "
       "13: "
       "expected a new id of the peer, above 13",
       0, 0},
      {"known id, other parameters", creation(9, 258, value(aclId(7)) + number(0, 4) + string("b"), 11), "",
       place + "/vornAclColl, attribute acl, byte 26 of the message: Reinstantiating the entity with name '' where "
               "constructor parameter attribute _cliName has a different value of 'b' than the current value of "
               "'acl-a' not allowed",
       0, 0},
      {"reference of another type", message(3, 259, number(11, 8)), "",
       "received byte 955: entity rcc, attribute chipRootConfigLastFailed, byte 8 of the message: Entity is the wrong "
       "type",
       0, 0},
      {"reference to nothing", message(3, 259, number(0, 8)), "", "", 0, 0},
      {"too much applied", applied(1), "",
       "received byte 955: entity id 0, attribute 0: the peer applied 1 messages, "
       "expected 0 to 0",
       0, 0},
      {"marker of no kind", marker(11, 261, 3), "",
       place + "/vornAclColl/acl[ipv4PAcl:7:in], attribute ipRuleById, byte 1 of the message: expected a transaction "
               "marker: one byte, 0 to 2",
       0, 0},
      {"the root once more", creation(1, 136, string("Vorn::RootConfigColl") + string("rcc"), 3), "",
       "received byte 955: entity id 1, attribute 136: entity id 3: expected a new id of the peer, above 13", 0, 0}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    start();
    std::string const before = Dump::of(*mirror);
    link->receive(M, c.bytes);
    EXPECT_EQ(told(), c.told);
    EXPECT_EQ(lastError(), c.error);
    EXPECT_EQ((*link)[M].stats().unknownEnumerators, c.enumerators);
    EXPECT_EQ((*link)[M].stats().skippedMessages, c.skipped);
    EXPECT_EQ(Dump::of(*mirror) == before, c.told.empty());
    EXPECT_EQ(mirror->auditErrors(9), 0U);
  }
  start();
  link->receive(M, message(7, 263, number(9, 4)));
  EXPECT_EQ(static_cast<int>(mirror5()->action()), 9);
}

TEST_F(Input, AttributeListsStandForTheirFirstChild) {
  auto const list = [](std::initializer_list<int> ids, std::string const& word, std::string const& payload,
                       std::size_t payloadBytes) {
    std::string all;
    for (int const id : ids) {
      all += number(static_cast<std::uint32_t>(id), 4);
    }
    return number(all.size(), 2) + number(payloadBytes, 2) + all + word + payload +
           std::string(payloadBytes - payload.size(), '?');
  };
  std::string const word = number(7, 4), child = string("v") + number(15, 8);
  struct Case {
    char const* what;
    std::uint64_t entity;
    int attribute;
    std::string payload;
    std::string told, error;
  } const cases[] = {
      {"creation", 5, 144, list({263, 261, 262}, word, child, child.size()), "6:aclColl", ""},
      {"creation with more behind it", 5, 144, list({262}, word, child, child.size() + 9), "6:mapping", ""},
      {"creation through -144", 5, -144, list({261}, word, child, child.size()), "6:aclColl", ""},
      {"removal", 7, 144, list({-261, 262}, "", "", 0), "5:aclColl", ""},
      {"member removed", 3, -144, list({-258}, "", number(6, 4), 4), "c:config(6)", ""},
      {"references are no children", 3, 144, list({259, -258}, "", number(6, 4), 4), "c:config(6)", ""},
      {"no child in the list", 7, 144, list({263, 264}, word, "", 0), "", ""},
      {"no child in the list of -144", 7, -144, list({263, 264}, "", "", 0), "", ""},
      {"a type without children", 11, 144, list({261}, word, "", 0), "", ""}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    start();
    link->receive(M, message(c.entity, c.attribute, c.payload, 1, 0));
    EXPECT_EQ(told(), c.told);
    EXPECT_EQ(lastError(), c.error);
    EXPECT_EQ(mirror->auditErrors(9), 0U);
  }
}

TEST_F(Input, SyncModeIsTakenAndChangesNothing) {
  start();
  link->receive(M, message(11, 135, number(2, 4)));
  EXPECT_EQ(adapter(11)->syncMode(), Kro::StreamAdapter::syncModeWhole);
  EXPECT_FALSE(adapter(11)->is(Sa::mutedBit | Sa::applyingBit));
  link->receive(M, message(11, 135, number(1, 4)));
  EXPECT_EQ(adapter(11)->syncMode(), Kro::StreamAdapter::syncModeOn);
  EXPECT_EQ(adapter(9)->syncMode(), Kro::StreamAdapter::syncModeOff);
  EXPECT_EQ(lastError() + told() + saidM(), "");
  EXPECT_EQ(mirrorAcl()->ipRuleByIdSize(), 2U) << "without a transfer nothing is swept";
  link->receive(M, message(11, 135, number(3, 4)));
  EXPECT_NE(lastError().find("SyncMode"), std::string::npos) << lastError();
}

TEST_F(Input, ReadOnlyEndsRefuse) {
  connect();
  link = std::make_unique<Link>();
  link->ends[S]->peerNameIs("mirror-1");
  (*link)[M].arrivingAccessIs(LogConnection::Access::readOnly);
  (*link)[M].onRootIs([this](Ptr<Kro::Entity> const& arrived) { mirrorIs(Kro::ptrCast<RootConfigColl>(arrived)); });
  (*link)[S].rootIs(root, LogConnection::Access::readOnly);
  move();
  journal.take();
  struct Case {
    std::function<void()> act;
    std::string error;
  } const cases[] = {
      {[&] { mirrorAcl()->ipRuleByIdIs(at(1), rule(9)); },
       "attribute ipRuleById of read-only proxy rcc/chipRootConfig[5]/vornAclColl/acl[ipv4PAcl:7:in] changed"},
      {[&] { mirror5()->actionIs(Vorn::vornLoad); },
       "attribute action of read-only proxy rcc/chipRootConfig[5] changed"},
      {[&] { mirror->chipRootConfigIs(6, 1); }, "attribute chipRootConfig of read-only proxy rcc changed"},
      {[&] { mirror5()->aclKeyToAclIdDel(); },
       "attribute aclKeyToAclId of read-only proxy rcc/chipRootConfig[5] changed"}};
  for (Case const& c : cases) {
    EXPECT_EQ(messageOf<Kro::ReadOnlyException>(c.act), c.error);
  }
  EXPECT_EQ(mirror5()->action(), Vorn::vornLoad) << "what was changed stands here";
  EXPECT_EQ(told(), "") << "and nobody was told";
  move();
  EXPECT_EQ(said(M), "complete");
  r5->vornRootKickIs(4);
  move();
  EXPECT_EQ(mirror5()->vornRootKick(), 4U) << "what the owner writes arrives";
  std::string const before = Dump::of(*root);
  std::string const refused = "write-update from readonly proxy: rcc/chipRootConfig[5] peerName: mirror-1";
  std::string const readOnlyWords[] = {message(5, 263, number(1, 4)), message(5, -261, "", 0), marker(5, 261, 0)};
  for (std::string const& bytes : readOnlyWords) {
    Link other;
    other[S].peerNameIs("mirror-1");
    other[S].rootIs(root, LogConnection::Access::readOnly);
    other.move();
    other.receive(S, bytes);
    std::string const error(other[S].lastError().view());
    EXPECT_NE(error.find(&bytes == &readOnlyWords[2] ? "did not announce" : refused.c_str()), std::string::npos)
        << error;
    EXPECT_EQ(Dump::of(*root), before);
  }
}

TEST_F(Input, IsNotAppliedWithinItself) {
  start();
  Ptr<Sa> const sa = adapter(7);
  sa->stateIs(Sa::applyingBit, true);
  EXPECT_EQ(messageOf<Kro::InternalException>(
                [&] { sa->handleAttrDeserialization(263, Kro::StreamAdapter::noOptions, 0, nullptr); }),
            "entity reactor is already active");
  EXPECT_TRUE(sa->is(Sa::applyingBit)) << "the outer call's bit stays";
  sa->stateIs(Sa::applyingBit, false);
  auto const a = observe<AclSpy>(mirrorAcl(), "A");
  a->act = [&] {
    a->act = nullptr;
    link->receive(M, message(11, 261, value(at(5)) + value(rule(5))));
    EXPECT_EQ(mirrorAcl()->ipRuleByIdSize(), 3U) << "received within a handler: kept for later";
  };
  link->receive(M, message(11, 261, value(at(4)) + value(rule(4))));
  EXPECT_EQ(mirrorAcl()->ipRuleByIdSize(), 4U);
}

// --- markers ---

TEST_F(Input, MarkersSweepWhatIsNotRepeated) {
  auto const begin = marker(11, 261, 0), abort = marker(11, 261, 1), end = marker(11, 261, 2);
  auto const set = [](std::uint32_t n, std::uint8_t ttl) { return message(11, 261, value(at(n)) + value(rule(ttl))); };
  std::string const gone = "5v/1.7.0:ip(2.0.0)";
  struct Case {
    char const* what;
    std::string bytes, more;
    std::string told, rules;
    std::function<void()> between = nullptr;
  } const cases[] = {
      {"all repeated, equal", begin + set(1, 1) + set(2, 2), end, "", "12"},
      {"one left out", begin + set(1, 1), end, gone, "1"},
      {"one added", begin + set(1, 1) + set(3, 3), end, "5v/1.7.0:ip(3.0.0) " + gone, "13"},
      {"aborted", begin + set(1, 1) + abort, end, "", "12"},
      {"end without begin", "", end, "", "12"},
      {"begun twice", begin + set(1, 1) + begin + set(2, 2), end, "5v/1.7.0:ip(1.0.0)", "2"},
      {"removed in between", begin + set(1, 1) + message(11, -261, value(at(2))), end, gone, "1"},
      {"end of another collection", begin, marker(11, 262, 2), "", "12"},
      // Nobody is told of a set that changes nothing, so it keeps nothing that the sender does not have.
      {"set here to what it is", begin + set(1, 1), end, gone, "1", [&] { mirrorAcl()->ipRuleByIdIs(at(2), rule(2)); }},
      {"changed here in between", begin + set(1, 1), end, gone, "12",
       [&] { mirrorAcl()->ipRuleByIdIs(at(2), rule(22)); }},
      {"written here before", "", begin + set(1, 1) + end, gone, "12",
       [&] { mirrorAcl()->ipRuleByIdIs(at(2), rule(22)); }}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    start();
    link->receive(M, c.bytes);
    if (c.between) {
      c.between();
    }
    link->receive(M, c.more);
    EXPECT_EQ(told(), c.told);
    std::string rules;
    for (auto const& record : mirrorAcl()->ipRuleByIdMap()) {
      rules += std::to_string(record.key().ruleId());
      EXPECT_FALSE(record.kroMarkedForDeletion());
    }
    EXPECT_EQ(rules, c.rules);
    EXPECT_EQ(saidM().find("-261"), std::string::npos) << "a sweep is not echoed";
    EXPECT_EQ(lastError(), "");
  }
}

TEST_F(Input, ObserversOfASweepDoAsTheyPlease) {
  struct Case {
    char const* what;
    std::function<void()> act;
    std::string rules, saidM;
  } const cases[] = {
      {"set again what goes", [&] { mirrorAcl()->ipRuleByIdIs(at(1), rule(9)); }, "1", "(11,261,T,0,0) 1.0.0 ttl=9"},
      {"change what is still to go", [&] { mirrorAcl()->ipRuleByIdIs(at(2), rule(7)); }, "2",
       "(11,261,T,0,0) 2.0.0 ttl=7"},
      {"remove what is still to go", [&] { mirrorAcl()->ipRuleByIdDel(at(2)); }, "", "(11,-261,T,0,0) 2.0.0"},
      {"add another", [&] { mirrorAcl()->ipRuleByIdIs(at(9), rule(9)); }, "9", "(11,261,T,0,0) 9.0.0 ttl=9"},
      {"remove the ACL", [&] { mirrorAcls()->aclDel(aclId(7)); }, "2", "(9,-258,T,0,0) 1.7.0"},
      {"end the connection", [&] { (*link)[M].close("enough"); }, "2", ""}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    start();
    Ptr<VornAcl> const swept = mirrorAcl();
    auto const a = observe<AclSpy>(swept, "A");
    a->act = [&] {
      a->act = nullptr;
      c.act();
    };
    link->receive(M, marker(11, 261, 0) + marker(11, 261, 2));
    std::string rules;
    for (auto const& record : swept->ipRuleByIdMap()) {
      rules += std::to_string(record.key().ruleId());
      EXPECT_FALSE(record.kroMarkedForDeletion());
    }
    EXPECT_EQ(rules, c.rules);
    EXPECT_EQ(withoutApplied(saidM()), c.saidM);
    EXPECT_EQ(mirror->auditErrors(9), 0U);
  }
}

TEST_F(Input, MarkersSweepMembersReferencesAndKeys) {
  start();
  link->receive(M, marker(3, 258, 0) + creation(3, 258, number(6, 4) + number(2, 2), 5) + marker(3, 258, 2));
  EXPECT_EQ(told(), "c:config(5)");
  link->receive(M, marker(3, 259, 0) + marker(3, 259, 2));
  EXPECT_EQ(told(), "c:failed(1)");
  EXPECT_EQ(saidM(), "");
  start();
  link->receive(M, marker(13, 258, 0) + marker(13, 258, 2) + marker(9, 258, 0) + marker(9, 258, 2));
  EXPECT_EQ(told(), "5p:key(ip:k) 5v:acl(ipv4PAcl:7:in)");
  EXPECT_EQ(saidM(), "");
  EXPECT_EQ(mirror->auditErrors(9), 0U);
}

// --- streams in pieces, cut off and damaged ---

class Streams : public TreeTest {
 protected:
  /// A small tree sent whole, then a change of each kind.
  Streams() {
    connect();
    move();
    std::function<void()> const changes[] = {
        [&] { acl->ipRuleByIdDel(at(1)); }, [&] { acl->macRuleByIdIs(at(1), macRule(1)); },
        [&] { acls->aclDel(aclId(7)); },    [&] { r5->vornAclCollIs("x"); },
        [&] { r5->aclKeyToAclIdDel(); },    [&] { root->chipRootConfigLastFailedIs(r5); },
        [&] { root->chipRootConfigDel(5); }};
    for (auto const& change : changes) {
      change();
      move();
    }
    stream = link->recorded[S];
  }
  struct End {
    Ptr<LogConnection> connection = LogConnection::create(LogConnection::Role::acceptor);
    Ptr<Kro::Entity> root;
    std::string error() const { return std::string(connection->lastError().view()); }
    bool lost() const { return connection->state() == LogConnection::State::lost; }
  };
  /// A fresh acceptor that was given these bytes, `piece` at a time.
  static End feed(std::string const& bytes, std::size_t piece = SIZE_MAX) {
    End end;
    end.connection->onRootIs([&](Ptr<Kro::Entity> const& entity) { end.root = entity; });
    for (std::size_t at = 0; at < bytes.size(); at += std::min(piece, bytes.size() - at)) {
      std::size_t const n = std::min(piece, bytes.size() - at);
      end.connection->receive({reinterpret_cast<std::uint8_t const*>(bytes.data()) + at, n});
    }
    end.connection->onRootIs(nullptr);
    EXPECT_EQ(end.root ? end.root->auditErrors(9) : 0U, 0U);
    EXPECT_EQ(end.lost(), !end.error().empty());
    return end;
  }
  /// Offsets of the messages.
  std::vector<std::size_t> messages() const {
    std::vector<std::size_t> all;
    for (std::size_t at = 16; at < stream.size(); at += 18 + lengthAt(at)) {
      all.push_back(at);
    }
    return all;
  }
  std::size_t lengthAt(std::size_t at) const {
    return Kro::loadBigEndian<std::uint32_t>(reinterpret_cast<std::uint8_t const*>(stream.data()) + at);
  }

  std::string stream;
};

TEST_F(Streams, InPiecesOfAnySizeGiveTheSameTree) {
  std::string const whole = Dump::of(*feed(stream).root);
  EXPECT_EQ(whole, Dump::of(*root));
  for (std::size_t const piece : {1U, 2U, 3U, 17U, 18U, 19U, 64U}) {
    EXPECT_EQ(Dump::of(*feed(stream, piece).root), whole) << piece;
  }
}

TEST_F(Streams, MayEndAnywhere) {
  std::string previous;
  std::size_t changes = 0;
  auto const starts = messages();
  for (std::size_t n = 0; n <= stream.size(); n++) {
    End const end = feed(stream.substr(0, n), 5);
    EXPECT_FALSE(end.lost()) << n << ": " << end.error();
    std::string const now = end.root ? Dump::of(*end.root) : "";
    if (now != previous) {
      changes++;
      EXPECT_TRUE(n == stream.size() || std::find(starts.begin(), starts.end(), n) != starts.end())
          << "a message takes effect with its last byte: " << n;
    }
    previous = now;
  }
  EXPECT_GE(changes, 13U);
}

TEST_F(Streams, WithOneBitFlippedLeaveAValidTree) {
  std::size_t refused = 0;
  for (std::size_t bit = 0; bit < 8 * stream.size(); bit++) {
    std::string bytes = stream;
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << bit % 8));
    End const end = feed(bytes);
    refused += end.lost() ? 1U : 0U;
    if (bit < 8 * 8) {
      EXPECT_TRUE(end.lost()) << "magic, version and role, bit " << bit;
    }
  }
  EXPECT_GT(refused, stream.size()) << "of " << 8 * stream.size();
}

TEST_F(Streams, WithAnyLengthLeaveAValidTree) {
  for (std::size_t const at : messages()) {
    for (std::uint64_t const length :
         {std::uint64_t{0}, lengthAt(at) - 1, lengthAt(at) + 1, std::uint64_t{255}, std::uint64_t{16} << 20,
          (std::uint64_t{16} << 20) + 1, std::uint64_t{0x7fffffff}, std::uint64_t{0x80000000},
          std::uint64_t{0xffffffff}}) {
      std::string const field = WireText::number(length, 4);
      std::string bytes = stream;
      End const end = feed(bytes.replace(at, 4, field));
      if ((length & 0xffffffff) > 16U << 20) {
        EXPECT_NE(end.error().find("the limit is 16777216"), std::string::npos) << at << ": " << end.error();
      }
    }
  }
}

}  // namespace
