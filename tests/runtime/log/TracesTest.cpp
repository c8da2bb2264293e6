// What two ends say to each other: the messages of each kind of change, written at once and after waiting; how changes
// that wait merge; situations that go wrong where a rule is missing. One driver, a row each.
#include "tests/runtime/log/Harness.h"

namespace {

using namespace VornTest;

struct Row {
  char const* what;
  std::string before;  ///< done and forgotten
  std::string script;
  std::string said, told;  ///< by S, and to the observers at M
  std::string saidM = {};  ///< without what it has applied
};

class Traces : public LogTest {
 protected:
  /// The script stands for "%" in `way`.
  void check(Row const& row, std::string way = "%") {
    SCOPED_TRACE(row.what + (", " + way));
    start();
    run(row.before);
    forget();
    bool const waited = way.find("block") != std::string::npos && !row.said.empty();
    run(way.replace(way.find('%'), 1, row.script));
    link->move();
    EXPECT_EQ(words(S), row.said);
    EXPECT_TRUE(!waited || link->recorded(S).find("; complete", link->recorded(S).size() - 10) != std::string::npos);
    EXPECT_EQ(words(M), row.saidM);
    EXPECT_EQ(journal.take(), row.told);
    expectEqual();
    bool const conflicts = (row.script + row.before).find_first_of("{M") != std::string::npos;
    EXPECT_EQ(conflicts ? "" : link->tree.dump(), conflicts ? "" : Dump::of(*root, {root}));
    EXPECT_EQ(handlers.size(), 0U) << "a handler that was not called";
  }
};

std::string const bareAcl = "B(15,261); E(15,261); B(15,262); E(15,262)";
std::string const acl7 = "5v:acl(ipv4PAcl:7:in)", acl8 = "5v:acl(ipv4PAcl:8:in)", ip1 = "5v7:ip(1.0.0)";
/// What is said of a configuration that has nothing.
std::string bare(int id) {
  std::string const at = "(" + std::to_string(id) + ",";
  return at + "260,F,1,0) 0; " + at + "-261,F,0,0); " + at + "-262,F,0,0); " + at + "263,T,0,0) 0; " + at +
         "264,T,0,0) 0; " + at + "265,F,4,0) 0; " + at + "267,F,1,0) 0";
}
std::string const rest =
    "(7,262,T,0,151) \"AclKeyToAclId\" 13; B(13,258); (13,258,T,0,0) 0:k 1.7.0; E(13,258); (7,263,T,0,0) 0; "
    "(7,264,T,0,0) 0; (7,265,F,4,0) 0; (7,267,F,1,0) 1; B(3,259); (3,259,T,0,0) 7; E(3,259)";
// A child that goes tells its observers of its members.
std::string const gone = "5:aclColl " + acl7;

TEST_F(Traces, MessagesOfEachKindOfChange) {
  Row const rows[] = {
      {"active", "", "active=1", "(7,260,F,1,0) 1", "5:active"},
      {"initialized", "", "initialized=0", "(7,267,F,1,0) 0", "5:initialized"},
      {"action", "", "action=2", "(7,263,T,0,0) 2", "5:action"},
      {"kick time", "", "time=-0.25", "(7,264,T,0,0) -0.25", "5:time"},
      {"kick", "", "kick+3", "(7,265,F,4,0) 3", "5:kick"},
      {"rule set", "", "r9.8.7=9", "(11,261,T,0,0) 9.8.7 ttl=9", "5v7:ip(9.8.7)"},
      {"rule changed", "", "r1=9", "(11,261,T,0,0) 1.0.0 ttl=9", ip1},
      {"rule of equal value", "", "r1=1", "", ""},
      {"rule removed", "", "-r1", "(11,-261,T,0,0) 1.0.0", ip1},
      {"absent rule removed", "", "-r3", "", ""},
      {"all rules removed", "", "-r*", "(11,-261,T,0,0) 1.0.0; (11,-261,T,0,0) 2.0.0", ip1 + " 5v7:ip(2.0.0)"},
      {"MAC rule", "", "m1=2048", "(11,262,T,0,0) 1.0.0 proto=2048", "5v7:mac(1.0.0)"},
      {"MAC rule removed", "m1=1 move", "-m1", "(11,-262,T,0,0) 1.0.0", "5v7:mac(1.0.0)"},
      {"key", "", "k:n=8", "(13,258,T,0,0) 0:n 1.8.0", "5p:key(ip:n)"},
      {"key removed", "", "-k:k", "(13,-258,T,0,0) 0:k", "5p:key(ip:k)"},
      {"ACL", "", "a8=2n", "(9,258,T,0,151) 1.8.0 2 \"n\" 15; " + bareAcl, acl8},
      {"ACL removed", "", "-a7", "(9,-258,T,0,0) 1.7.0", acl7},
      {"all ACLs removed", "", "-a*", "(9,-258,T,0,0) 1.7.0", acl7},
      {"child", "", "6/v=v", "(5,261,T,0,151) \"v\" 15; B(15,258); E(15,258)", "6:aclColl"},
      {"other child", "", "6/p=p", "(5,262,T,0,151) \"p\" 15; B(15,258); E(15,258)", "6:mapping"},
      {"child replaced", "", "v=v", "(7,261,T,0,151) \"v\" 15; B(15,258); E(15,258)", gone},
      {"child removed", "", "-v", "(7,-261,F,0,0)", gone},
      {"other child removed", "", "-p", "(7,-262,F,0,0)", "5:mapping"},
      {"configuration", "", "c8=2", "(3,258,T,0,151) 8 2 15; " + bare(15), "c:config(8)"},
      {"configuration removed", "", "-c6", "(3,-258,T,0,0) 6", "c:config(6)"},
      {"reference", "", "f6", "(3,259,T,0,0) 5", "c:failed(2)"},
      {"reference removed", "", "-f1", "(3,-259,T,0,0) 1", "c:failed(1)"}};
  for (Row const& row : rows) {
    for (char const* const way : {"%", "deferred %", "block % free", "deferred block % free"}) {
      check(row, way);
    }
  }
}

TEST_F(Traces, MergeWhileChangesWait) {
  std::string const child15 = "(5,261,T,0,151) \"x\" 15; B(15,258); E(15,258)", two = " ";
  Row const rows[] = {
      {"kick time, by way of 1 to another zero", "", "time=1 time=-0", "(7,264,T,0,0) -0", "5:time"},
      {"value added, changed", "", "r3=3 r3=4", "(11,261,T,0,0) 3.0.0 ttl=4", "5v7:ip(3.0.0)"},
      {"value added, removed", "", "r3=3 -r3", "(11,-261,T,0,0) 3.0.0", ""},
      {"value changed, changed", "", "r1=3 r1=4", "(11,261,T,0,0) 1.0.0 ttl=4", ip1},
      {"value changed, changed back", "", "r1=3 r1=1", "(11,261,T,0,0) 1.0.0 ttl=1", ""},
      {"value changed, removed", "", "r1=3 -r1", "(11,-261,T,0,0) 1.0.0", ip1},
      {"value removed, added", "", "-r1 r1=4", "(11,261,T,0,0) 1.0.0 ttl=4", ip1},
      {"value removed, added as it was", "", "-r1 r1=1", "(11,261,T,0,0) 1.0.0 ttl=1", ""},
      {"member added, changed inside", "", "a8=0a 5v8/r3=3",
       "(9,258,T,0,151) 1.8.0 0 \"a\" 15; B(15,261); (15,261,T,0,0) 3.0.0 ttl=3; E(15,261); B(15,262); E(15,262)",
       acl8 + " 5v8:ip(3.0.0)"},
      {"member added, removed", "", "a8=0a -a8", "(9,-258,T,0,0) 1.8.0", ""},
      {"member added, removed, added", "", "a8=0a -a8 a8=0b",
       "(9,-258,T,0,0) 1.8.0; (9,258,T,0,151) 1.8.0 0 \"b\" 15; " + bareAcl, acl8},
      {"member changed inside twice", "", "r3=3 m1=1", "(11,261,T,0,0) 3.0.0 ttl=3; (11,262,T,0,0) 1.0.0 proto=1",
       "5v7:ip(3.0.0) 5v7:mac(1.0.0)"},
      {"member changed inside, removed", "", "r3=3 -a7", "(9,-258,T,0,0) 1.7.0", acl7},
      {"member removed, changed by who holds it, added", "", "-a7 old/r8=8 a7=0acl-a r3=3",
       "(9,-258,T,0,0) 1.7.0; (9,258,T,0,151) 1.7.0 0 \"acl-a\" 15; B(15,261); (15,261,T,0,0) 3.0.0 ttl=3; "
       "E(15,261); B(15,262); E(15,262)",
       acl7 + " " + acl7 + " 5v7:ip(3.0.0)"},
      {"member removed, added with other parameters", "", "-a7 a7=2b",
       "(9,-258,T,0,0) 1.7.0; (9,258,T,0,151) 1.7.0 2 \"b\" 15; " + bareAcl, acl7 + " " + acl7},
      {"member removed, added, removed", "", "-a7 a7=0x -a7", "(9,-258,T,0,0) 1.7.0", acl7},
      {"child added, replaced", "", "6/v=y 6/v=x", child15, "6:aclColl"},
      {"child added, removed", "", "6/v=x 6/-v", "(5,-261,F,0,0)", ""},
      {"child replaced twice", "", "v=x v=y", "(7,261,T,0,151) \"y\" 15; B(15,258); E(15,258)", gone},
      {"child replaced, the old one changed", "", "v=x old/r3=3", "(7,261,T,0,151) \"x\" 15; B(15,258); E(15,258)",
       gone},
      {"child replaced, removed", "", "v=x -v", "(7,-261,F,0,0)", gone},
      {"child removed, added", "", "-v v=VornAclColl",
       "(7,-261,F,0,0); (7,261,T,0,151) \"VornAclColl\" 15; B(15,258); E(15,258)", gone + " 5:aclColl"},
      {"reference set, changed", "-f1 c8=1 move", "f5 f8", "(3,259,T,0,0) 15", "c:failed(1)"},
      {"reference set, removed", "-f1 move", "f5 -f1", "(3,-259,T,0,0) 1", ""},
      {"reference changed twice", "c8=1 c9=1 move", "f8 f9", "(3,259,T,0,0) 17", "c:failed(1)"},
      {"reference changed, to what is not announced", "c8=1 move", "f8 stranger1", "(3,-259,T,0,0) 1", "c:failed(1)"},
      {"reference changed, removed", "c8=1 move", "f8 -f1", "(3,-259,T,0,0) 1", "c:failed(1)"},
      {"reference removed, set", "", "-f1 f5", "(3,259,T,0,0) 7", ""},
      {"older below, then above", "", "kick+1 r3=3 kick+1", "(11,261,T,0,0) 3.0.0 ttl=3; (7,265,F,4,0) 2",
       "5v7:ip(3.0.0) 5:kick"},
      {"newer below", "", "kick+1 r3=3", "(7,265,F,4,0) 1; (11,261,T,0,0) 3.0.0 ttl=3", "5:kick 5v7:ip(3.0.0)"},
      {"what goes takes its place", "", "r3=3 kick+1 -a7", "(9,-258,T,0,0) 1.7.0; (7,265,F,4,0) 1", acl7 + " 5:kick"},
      {"reference to what is not sent yet", "", "c8=2 f8", "(3,258,T,0,151) 8 2 15; " + bare(15) + "; (3,259,T,0,0) 15",
       "c:config(8) c:failed(2)"}};
  for (Row const& row : rows) {
    for (char const* const way :
         {"block % free", "deferred block % free", "mute % move unmute", "detach % move attach"}) {
      check(row, way);
    }
  }
}

TEST_F(Traces, SituationsBetweenTwoEnds) {
  Row const rows[] = {
      // A tree sent whole, depth first.
      {"whole", "cut drop action=1 kick=2 connect", "",
       "(1,136,T,0,0) \"Vorn::RootConfigColl\" \"rcc\" 3; B(3,258); (3,258,T,0,151) 6 2 5; " + bare(5) +
           "; (3,258,T,0,151) 5 1 7; E(3,258); (7,260,F,1,0) 0; (7,261,T,0,151) \"VornAclColl\" 9; B(9,258); "
           "(9,258,T,0,151) 1.7.0 0 \"acl-a\" 11; E(9,258); B(11,261); (11,261,T,0,0) 1.0.0 ttl=1; (11,261,T,0,0) "
           "2.0.0 ttl=2; E(11,261); B(11,262); E(11,262); (7,262,T,0,151) \"AclKeyToAclId\" 13; B(13,258); "
           "(13,258,T,0,0) 0:k 1.7.0; E(13,258); (7,263,T,0,0) 1; (7,264,T,0,0) 0; (7,265,F,4,0) 2; (7,267,F,1,0) 1; "
           "B(3,259); (3,259,T,0,0) 7; E(3,259)",
       "c:config(6) c:config(5) " + gone + " " + ip1 +
           " 5v7:ip(2.0.0) 5:mapping 5p:key(ip:k) 5:action 5:kick 5:initialized c:failed(1)"},
      // The buffer fills inside a rule map; then changes before the place, behind it, and the place itself.
      {"fresh mirror", "cut drop r3=3 r4=4 r5=5 connect until=2.0.0", "r1=11 r4=14 -r2 -r5 -r3 r0=10 r6=6",
       "(11,261,T,0,0) 4.0.0 ttl=14; (11,261,T,0,0) 6.0.0 ttl=6; E(11,261); (11,261,T,0,0) 0.0.0 ttl=10; "
       "(11,261,T,0,0) 1.0.0 ttl=11; (11,-261,T,0,0) 2.0.0; (11,-261,T,0,0) 3.0.0; (11,-261,T,0,0) 5.0.0; B(11,262); "
       "E(11,262); " +
           rest,
       "5v7:ip(4.0.0) 5v7:ip(6.0.0) 5v7:ip(0.0.0) " + ip1 +
           " 5v7:ip(2.0.0) 5:mapping 5p:key(ip:k) 5:initialized c:failed(1)"},
      {"stale mirror", "cut r3=3 r4=4 r5=5 M r3=3 r5=5 r9=9 connect until=2.0.0", "r1=11 r4=14 -r2 -r5 -r3 r0=10 r6=6",
       "(11,261,T,0,0) 4.0.0 ttl=14; (11,261,T,0,0) 6.0.0 ttl=6; E(11,261); (11,261,T,0,0) 0.0.0 ttl=10; "
       "(11,261,T,0,0) 1.0.0 ttl=11; (11,-261,T,0,0) 2.0.0; (11,-261,T,0,0) 3.0.0; (11,-261,T,0,0) 5.0.0; B(11,262); "
       "E(11,262); " +
           rest,
       "5v7:ip(4.0.0) 5v7:ip(6.0.0) 5v7:ip(3.0.0) 5v7:ip(5.0.0) 5v7:ip(9.0.0) 5v7:ip(0.0.0) " + ip1 + " 5v7:ip(2.0.0)"},
      {"a reference that a mirror kept", "cut -f1 connect until=(7,267", "cross", "B(3,259); E(3,259)", "c:failed(1)"},
      {"a key that waits at the mirror", "cut connect until=(7,261 short cross cross M block r9=9 S until=E(3,259)",
       "M free", "", "", "(11,261,T,0,0) 9.0.0 ttl=9"},
      {"only what is below waits, with room", "", "deferred block r3=3 free kick+1",
       "(11,261,T,0,0) 3.0.0 ttl=3; (7,265,F,4,0) 1", "5v7:ip(3.0.0) 5:kick"},
      // Both ends change the same: what the deciding end says stands.
      {"both set a value", "", "r1=10 M r1=20 cross", "(11,261,T,0,0) 1.0.0 ttl=10; (11,261,T,0,0) 1.0.0 ttl=20",
       ip1 + " " + ip1 + " " + ip1, "(11,261,T,0,0) 1.0.0 ttl=20"},
      {"a value, removed by the mirror", "", "r1=10 M -r1 cross", "(11,261,T,0,0) 1.0.0 ttl=10; (11,-261,T,0,0) 1.0.0",
       ip1 + " " + ip1 + " " + ip1, "(11,-261,T,0,0) 1.0.0"},
      {"both set a scalar", "", "action=1 M action=2 cross", "(7,263,T,0,0) 1; (7,263,T,0,0) 2",
       "5:action 5:action 5:action", "(7,263,T,0,0) 2"},
      {"two keys", "", "r1=10 M r5=50 cross", "(11,261,T,0,0) 1.0.0 ttl=10; (11,261,T,0,0) 5.0.0 ttl=50",
       "5v7:ip(5.0.0) " + ip1, "(11,261,T,0,0) 5.0.0 ttl=50"},
      {"a member made again, removed by the mirror", "", "-a7 a7=0new M -a7 cross",
       "(9,-258,T,0,0) 1.7.0; (9,258,T,0,151) 1.7.0 0 \"new\" 15; " + bareAcl, acl7 + " " + acl7,
       "(9,-258,T,0,0) 1.7.0"},
      {"a member made by both", "", "a8=0s M a8=0m cross", "(9,258,T,0,151) 1.8.0 0 \"s\" 15; " + bareAcl,
       acl8 + " " + acl8 + " " + acl8, "(9,258,T,0,151) 1.8.0 0 \"m\" 2; B(2,261); E(2,261); B(2,262); E(2,262)"},
      {"a child replaced, removed by the mirror", "", "v=x M -v cross",
       "(7,261,T,0,151) \"x\" 15; B(15,258); E(15,258)", gone + " 5:aclColl", "(7,-261,F,0,0)"},
      {"a reference", "c8=1 move", "-f1 M f8 cross", "(3,-259,T,0,0) 1; (3,259,T,0,0) 15",
       "c:failed(1) c:failed(1) c:failed(1)", "(3,259,T,0,0) 15"},
      {"marks of the mirror are void", "", "M block r1=21 r2=22 kick=9 S r1=11 kick=8 step M free",
       "(11,261,T,0,0) 1.0.0 ttl=11; (7,265,F,4,0) 8", ip1 + " 5v7:ip(2.0.0) 5:kick " + ip1 + " 5:kick",
       "(11,261,T,0,0) 2.0.0 ttl=22"},
      {"a configuration referred to, removed by the mirror", "-f1 move", "f5 M -c5 cross",
       "(3,259,T,0,0) 7; (3,-259,T,0,0) 1", "c:config(5) " + gone + " 5:mapping", "(3,-258,T,0,0) 5"},
      {"instead of another one", "c8=1 f8 f6 move", "f5 M -c5 cross", "(3,259,T,0,0) 7; (3,-259,T,0,0) 1",
       "c:config(5) " + gone + " 5:mapping c:failed(1)", "(3,-258,T,0,0) 5"},
      {"of two that the mirror removed", "c8=2 f8 move", "f6 M -c5 -c6 cross",
       "(3,259,T,0,0) 5; (3,-259,T,0,0) 1; (3,-259,T,0,0) 2",
       "c:config(5) c:config(6) c:failed(2) c:failed(1) " + gone + " 5:mapping", "(3,-258,T,0,0) 5; (3,-258,T,0,0) 6"},
      {"by the mirror, removed by the deciding end", "c8=1 f8 f6 move", "-c5 M f5 cross",
       "(3,-258,T,0,0) 5; (3,259,T,0,0) 15", "c:failed(1) c:config(5) c:failed(1) " + gone + " 5:mapping",
       "(3,259,T,0,0) 7"},
      // Nothing crosses.
      {"the mirror writes", "", "M r5=5 -r1 kick=3 a8=2m 5v8/m1=1 -p c9=2 f6", "",
       "5v7:ip(5.0.0) " + ip1 + " 5:kick " + acl8 + " 5v8:mac(1.0.0) 5:mapping c:config(9) c:failed(2)",
       "(11,261,T,0,0) 5.0.0 ttl=5; (11,-261,T,0,0) 1.0.0; (7,265,F,4,0) 3; (9,258,T,0,151) 1.8.0 2 \"m\" 2; B(2,261); "
       "E(2,261); B(2,262); (2,262,T,0,0) 1.0.0 proto=1; E(2,262); (7,-262,F,0,0); (3,258,T,0,151) 9 2 4; " +
           bare(4) + "; (3,259,T,0,0) 5"},
      {"the mirror writes in silence", "", "M mute r5=5 r5=6 -r1 kick=3 -p c9=2 move unmute", "",
       "5v7:ip(5.0.0) 5v7:ip(5.0.0) " + ip1 + " 5:kick 5:mapping c:config(9)",
       "(11,-261,T,0,0) 1.0.0; (11,261,T,0,0) 5.0.0 ttl=6; (7,-262,F,0,0); (7,265,F,4,0) 3; (3,258,T,0,151) 9 2 2; " +
           bare(2)},
      {"into what the mirror announced", "M a8=2m move", "5v8/m1=2 move -a8",
       "(2,262,T,0,0) 1.0.0 proto=2; (9,-258,T,0,0) 1.8.0", "5v8:mac(1.0.0) " + acl8},
      // Observers of the mirror change what is applied, goes, is still to come.
      {"what is applied", "", "{5:action action=2 } action=1", "(7,263,T,0,0) 1", "5:action 5:action",
       "(7,263,T,0,0) 2"},
      {"what goes", "", "{5v7:ip r2=2 } -r2", "(11,-261,T,0,0) 2.0.0", "5v7:ip(2.0.0) 5v7:ip(2.0.0)",
       "(11,261,T,0,0) 2.0.0 ttl=2"},
      {"what is still to come", "", "{5v:acl 5v8/r9=9 } a8=0x 5v8/r1=1",
       "(9,258,T,0,151) 1.8.0 0 \"x\" 15; B(15,261); (15,261,T,0,0) 1.0.0 ttl=1; E(15,261); B(15,262); E(15,262); "
       "(15,261,T,0,0) 9.0.0 ttl=9",
       acl8 + " 5v8:ip(9.0.0) 5v8:ip(1.0.0)", "(15,261,T,0,0) 9.0.0 ttl=9"},
      {"a member made again, by the mirror too", "", "{5v:acl a7=2mine } block -a7 a7=0b free",
       "(9,-258,T,0,0) 1.7.0; (9,258,T,0,151) 1.7.0 0 \"b\" 15; " + bareAcl,
       acl7 + " " + acl7 + " " + acl7 + " " + acl7, "(9,258,T,0,151) 1.7.0 2 \"mine\" 2"},
      {"the ACL of an arriving rule goes", "", "{5v7 -a7 } r3=3", "(11,261,T,0,0) 3.0.0 ttl=3", "5v7:ip(3.0.0) " + acl7,
       "(9,-258,T,0,0) 1.7.0"},
      {"the configuration of an arriving rule goes", "", "{5v7 -c5 } r3=3", "(11,261,T,0,0) 3.0.0 ttl=3",
       "5v7:ip(3.0.0) c:config(5)", "(3,-258,T,0,0) 5"},
      {"the child that holds an arriving ACL goes", "", "{5v:acl -v } a8=0x",
       "(9,258,T,0,151) 1.8.0 0 \"x\" 15; " + bareAcl, acl8 + " " + gone + " " + acl8, "(7,-261,F,0,0)"},
      {"an arriving ACL goes", "", "{5v:acl -a8 } a8=0x 5v8/r1=1",
       "(9,258,T,0,151) 1.8.0 0 \"x\" 15; B(15,261); (15,261,T,0,0) 1.0.0 ttl=1; E(15,261); B(15,262); E(15,262)",
       acl8 + " " + acl8, "(9,-258,T,0,0) 1.8.0"},
      {"a removed ACL is made", "", "{5v:acl a7=2again } -a7", "(9,-258,T,0,0) 1.7.0", acl7 + " " + acl7,
       "(9,258,T,0,151) 1.7.0 2 \"again\" 2; B(2,261); E(2,261); B(2,262); E(2,262)"},
      {"a removed child is made", "", "{5:aclColl v=again } -v", "(7,-261,F,0,0)", "5:aclColl " + gone,
       "(7,261,T,0,151) \"again\" 2; B(2,258); E(2,258)"},
      {"what a sweep removes", "cut -r2 connect until=B(11,261)", "{5v7 r2=22 }",
       "(11,261,T,0,0) 1.0.0 ttl=1; E(11,261); B(11,262); E(11,262); " + rest + "; (11,261,T,0,0) 2.0.0 ttl=22",
       "5v7:ip(2.0.0) 5v7:ip(2.0.0)", "(11,261,T,0,0) 2.0.0 ttl=22"},
      {"what a transfer has still to repeat", "cut r1=11 connect until=B(11,261)", "{5v7 r2=22 }",
       "(11,261,T,0,0) 1.0.0 ttl=11; (11,261,T,0,0) 2.0.0 ttl=2; E(11,261); B(11,262); E(11,262); " + rest +
           "; (11,261,T,0,0) 2.0.0 ttl=22",
       ip1 + " 5v7:ip(2.0.0) 5v7:ip(2.0.0) 5v7:ip(2.0.0)", "(11,261,T,0,0) 2.0.0 ttl=22"},
      {"what a transfer has repeated", "cut r2=12 connect until=B(11,261)", "{5v7 r1=21 }",
       "(11,261,T,0,0) 1.0.0 ttl=1; (11,261,T,0,0) 2.0.0 ttl=12; E(11,261); B(11,262); E(11,262); " + rest +
           "; (11,261,T,0,0) 1.0.0 ttl=21",
       "5v7:ip(2.0.0) " + ip1, "(11,261,T,0,0) 1.0.0 ttl=21"}};
  for (Row const& row : rows) {
    check(row);
  }
}

}  // namespace
