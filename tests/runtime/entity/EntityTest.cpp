// What every entity has: name, parent, paths, names of attributes, the audit.
#include "tests/support/Spies.h"

namespace {

using namespace VornTest;
using Kro::Ptr;

Vorn::AclId const aclId(Vorn::ipv4PAcl, 5, Acl::in);

TEST_F(EntityTest, NamesItsPlaceByAPathFromTheRoot) {
  std::pair<char const*, char const*> const roots[] = {{"root", "root"},
                                                       {"", "RootConfigColl"},
                                                       {"a/b[c]:d", "a\\x2fb\\x5bc\\x5d\\x3ad"},
                                                       {"'\"\\\t\x7f", "\\x27\\x22\\x5c\\x09\\x7f"},
                                                       {"gr\xc3\xbc\xc3\x9f e", "gr\xc3\xbc\xc3\x9f e"}};
  for (auto const& [name, shown] : roots) {
    Ptr<Vorn::RootConfigColl> root = Vorn::rootConfigCollFactory(name);
    Ptr<Vorn::RootConfig> const config = root->chipRootConfigIs(5, 1);
    config->initialize();
    Ptr<Vorn::VornAcl> const acl = config->vornAclColl()->aclIs(aclId, Acl::ip, "x/y");
    std::string const path = shown + std::string("/chipRootConfig[5]/");
    EXPECT_EQ(root->fullName().view(), shown);
    EXPECT_EQ(config->aclKeyToAclId()->fullName().view(), path + "aclKeyToAclId");
    EXPECT_EQ(acl->fullName().view(), path + "vornAclColl/acl[ipv4PAcl:5:in]");
    EXPECT_EQ(acl->uriPath().view(), '/' + path + "vornAclColl/acl[ipv4PAcl:5:in]");
    EXPECT_EQ(acl->parentAttr().view(), "acl");
    EXPECT_EQ(root->parentAttr().view(), "");
    root = nullptr;
    EXPECT_EQ(config->fullName().view(), "5") << "what was removed is a root itself";
    EXPECT_EQ(config->parentAttrId(), 258) << "which is not cleared";
  }
}

template <class X>
void expectNames(Ptr<X> const& entity, std::size_t count) {
  Kro::forEachEntityAttribute<X>([&](auto const& d) { EXPECT_EQ(entity->attributeString(d.id).view(), d.name); });
  EXPECT_NE(entity->attributeString(static_cast<Kro::AttributeId>(257 + count)).view(), "");
  EXPECT_EQ(entity->attributeString(static_cast<Kro::AttributeId>(258 + count)).view(), "");
  EXPECT_EQ(entity->attributeString(257).view(), "");
  EXPECT_EQ(entity->attributeString(154).view(), "kroHasAttrLogInterface");
  EXPECT_TRUE(entity->kroHasAttrLogInterface());
  EXPECT_EQ(entity->mutationCount() + entity->readCount(), 0U) << "nothing of this is counted";
}

TEST_F(EntityTest, KnowsTheNamesOfItsAttributes) {
  expectNames(Kro::adopt(new Vorn::VornAcl(aclId, Acl::ip, "")), 6);
  expectNames(Vorn::vornAclCollFactory(""), 2);
  expectNames(Vorn::aclKeyToAclIdMappingFactory(""), 2);
  expectNames(Vorn::rootConfigFactory("", 1, 1), 11);
  expectNames(Vorn::rootConfigCollFactory(""), 2);
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
