// The mapping from external keys to ACL ids.
#include "VornAclTable/AclKeyToAclIdMapping.h"

#include "tests/support/Spies.h"

namespace {

using namespace VornTest;
using Kro::Ptr;
using Vorn::AclId;
using Vorn::AclKeyToAclIdMapping;

AclId const one(Vorn::ipv4PAcl, 5, Acl::in);
AclId const other(Vorn::macAcl, 7, Acl::out);

Zil::AclKey key(char const* name, Acl::AclType type = Acl::ip) { return Zil::AclKey(type, name); }

class MappingTest : public EntityTest {
 protected:
  Ptr<AclKeyToAclIdMapping> mapping = Vorn::aclKeyToAclIdMappingFactory("mapping");
};

TEST_F(MappingTest, CountsAndTellsWhatChanges) {
  auto const a = observe<MappingSpy>(mapping, "A");
  AclKeyToAclIdMapping::KeyToIdMap::Iterator it;
  Ptr<AclKeyToAclIdMapping::KroKeyToId> record;
  run(*mapping,
      {{"set", [&] { mapping->keyToIdIs(key("b"), one); }, {1, 0}, "A:key(ip:b)"},
       {"set the same", [&] { mapping->keyToIdIs(key("b"), one); }, {0, 0}, ""},
       {"set another", [&] { mapping->keyToIdIs(key("b"), other); }, {1, 0}, "A:key(ip:b)"},
       {"set the default", [&] { mapping->keyToIdIs(key("a", Acl::mac), AclId()); }, {1, 0}, "A:key(mac:a)"},
       {"get", [&] { EXPECT_EQ(mapping->keyToId(key("b")), other); }, {0, 1}, ""},
       {"get an absent one", [&] { EXPECT_EQ(mapping->keyToId(key("c")), AclId()); }, {0, 1}, ""},
       {"size", [&] { EXPECT_EQ(mapping->keyToIdSize(), 2U); }, {0, 1}, ""},
       {"store", [&] { record = mapping->newKeyToId(key("c"), one); }, {0, 0}, ""},
       {"start at", [&] { EXPECT_EQ(mapping->keyToIdMap().startAt(key("bb")), record); }, {0, 0}, ""},
       {"tell of an absent one", [&] { mapping->keyToIdNotify(key("z")); }, {0, 0}, "A:key(ip:z)"},
       {"remove by its own key",
        [&] { EXPECT_EQ(mapping->keyToIdDel(mapping->keyToIdMap().begin()->key()), other); },
        {1, 0},
        "A:key(ip:b)"},
       {"remove it again", [&] { EXPECT_EQ(mapping->keyToIdDel(key("b")), AclId()); }, {0, 0}, ""},
       {"remove the default", [&] { mapping->keyToIdDel(key("a", Acl::mac)); }, {1, 0}, "A:key(mac:a)"},
       {"remove at", [&] { it = mapping->keyToIdIterator(), mapping->keyToIdDel(it); }, {1, 0}, "A:key(ip:c)"},
       {"detached", [&] { EXPECT_EQ(mapping->keyToIdDel(it), AclId()); }, {0, 0}, ""},
       {"fill",
        [&] {
          for (auto const& k : {key("b"), key("a", Acl::mac), key("ab"), key("")}) {
            mapping->newKeyToId(k, one);
          }
        },
        {0, 0},
        ""},
       {"remove all", [&] { mapping->keyToIdDelAll(); }, {4, 0}, "A:key(ip:) A:key(ip:ab) A:key(ip:b) A:key(mac:a)"}});
  a->act = [] { throw 1; };
  mapping->keyToIdIs(key("b"), one);
  EXPECT_EQ(journal.take(), "A:key(ip:b) A:!258");
}

TEST_F(MappingTest, DiesSilently) {
  mapping->keyToIdIs(key("b"), one);
  auto const w = observeWeakly<MappingSpy>(mapping, "W");
  mapping = nullptr;
  EXPECT_EQ(journal.take(), "W:zero");
}

TEST_F(MappingTest, ComparesEntriesOfItsOwnAlone) {
  struct Case {
    std::vector<std::pair<char const*, AclId>> mine, other;
    bool isEqual;
    std::uint32_t otherReads;
  };
  for (Case const& c : std::vector<Case>{{{}, {}, true, 1},
                                         {{{"a", one}}, {}, false, 1},
                                         {{{"a", one}, {"b", other}}, {{"a", one}, {"b", other}}, true, 3},
                                         {{{"a", one}, {"b", other}}, {{"a", one}, {"b", one}}, false, 3},
                                         {{{"a", one}, {"b", other}}, {{"a", other}, {"b", other}}, false, 2},
                                         {{{"a", AclId()}}, {{"b", one}}, true, 2},
                                         {{{"b", one}}, {{"a", AclId()}}, false, 2}}) {
    Ptr<AclKeyToAclIdMapping> const mine = Vorn::aclKeyToAclIdMappingFactory("mine");
    Ptr<AclKeyToAclIdMapping> const others = Vorn::aclKeyToAclIdMappingFactory("others");
    for (auto const& [name, id] : c.mine) {
      mine->newKeyToId(key(name), id);
    }
    for (auto const& [name, id] : c.other) {
      others->newKeyToId(key(name), id);
    }
    EXPECT_EQ(costOf(*mine, [&] { EXPECT_EQ(mine->equal(others), c.isEqual); }), (Cost{0, 1}));
    EXPECT_EQ(others->readCount(), c.otherReads);
    EXPECT_FALSE(mine->equal(nullptr));
  }
}

}  // namespace
