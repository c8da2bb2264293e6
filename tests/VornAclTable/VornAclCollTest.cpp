// The ACLs of one chip: get or create, removal, comparison, its end.
#include "VornAclTable/VornAclColl.h"

#include <algorithm>

#include "tests/Contracts.h"
#include "tests/support/Spies.h"

namespace {

using namespace VornTest;
using Kro::Ptr;
using Vorn::VornAcl;
using Vorn::VornAclColl;

Vorn::AclId const aclId(Vorn::ipv4PAcl, 5, Acl::in);
Vorn::AclId const otherId(Vorn::macAcl, 7, Acl::out);
char const* const toldOfAcl = "A:acl(ipv4PAcl:5:in)";

class VornAclCollTest : public EntityTest {
 protected:
  std::string errorOf(Acl::AclType type, char const* name) {
    return messageOf<Kro::NameInUseException>([&] { coll->aclIs(aclId, type, name); });
  }

  Ptr<VornAclColl> coll = Vorn::vornAclCollFactory("coll");
};

TEST_F(VornAclCollTest, CountsAndTellsWhatChanges) {
  auto const a = observe<AclCollSpy>(coll, "A");
  Ptr<VornAcl> acl;
  auto const seeing = [&](bool isThere, std::function<void()> act) {
    return [&, isThere, act = std::move(act)] {
      std::uint32_t const before = coll->mutationCount();
      a->act = [&, before] {
        Ptr<VornAcl> const member = coll->aclMap()[aclId];
        EXPECT_EQ(coll->mutationCount(), before + 1);
        EXPECT_EQ(static_cast<bool>(member), isThere);
        EXPECT_EQ(member ? member->parent() : acl->parent(), isThere ? coll : nullptr) << "set or cleared before";
      };
      act();
      a->act = nullptr;
    };
  };
  run(*coll, {{"create", seeing(true, [&] { acl = coll->aclIs(aclId, Acl::ip, "it's"); }), {1, 0}, toldOfAcl},
              {"get", [&] { EXPECT_EQ(coll->acl(aclId), acl); }, {0, 1}, ""},
              {"get an absent one", [&] { EXPECT_EQ(coll->acl(otherId), nullptr); }, {0, 1}, ""},
              {"size", [&] { EXPECT_EQ(coll->aclSize(), 1U); }, {0, 1}, ""},
              {"tell of an absent one", [&] { coll->aclNotify(otherId); }, {0, 0}, "A:acl(macAcl:7:out)"},
              {"store", [&] { coll->newAcl(otherId, Acl::mac, ""); }, {0, 0}, ""},
              {"remove", seeing(false, [&] { EXPECT_EQ(coll->aclDel(aclId), acl); }), {1, 0}, toldOfAcl},
              {"remove it again", [&] { EXPECT_EQ(coll->aclDel(aclId), nullptr); }, {0, 0}, ""},
              {"create again", [&] { EXPECT_NE(coll->aclIs(aclId, Acl::mac, ""), acl); }, {1, 0}, toldOfAcl},
              {"remove the stored one", [&] { coll->aclDel(otherId); }, {1, 0}, "A:acl(macAcl:7:out)"},
              {"remove all", [&] { coll->aclDelAll(); }, {1, 0}, toldOfAcl},
              {"remove all of none", [&] { coll->aclDelAll(); }, {0, 0}, ""}});
  EXPECT_EQ(acl->parentAttrId(), 258);
  a->act = [] { throw 1; };
  coll->aclNotify(aclId);
  EXPECT_EQ(journal.take(), std::string(toldOfAcl) + " A:!258");
}

TEST_F(VornAclCollTest, NeverCreatesAnAclAgainWithOtherParameters) {
  auto const a = observe<AclCollSpy>(coll, "A");
  Ptr<VornAcl> const acl = coll->aclIs(aclId, Acl::ip, "it's");
  journal.take();
  struct Case {
    Acl::AclType type;
    char const* name;
    Cost cost;
    std::uint32_t reads;  ///< of the member
    std::string error;
  };
  std::string const start = "Reinstantiating the entity with name '' where constructor parameter attribute _";
  std::string const typeError =
      start + "aclType has a different value of 'mac' than the current value of 'ip' not allowed";
  for (Case const& c : std::vector<Case>{
           {Acl::ip, "it's", {1, 0}, 2, "no error"},
           {Acl::mac, "it's", {0, 0}, 2, typeError},
           {Acl::mac, "other", {0, 0}, 2, typeError},
           {Acl::ip,
            "other",
            {0, 0},
            3,
            start + "cliName has a different value of 'other' than the current value of 'it\\'s' not allowed"}}) {
    Cost const ofMember =
        costOf(*acl, [&] { EXPECT_EQ(costOf(*coll, [&] { EXPECT_EQ(errorOf(c.type, c.name), c.error); }), c.cost); });
    EXPECT_EQ(ofMember, (Cost{0, c.reads})) << c.error;
  }
  EXPECT_EQ(coll->aclIs(aclId, Acl::ip, "it's"), acl);
  EXPECT_EQ(journal.take(), "");
#ifndef KRO_ABORT_ON_INTERNAL
  EXPECT_THROW(coll->newAcl(aclId, Acl::ip, "it's"), Kro::InternalException);
#endif
  EXPECT_EQ(coll->aclMap().size(), 1U);
  EXPECT_EQ(coll->auditErrors(9), 0U);
}

TEST_F(VornAclCollTest, IteratorRemoverActsOnlyOnWhatStandsInTheMap) {
  auto const a = observe<AclCollSpy>(coll, "A");
  Ptr<VornAcl> const acl = coll->newAcl(aclId, Acl::ip, "");
  auto it = coll->aclIterator();
  VornAclColl::AclMap::Iterator atEnd;
  run(*coll, {{"remove", [&] { EXPECT_EQ(coll->aclDel(it), acl); }, {1, 0}, toldOfAcl},
              {"detached", [&] { EXPECT_EQ(coll->aclDel(it), nullptr); }, {0, 0}, ""},
              {"another of its key", [&] { coll->newAcl(aclId, Acl::ip, ""); }, {0, 0}, ""},
              {"still detached", [&] { EXPECT_EQ(coll->aclDel(it), nullptr); }, {0, 0}, ""},
              {"at the end", [&] { EXPECT_EQ(coll->aclDel(atEnd), nullptr); }, {0, 0}, ""}});
  EXPECT_EQ(coll->aclMap().size(), 1U);
}

TEST_F(VornAclCollTest, RemovesAllWhileAHandlerTakesItFromItsParent) {
  Ptr<Vorn::RootConfig> const config = Vorn::rootConfigFactory("config", 1, 1);
  coll = config->vornAclCollIs("coll");
  for (std::uint8_t list = 0; list < 20; ++list) {
    coll->newAcl(Vorn::AclId(Vorn::macAcl, list, Acl::in), Acl::mac, "");
  }
  auto const w = observeWeakly<AclCollSpy>(coll, "W", [&] {
    config->vornAclCollDel();
    coll = nullptr;
  });
  coll->aclDelAll();
  EXPECT_EQ(w->calls, 21U) << "twenty removals, then its last reference";
  EXPECT_EQ(w->notifier(), nullptr);
}

TEST_F(VornAclCollTest, TellsItsEndAndLeavesNoMemberBehind) {
  std::vector<Ptr<VornAcl>> acls = {coll->newAcl(aclId, Acl::ip, ""), coll->newAcl(otherId, Acl::mac, "")};
  std::vector<std::string> expected = {"W:zero"};
  for (VornAcl const& acl : coll->aclMap()) {
    expected.push_back("W:acl(" + std::string(Kro::valueToStrep(acl.aclId()).view()) + ')');
  }
  auto* const dying = coll.get();
  auto const w = observeWeakly<AclCollSpy>(coll, "W");
  w->act = [&] {  // one more ACL at each removal, before and behind the walk
    if (w->calls > 1 && acls.size() < 40) {
      auto const list = static_cast<std::uint8_t>(acls.size());
      acls.push_back(dying->newAcl(Vorn::AclId(Vorn::ipv6RAcl, list, Acl::in), Acl::ipv6, ""));
    }
  };
  coll = nullptr;
  std::string const told = journal.take();
  EXPECT_TRUE(told.starts_with(expected[0] + ' ' + expected[1])) << told;
  EXPECT_GT(acls.size(), 3U);
  for (Ptr<VornAcl> const& acl : acls) {
    EXPECT_FALSE(acl->parent());
    EXPECT_EQ(acl->countWord(), 1U);
  }
}

TEST_F(VornAclCollTest, ComparesMembersByTheirId) {
  Ptr<VornAclColl> const other = Vorn::vornAclCollFactory("other name");
  auto const reads = [&](bool isEqual) {
    std::uint32_t const before = other->readCount();
    Cost const mine = costOf(*coll, [&] { EXPECT_EQ(coll->equal(other), isEqual); });
    return std::vector{mine.mutations, mine.reads, other->readCount() - before};
  };
  EXPECT_EQ(reads(true), (std::vector{0U, 1U, 1U}));
  coll->aclIs(aclId, Acl::ip, "acl");
  EXPECT_EQ(reads(false), (std::vector{0U, 1U, 1U})) << "number of members";
  Ptr<VornAcl> const there = other->aclIs(aclId, Acl::ip, "acl");
  EXPECT_EQ(reads(true), (std::vector{0U, 1U, 2U}));
  there->ipRuleByIdIs(Vorn::AceIndex(), Vorn::IpRuleConfig());
  EXPECT_EQ(reads(false), (std::vector{0U, 1U, 2U})) << "one rule";
  other->aclDel(aclId);
  other->aclIs(otherId, Acl::ip, "acl");
  EXPECT_EQ(reads(false), (std::vector{0U, 1U, 2U})) << "absent there";
  EXPECT_FALSE(coll->equal(nullptr));
}

}  // namespace
