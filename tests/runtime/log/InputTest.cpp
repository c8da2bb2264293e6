// What an end does with bytes: each message applied, and read from a given input; read-only ends, markers, unknown
// things; streams that are cut into pieces, end anywhere, or are damaged.
#include "tests/runtime/log/Harness.h"

namespace {

using namespace VornTest;

class Input : public LogTest {
 protected:
  void start() {
    LogTest::start();
    link->tree.judgesApplied = false;
  }
  /// What M writes to nobody.
  std::string saidM() {
    link->pull(M);
    return words(M);
  }
  std::string lastError() { return link->error(M); }
  /// The numbers of the ACL's rules; none of them is marked.
  static std::string rulesOf(VornAcl const& acl) {
    std::string rules;
    for (auto const& record : acl.ipRuleByIdMap()) {
      rules += std::to_string(record.key().ruleId());
      EXPECT_FALSE(record.kroMarkedForDeletion());
    }
    return rules;
  }
};

struct Word {
  char const* what;
  char const* message;
  std::string told;     ///< to the observers where it is applied
  std::string current;  ///< what M writes where it is only read
};
std::string const rule1 = "(11,261,T,0,0) 1.0.0 ttl=1", acl7 = "5v:acl(ipv4PAcl:7:in)";
Word const wordsOfAllKinds[] = {
    {"active", "(7,260,F,1,0) 1:1", "5:active", "(7,260,F,1,0) 0"},
    {"child kept", "(7,261,T,0,151) 'VornAclColl 8:9", "", ""},
    {"child", "(5,261,T,0,151) 'v 8:15", "6:aclColl", "(5,-261,F,0,0)"},
    {"child replaced", "(7,261,T,0,151) 'v 8:15", "5:aclColl " + acl7, ""},
    {"child of equal name made anew", "(7,261,T,0,151) 'VornAclColl 8:15", "5:aclColl " + acl7 + " 5:aclColl", ""},
    {"child removed", "(7,-261,F,0,0)", "5:aclColl " + acl7, ""},
    {"no child removed", "(5,-261,F,0,0)", "", "(5,-261,F,0,0)"},
    {"mapping", "(5,262,T,0,151) 'p 8:15", "6:mapping", "(5,-262,F,0,0)"},
    {"mapping removed", "(7,-262,F,0,0)", "5:mapping", ""},
    {"action", "(7,263,T,0,0) 4:1", "5:action", "(7,263,T,0,0) 0"},
    {"kick time", "(7,264,T,0,0) 4:1073217536 4:0", "5:time", "(7,264,T,0,0) 0"},
    {"kick", "(7,265,F,4,0) 4:4294967295", "5:kick", "(7,265,F,4,0) 0"},
    {"initialized", "(7,267,F,1,0) 1:0", "5:initialized", "(7,267,F,1,0) 1"},
    {"rule", "(11,261,T,0,0) @1 R99", "5v7:ip(1.0.0)", rule1},
    {"rule of an absent key", "(11,261,T,0,0) @4 R4", "5v7:ip(4.0.0)", "(11,-261,T,0,0) 4.0.0"},
    {"rule removed", "(11,-261,T,0,0) @1", "5v7:ip(1.0.0)", rule1},
    {"MAC rule", "(11,262,T,0,0) @4 X4", "5v7:mac(4.0.0)", "(11,-262,T,0,0) 4.0.0"},
    {"MAC rule removed", "(11,-262,T,0,0) @4", "", "(11,-262,T,0,0) 4.0.0"},
    {"configuration", "(3,258,T,0,151) 4:8 2:2 8:15", "c:config(8)", "(3,-258,T,0,0) 8"},
    {"configuration of other parameters", "(3,258,T,0,151) 4:6 2:9 8:15", "c:config(6) c:config(6)", ""},
    {"configuration removed", "(3,-258,T,0,0) 4:5", "c:config(5)", ""},
    {"reference", "(3,259,T,0,0) 8:5", "c:failed(2)", "(3,-259,T,0,0) 2"},
    {"reference that stands", "(3,259,T,0,0) 8:7", "", "(3,259,T,0,0) 7"},
    {"reference removed", "(3,-259,T,0,0) 2:1", "c:failed(1)", "(3,259,T,0,0) 7"},
    {"ACL", "(9,258,T,0,151) A8 4:1 'n 8:15", "5v:acl(ipv4PAcl:8:in)", "(9,-258,T,0,0) 1.8.0"},
    {"ACL made anew", "(9,258,T,0,151) A7 4:0 'acl-a 8:15", acl7 + " " + acl7, ""},
    {"ACL removed", "(9,-258,T,0,0) A7", acl7, ""},
    {"key", "(13,258,T,0,0) Kk A8", "5p:key(ip:k)", "(13,258,T,0,0) 0:k 1.7.0"},
    {"key removed", "(13,-258,T,0,0) Kk", "5p:key(ip:k)", "(13,258,T,0,0) 0:k 1.7.0"}};

static_assert(Kro::NboAttrLog::attributeOf(INT32_MIN) == INT32_MIN, "what cannot be negated is not");

TEST_F(Input, IsAppliedAndNotEchoed) {
  for (Word const& w : wordsOfAllKinds) {
    SCOPED_TRACE(w.what);
    start();
    link->inject(M, wire(w.message));
    EXPECT_EQ(journal.take(), w.told);
    EXPECT_EQ(lastError() + saidM(), "");
    EXPECT_EQ(link->tree.dump(), Dump::of(*mirror));
    expectValid();
  }
}

TEST_F(Input, IsAppliedOnlyWholeAndNotWhereItIsGiven) {
  for (Word const& w : wordsOfAllKinds) {
    std::string const bytes = wire(w.message);
    for (std::size_t n = 18; n <= bytes.size() + (bytes[17] == 0 ? 1 : 0); ++n) {
      SCOPED_TRACE(w.what + (", bytes: " + std::to_string(n)));
      start();
      std::string const before = Dump::of(*mirror);
      std::string other = (bytes + "x").substr(0, n);
      if (n != bytes.size()) {  // another length than the right one is refused
        other[3] = static_cast<char>(n - 18);
        link->receive(M, other);
        EXPECT_NE(lastError(), "");
      } else {  // given from elsewhere it is only read, and answered with what stands
        auto const header = Kro::NboAttrLog::WireHeader::get(bytesOf(bytes).data()).header;
        auto const in = Kro::adopt(new Kro::NboAttrLog::In(bytesOf(bytes).subspan(18)));
        in->resolverIs(&(*link)[M].demuxer());
        adapter(header.entityId.value)
            ->handleAttrDeserialization(header.attributeId, Kro::StreamAdapter::noOptions, 0, in);
        EXPECT_EQ(in->remaining(), 0U);
        EXPECT_EQ(saidM(), w.current);
      }
      EXPECT_EQ(Dump::of(*mirror), before);
      EXPECT_EQ(journal.take(), "");
    }
  }
}

TEST_F(Input, TakesUnknownEnumeratorsAndRefusesWhatElseIsUnknown) {
  std::string const begin = "received byte 955: entity ", r5 = begin + "rcc/chipRootConfig[5]";
  struct Case {
    char const* what;
    std::string messages, told, error;
    unsigned enumerators = 0, skipped = 0;
  } const cases[] = {
      {"action", "(7,263,T,0,0) 4:9", "5:action", "", 1},
      {"negative action", "(7,263,T,0,0) 4:4294967295", "5:action", "", 1},
      {"ACL type of a member", "(9,258,T,0,151) A8 4:9 'n 8:15", "5v:acl(ipv4PAcl:8:in)", "", 1},
      {"action of a rule", "(11,261,T,0,0) @1 R1 ~3=9", "",
       r5 + "/vornAclColl/acl[ipv4PAcl:7:in], attribute ipRuleById, byte 12 of the message: Action"},
      {"table type in a key", "(9,-258,T,0,0) A7 ~6=9", "",
       r5 + "/vornAclColl, attribute acl, byte 0 of the message: TableType"},
      {"bool", "(7,260,F,1,0) 1:2", "",
       r5 + ", attribute active, byte 0 of the message: expected a bool, 0 or 1, not 2"},
      {"attribute", "(7,999,T,0,0) #anything", "", "", 0, 1},
      {"removal of an attribute", "(7,-999,T,0,0) #anything", "", "", 0, 1},
      {"removal of a scalar", "(7,-260,T,0,0)", "", "", 0, 1},
      {"lowest attribute id", "(7,-2147483648,T,0,0)", "", "", 0, 1},
      {"child of an unknown attribute, and its child",
       "(7,999,T,0,151) 8:15; (15,258,T,0,151) #x 8:17; (17,1,T,0,0); (7,260,F,1,0) 1:1", "5:active", "", 0, 3},
      {"root of an unknown type", "(1,136,T,0,0) 'Vorn::Nothing #? 8:15; (15,261,T,0,0) #x; (7,260,F,1,0) 1:1",
       "5:active", "", 0, 2},
      {"id never given", "(15,260,T,0,0)", "", begin + "id 15, attribute 260: entity id 15 was never given"},
      {"id 0", "(0,260,T,0,0)", "", begin + "id 0, attribute 260: entity id 0 was never given"},
      {"id 1", "(1,260,T,0,0)", "", begin + "id 1, attribute 260: entity id 1 was never given"},
      {"new id of the reader's", "(7,262,T,0,151) 'p 8:2", "",
       r5 + ", attribute aclKeyToAclId, byte 13 of the message: entity id 2: expected a new id of the peer, above 13"},
      {"old id", "(5,262,T,0,151) 'p 8:13", "",
       begin + "rcc/chipRootConfig[6], attribute aclKeyToAclId, byte 13 of the message: entity id 13: expected a new "
               "id of the peer, above 13"},
      {"last id", "(5,262,T,0,151) 'p 8:18446744073709551615", "",
       begin +
           "rcc/chipRootConfig[6], attribute aclKeyToAclId, byte 13 of the message: entity id 18446744073709551615: "
           "expected a new id of the peer, above 13 and not the last one"},
      {"known id, other parameters", "(9,258,T,0,151) A7 4:0 'b 8:11", "",
       r5 + "/vornAclColl, attribute acl, byte 26 of the message: Reinstantiating the entity with name '' where "
            "constructor parameter attribute _cliName has a different value of 'b' than the current value of 'acl-a' "
            "not allowed"},
      {"reference of another type", "(3,259,T,0,0) 8:11", "",
       begin + "rcc, attribute chipRootConfigLastFailed, byte 8 of the message: Entity is the wrong type"},
      {"reference to nothing", "(3,259,T,0,0) 8:0", "", ""},
      {"too much applied", "applied 8:1", "",
       begin + "id 0, attribute 0: the peer applied 1 messages, expected 0 to 0"},
      {"applied, with more behind it", "applied 8:0 1:9", "",
       begin + "id 0, attribute 0: bytes left over at the end of the message"},
      {"marker of no kind", "B(11,-2147483648) ~1=3", "",
       r5 + "/vornAclColl/acl[ipv4PAcl:7:in], attribute -2147483648, byte 1 of the message: expected a transaction "
            "marker: one byte, 0 to 2"},
      {"transfers without end",
       "B(11,261); B(11,261); B(11,261); B(11,261); B(11,261); B(11,261); B(11,261); B(11,261); "
       "A(11,261); B(11,261)",
       "",
       "received byte 1126" + r5.substr(begin.find(':')) +
           "/vornAclColl/acl[ipv4PAcl:7:in], attribute ipRuleById, byte "
           "1 of the message: ipRuleById: a transfer begins after 8 others that have no end"},
      {"the root once more", "(1,136,T,0,0) 'Vorn::RootConfigColl 'rcc 8:3; (7,260,F,1,0) 1:1", "5:active", ""},
      {"another root under its id", "(1,136,T,0,0) 'Vorn::RootConfigColl 'other 8:3", "",
       begin + "id 1, attribute 136: entity id 3: expected a new id of the peer, above 13"},
      {"a root, with more behind it", "(1,136,T,0,0) 'Vorn::VornAclColl 'v 8:15 8:17", "",
       begin + "id 1, attribute 136: bytes left over at the end of a root creation"},
      // Lists of attributes stand for the first child among them.
      {"list: creation", "(5,144,T,0,0) 2:12 2:5 4:263 4:261 4:262 4:7 'v 8:15", "6:aclColl", ""},
      {"list: creation with more behind it", "(5,144,T,0,0) 2:4 2:8 4:262 4:7 'v 1:9 1:9 1:9 8:15", "6:mapping", ""},
      {"list: creation through -144", "(5,-144,T,0,0) 2:4 2:0 4:261 4:7 'v 8:15", "6:aclColl", ""},
      {"list: removal", "(7,144,T,0,0) 2:8 2:0 4:-261 4:262", "5:aclColl " + acl7, ""},
      {"list: member removed", "(3,-144,T,0,0) 2:4 2:4 4:-258 4:6", "c:config(6)", ""},
      {"list: references are no children", "(3,144,T,0,0) 2:8 2:4 4:259 4:-258 4:6", "c:config(6)", ""},
      {"list: no child", "(7,144,T,0,0) 2:8 2:0 4:263 4:264 4:7", "", "", 0, 1},
      {"list: no child, through -144", "(7,-144,T,0,0) 2:8 2:0 4:263 4:264", "", "", 0, 1},
      {"list: a type without children", "(11,144,T,0,0) 1:9", "", "", 0, 1}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    start();
    std::string const before = Dump::of(*mirror);
    link->receive(M, wire(c.messages));
    EXPECT_EQ(journal.take(), c.told);
    EXPECT_EQ(lastError(), c.error);
    EXPECT_EQ((*link)[M].stats().unknownEnumerators, c.enumerators);
    EXPECT_EQ((*link)[M].stats().skippedMessages, c.skipped);
    EXPECT_EQ(Dump::of(*mirror) == before, c.told.empty());
    expectValid();
  }
}

TEST_F(Input, SyncModeIsTakenForItsConnection) {
  for (auto const& [begin, end] : {std::pair("B(11,261)", "E(11,261)"), {"(11,135,T,0,0) 4:2", "(11,135,T,0,0) 4:1"}}) {
    SCOPED_TRACE(begin);
    start();
    link->inject(M, wire(begin));
    EXPECT_EQ(adapter(9)->syncMode(), Kro::StreamAdapter::syncModeOff);
    EXPECT_EQ(adapter(11)->syncMode(),
              begin[0] == 'B' ? Kro::StreamAdapter::syncModeOff : Kro::StreamAdapter::syncModeWhole);
    watch->rethrows = true;
    run("{5v7 throw }");
    std::string const bytes = wire(std::string(end) + "; (11,261,T,0,0) @1 R1");
    link->inject(M, bytes.substr(0, 5));
    EXPECT_THROW(link->inject(M, bytes.substr(5)), std::runtime_error);
    EXPECT_EQ(rulesOf(*acl()), "") << "what an observer throws ends no sweep";
    link->receive(M, "");
    EXPECT_EQ(rulesOf(*acl()), "1") << "and loses nothing that stands behind";
    run("M r9=9");
    EXPECT_EQ(saidM(), "(11,261,T,0,0) 9.0.0 ttl=9") << "and silences nobody";
    EXPECT_EQ(link->tree.ends[M].applied, link->tree.ends[S].messages) << "and counts";
  }
  link->receive(M, wire("(11,135,T,0,0) 4:3"));
  EXPECT_NE(lastError().find("SyncMode"), std::string::npos) << lastError();
}

TEST_F(Input, IsHeldAgainstWhatTheReaderSaid) {
  for (auto const& [script, messages, error] : std::initializer_list<std::array<char const*, 3>>{
           {"M a8=2m", "B(2,261)", "did not announce"},
           {"M r1=3 r2=4 kick=1", "applied 8:1; applied 8:3; applied 8:3", ""},
           {"M r1=3 r2=4 kick=1", "applied 8:2; applied 8:1", "the peer applied 1 messages, expected 2 to 3"},
           {"M r1=3 r2=4 kick=1", "applied 8:2; applied 8:4", "the peer applied 4 messages, expected 2 to 3"},
           {"M offer", "(1,136,T,0,0) 'Vorn::RootConfigColl 'rcc 8:15", "a root is attached twice: rcc"}}) {
    SCOPED_TRACE(messages);
    start();
    run(script);
    link->receive(M, wire(messages));
    EXPECT_TRUE(*error != 0 ? lastError().find(error) != std::string::npos : lastError().empty()) << lastError();
    expectValid();
  }
}

TEST_F(Input, IsAnsweredOnceInAThousandMessages) {
  start();
  while (link->recorded(M).find("applied") == std::string::npos && link->tree.ends[S].messages < 2000) {
    run("kick+1 move");
  }
  EXPECT_EQ(link->tree.ends[M].applied, 1024U);
  EXPECT_EQ(link->tree.ends[S].messages, 1024U);
}

TEST_F(Input, RootsTakeAnOfferOnceAndALostConnectionTakesAll) {
  start();
  std::vector<Ptr<Entity>> arrived;
  (*link)[M].onRootIs([&](Ptr<Entity> const& entity) { arrived.push_back(entity); });
  auto const offered = Vorn::vornAclCollFactory("v");
  std::uint32_t const held = offered->countWord();
  (*link)[M].rootOffer(offered);
  (*link)[M].rootOffer(offered);
  link->receive(M, wire("(1,136,T,0,0) 'Vorn::VornAclColl 'v 8:15; (1,136,T,0,0) 'Vorn::VornAclColl 'v 8:17"));
  ASSERT_EQ(arrived.size(), 2U);
  EXPECT_TRUE(arrived[0] == offered && arrived[1] != offered);
  (*link)[M].rootOffer(offered);
  arrived.clear();
  run("M close");
  EXPECT_EQ(offered->countWord(), held);
}

TEST_F(Input, ReadOnlyEndsRefuse) {
  for (auto const& [bytes, refusal] : std::initializer_list<std::pair<char const*, std::string>>{
           {"(7,263,T,0,0) 4:1", "write-update from readonly proxy: rcc/chipRootConfig[5] peerName: mirror-1"},
           {"(7,-261,F,0,0)", "write-update from readonly proxy: rcc/chipRootConfig[5] peerName: mirror-1"},
           {"B(7,261)", "did not announce"}}) {
    start();
    link = std::make_unique<Link>();
    (*link)[S].peerNameIs("mirror-1");
    (*link)[M].rootOffer(mirror);
    (*link)[M].arrivingAccessIs(LogConnection::Access::readOnly);
    (*link)[S].rootIs(root, LogConnection::Access::readOnly);
    link->move();
    forget();
    for (auto const& [change, place] :
         {std::pair("r1=9", "ipRuleById of read-only proxy rcc/chipRootConfig[5]/vornAclColl/acl[ipv4PAcl:7:in]"),
          std::pair("action=1", "action of read-only proxy rcc/chipRootConfig[5]"),
          std::pair("c8=1", "chipRootConfig of read-only proxy rcc"),
          std::pair("-p", "aclKeyToAclId of read-only proxy rcc/chipRootConfig[5]")}) {
      EXPECT_EQ(messageOf<Kro::ReadOnlyException>([&, script = change] { run(script, M); }),
                std::string("attribute ") + place + " changed");
    }
    EXPECT_EQ(mirror->chipRootConfigSize(), 3U) << "what was changed stands here";
    auto const sa = Kro::ptrCast<RootConfigColl::KroNboAttrLogSa>(adapter(3));
    EXPECT_THROW(sa->chipRootConfigNboAttrLogAdapterIs(0, *mirror->chipRootConfig(8)), Kro::ReadOnlyException);
    EXPECT_EQ(journal.take(), "") << "and nobody was told";
    run("kick=4 move");
    EXPECT_EQ(link->lines(M), "");
    EXPECT_EQ(mirror->chipRootConfig(5)->vornRootKick(), 4U) << "what the owner writes arrives";
    std::string const before = Dump::of(*root);
    EXPECT_THROW((*link)[S].demuxer().reactor({7})->handleAttrDeserialization(263, Sa::noOptions, 0, nullptr),
                 Kro::AttrLogEntityException)
        << "what a peer can cause is no internal error";
    link->receive(S, wire(bytes));
    EXPECT_NE(link->error(S).find(refusal), std::string::npos) << link->error(S);
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
  auto const a = observe<AclSpy>(acl(), "A");
  a->act = [&] {
    a->act = nullptr;
    link->receive(M, wire("(11,261,T,0,0) @5 R5"));
    EXPECT_EQ(rulesOf(*acl()), "124") << "received within a handler: kept for later";
  };
  link->receive(M, wire("(11,261,T,0,0) @4 R4"));
  EXPECT_EQ(rulesOf(*acl()), "1245");
}

TEST_F(Input, MarkersSweepWhatIsNotRepeated) {
  std::string const set1 = "(11,261,T,0,0) @1 R1; ", set2 = "(11,261,T,0,0) @2 R2; ", begin = "B(11,261); ",
                    end = "E(11,261)", gone = "5v7:ip(2.0.0)", often = begin + begin + begin,
                    whole = "(11,135,T,0,0) 4:2; ", on = "(11,135,T,0,0) 4:1; ";
  struct Case {
    char const* what;
    std::string messages, script, more;  ///< received, done by M or when its observers are told, received
    std::string told, rules, saidM = {};
  } const cases[] = {
      {"all repeated, equal", begin + set1 + set2, "", end, "", "12"},
      {"one left out", begin + set1, "", end, gone, "1"},
      {"one added", begin + set1 + "(11,261,T,0,0) @3 R3", "", end, "5v7:ip(3.0.0) " + gone, "13"},
      {"aborted", begin + set1 + "A(11,261)", "", end, "", "12"},
      {"end without begin", "", "", end, "", "12"},
      {"begun twice", begin + set1 + begin + set2, "", end, "5v7:ip(1.0.0)", "2"},
      {"begun often",
       often + often + set2 + "A(11,261); B(11,262); E(11,262); " + begin + set2 + end + "; " + often + often, "",
       set2 + end, "5v7:ip(1.0.0)", "2"},
      {"removed in between", begin + set1 + "(11,-261,T,0,0) @2", "", end, gone, "1"},
      {"end of another collection", begin, "", "E(11,262)", "", "12"},
      // Nobody is told of a set that changes nothing, so it keeps nothing that the sender does not have.
      {"set here to what it is", begin + set1, "r2=2", end, gone, "1"},
      {"changed here in between", begin + set1, "r2=22", end, gone, "12", "(11,261,T,0,0) 2.0.0 ttl=22"},
      {"written here before", "", "r2=22", begin + set1 + end, gone, "12", "(11,261,T,0,0) 2.0.0 ttl=22"},
      {"told here in between", begin + set1, "!r2", end, gone, "12", "(11,261,T,0,0) 2.0.0 ttl=2"},
      {"another begun in between", begin + set1 + "B(11,262); E(11,262)", "", end, "", "12"},
      {"members", "B(3,258); (3,258,T,0,151) 4:6 2:2 8:5; E(3,258)", "", "", "c:config(5)", "12"},
      {"references", "B(3,259)", "", "E(3,259)", "c:failed(1)", "12"},
      {"keys and ACLs", "B(13,258); E(13,258)", "", "B(9,258); E(9,258)", "5p:key(ip:k) " + acl7, "12"},
      // The sync mode begins and ends a transfer of the whole entity, but for a collection that has a transfer open.
      {"mode: one left out", whole + set1, "", on, gone, "1"},
      {"mode: not begun", "", "", on, "", "12"},
      {"mode: ends within a transfer", begin + set1, "", on + set2 + end, "", "12"},
      {"mode: within a transfer", begin + set1 + whole, "", set2 + end + "; " + on, "", "12"},
      {"mode: a transfer within it", whole + begin, "", set1 + on + end, gone, "1"},
      {"mode: after a transfer", begin + set1 + set2 + end + "; " + whole + set1, "", on, gone, "1"},
      {"mode: what goes is set again", whole, "{5v7 r1=9 }", on, "5v7:ip(1.0.0) 5v7:ip(1.0.0) " + gone, "1",
       "(11,261,T,0,0) 1.0.0 ttl=9"},
      // Observers of a sweep do as they please.
      {"set again what goes", "", "{5v7 r1=9 }", begin + end, "5v7:ip(1.0.0) 5v7:ip(1.0.0) " + gone, "1",
       "(11,261,T,0,0) 1.0.0 ttl=9"},
      {"change what is still to go", "", "{5v7 r2=7 }", begin + end, "5v7:ip(1.0.0) " + gone, "2",
       "(11,261,T,0,0) 2.0.0 ttl=7"},
      {"remove what is still to go", "", "{5v7 -r2 }", begin + end, "5v7:ip(1.0.0) " + gone, "",
       "(11,-261,T,0,0) 2.0.0"},
      {"add another", "", "{5v7 r9=9 }", begin + end, "5v7:ip(1.0.0) 5v7:ip(9.0.0) " + gone, "9",
       "(11,261,T,0,0) 9.0.0 ttl=9"},
      {"remove the ACL", "", "{5v7 -a7 }", begin + end, "5v7:ip(1.0.0) " + acl7, "2", "(9,-258,T,0,0) 1.7.0"},
      {"end the connection", "", "{5v7 close }", begin + end, "5v7:ip(1.0.0)", "2"}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    start();
    Ptr<VornAcl> const swept = acl();
    link->receive(M, wire(c.messages));
    run(c.script, M);
    link->receive(M, wire(c.more));
    EXPECT_EQ(journal.take(), c.told);
    EXPECT_EQ(rulesOf(*swept), c.rules);
    EXPECT_EQ(saidM(), c.saidM) << "a sweep is not echoed";
    EXPECT_EQ(lastError(), c.script.find("close") != std::string::npos ? "enough" : "");
    expectValid();
  }
}

// --- streams in pieces, cut off and damaged ---

class Streams : public LogTest {
 protected:
  /// A small tree sent whole, then a change of each kind.
  Streams() {
    start("c5=1 initialize a7=0acl-a r1=1 r2=2 k:k=7");
    run("-r1 move m1=1 move -a7 move v=x move -p move f5 move -c5 move");
    stream = link->stream[S];
    for (std::size_t at = 16; at < stream.size(); at += 18 + lengthAt(at)) {
      messages.push_back(at);
    }
    messages.push_back(stream.size());
  }
  std::size_t lengthAt(std::size_t at) const {
    return Kro::loadBigEndian<std::uint32_t>(reinterpret_cast<std::uint8_t const*>(stream.data()) + at);
  }
  std::string message(std::size_t n) const { return stream.substr(messages[n], messages[n + 1] - messages[n]); }
  /// What a fresh acceptor makes of these bytes, given so many at a time; the tree is valid.
  std::string feed(std::string const& bytes, std::size_t piece = SIZE_MAX) {
    Ptr<LogConnection> const end = LogConnection::create(LogConnection::Role::acceptor);
    Ptr<Entity> arrived;
    end->onRootIs([&](Ptr<Entity> const& entity) { arrived = entity; });
    for (std::size_t from = 0; from < bytes.size(); from += std::min(piece, bytes.size() - from)) {
      std::string const part = bytes.substr(from, piece);
      end->receive(bytesOf(part));
    }
    EXPECT_EQ(arrived ? arrived->auditErrors(9) : 0U, 0U);
    error = std::string(end->lastError().view());
    EXPECT_EQ(end->state() == LogConnection::State::lost, !error.empty());
    std::string dump = arrived ? Dump::of(*arrived) : "";
    if (++fed % 50 == 0 && arrived && arrived->fullName() == root->fullName()) {  // a new connection heals it
      Link again;
      again[M].rootOffer(arrived);
      again[S].rootIs(root);
      again.move();
      EXPECT_EQ(Dump::of(*arrived, {arrived}), Dump::of(*root, {root}));
    }
    return dump;
  }

  std::string stream, error;
  unsigned fed = 0;
  std::vector<std::size_t> messages;  ///< where they begin, and the end
};

TEST_F(Streams, InPiecesOfAnySizeGiveTheSameTree) {
  for (int const piece : {1, 2, 17, 18, 19, 64, 10000}) {
    EXPECT_EQ(feed(stream, static_cast<std::size_t>(piece)), Dump::of(*root)) << piece;
  }
}

TEST_F(Streams, MayEndAnywhere) {
  std::string previous;
  int changes = 0;
  for (std::size_t n = 0; n <= stream.size(); ++n) {
    std::string const now = feed(stream.substr(0, n), 5);
    EXPECT_EQ(error, "");
    if (now != previous) {
      ++changes;
      EXPECT_TRUE(std::count(messages.begin(), messages.end(), n) == 1) << "not with the last byte of a message: " << n;
    }
    previous = now;
  }
  EXPECT_GE(changes, 13);
}

TEST_F(Streams, WithOneByteAlteredLeaveAValidTree) {
  std::size_t refused = 0;
  for (std::size_t at = 0; at < stream.size(); ++at) {
    for (std::size_t way = 0; way < 13; ++way) {  // one bit flipped, or another value
      std::string bytes = stream;
      bytes[at] = way < 8 ? static_cast<char>(bytes[at] ^ 1 << way) : "\x00\x01\x7f\x80\xff"[way - 8];
      feed(bytes);
      refused += error.empty() ? 0U : 1U;
      EXPECT_TRUE(at >= 8 || bytes == stream || !error.empty()) << "magic, version and role, byte " << at;
    }
  }
  EXPECT_GT(refused, stream.size());
}

TEST_F(Streams, WithMessagesOfOtherLengthsOrElsewhereLeaveAValidTree) {
  std::size_t const count = messages.size() - 1;
  std::size_t refused = 0;
  for (std::size_t n = 0; n < count; ++n) {
    std::string const before = stream.substr(0, messages[n]), behind = stream.substr(messages[n + 1]);
    for (char const* const length : {"0", "1", "30", "255", "16777216", "16777217", "2147483648", "4294967295"}) {
      feed(before + wire(std::string("applied 4:") + length).substr(18) + message(n).substr(4) + behind);
      EXPECT_TRUE(std::stoull(length) <= 16777216 || error.find("the limit is 16777216") != std::string::npos);
    }
    for (std::size_t other = 0; other < count; ++other) {
      feed(before + message(other) + behind);               // in its place
      feed(before + message(other) + message(n) + behind);  // before it
      refused += error.empty() ? 0U : 1U;
      feed(before + message(n).substr(0, 18 + lengthAt(messages[n]) / 2) + message(other) + behind);  // half of it
    }
  }
  EXPECT_GT(refused, count);
}

}  // namespace
