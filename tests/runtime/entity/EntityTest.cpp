// What every entity has: name, parent, paths, names of attributes, the audit.
#include "tests/support/Spies.h"

namespace {

using namespace VornTest;
using Kro::Ptr;

Vorn::AclId const aclId(Vorn::ipv4PAcl, 5, Acl::in);

TEST_F(EntityTest, NamesItsPlaceByAPathFromTheRoot) {
  Ptr<Vorn::RootConfigColl> root = Vorn::rootConfigCollFactory("gr\xc3\xbc\xc3\x9f e\"\x7f");
  Ptr<Vorn::RootConfig> const config = root->chipRootConfigIs(5, 1);
  config->initialize();
  Ptr<Vorn::VornAcl> const acl = config->vornAclColl()->aclIs(aclId, Acl::ip, "x/y");
  EXPECT_EQ(acl->uriPath().view(), "/gr\xc3\xbc\xc3\x9f e\\x22\\x7f/chipRootConfig[5]/vornAclColl/acl[ipv4PAcl:5:in]");
  EXPECT_EQ(acl->parentAttr().view(), "acl");
  EXPECT_EQ(root->parentAttr().view(), "");
  root = nullptr;
  EXPECT_EQ(config->fullName().view(), "5") << "what was removed is a root itself";
  EXPECT_EQ(config->parentAttrId(), 258) << "which is not cleared";
}

TEST_F(EntityTest, KnowsTheNamesOfItsAttributes) {
  Ptr<Vorn::VornAcl> const acl = Kro::adopt(new Vorn::VornAcl(aclId, Acl::ip, ""));
  for (auto const& [id, name] : std::initializer_list<std::pair<Kro::AttributeId, char const*>>{
           {154, "kroHasAttrLogInterface"}, {257, ""}, {258, "aclId"}, {262, "macRuleById"}, {264, ""}}) {
    EXPECT_EQ(acl->attributeString(id).view(), name);
  }
  EXPECT_TRUE(acl->kroHasAttrLogInterface());
  EXPECT_EQ(acl->mutationCount() + acl->readCount(), 0U) << "nothing of this is counted";
}

TEST_F(EntityTest, AuditFindsWhatIsAmiss) {
  Ptr<Vorn::RootConfigColl> const root = Vorn::rootConfigCollFactory("root");
  Ptr<Vorn::RootConfig> const config = root->chipRootConfigIs(5, 1);
  config->initialize();
  Ptr<Vorn::VornAcl> const acl = config->vornAclColl()->aclIs(aclId, Acl::ip, "");
  auto const spy = observe<AclSpy>(acl, "A");
  auto const errors = [&] { return std::vector{root->auditErrors(0), root->auditErrors(9)}; };
  EXPECT_EQ(errors(), (std::vector{0U, 0U}));
  acl->parentIs(nullptr);
  EXPECT_EQ(errors(), (std::vector{0U, 1U})) << "as deep as it is asked to look";
  acl->parentIs(config->vornAclColl());
  acl->kroObservers().silent().pushBack(spy.get());
  EXPECT_EQ(errors(), (std::vector{0U, 1U})) << "registered, yet among the silent ones";
  acl->kroObservers().silent().remove(spy.get());
  config->aclKeyToAclId()->parentAttrIdIs(261);
  EXPECT_EQ(errors(), (std::vector{0U, 1U}));
  config->aclKeyToAclId()->parentAttrIdIs(262);
  config->parentIs(acl);
  EXPECT_EQ(errors(), (std::vector{1U, 1U}));
  config->parentIs(root);
  EXPECT_EQ(errors(), (std::vector{0U, 0U}));
}

}  // namespace
