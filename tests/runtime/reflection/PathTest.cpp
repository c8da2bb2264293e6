// Entities found by their path, text that refers to them, and the example that prints a tree.
#include <filesystem>

#include "runtime/reflection/EntityReflection.h"
#include "tests/Reading.h"
#include "tests/runtime/reflection/Reflected.h"

namespace {

using namespace VornTest;

constexpr char const* oddName = "a/b[1]:'x'\\\n";
constexpr char const* oddPath = "a\\x2fb\\x5b1\\x5d\\x3a\\x27x\\x27\\x5c\\x0a";

Ptr<Vorn::RootConfigColl> tree(char const* name) {
  auto coll = Vorn::rootConfigCollFactory(name);
  auto const config = coll->chipRootConfigIs(5, 1);
  config->initialize();
  config->vornAclColl()->aclIs({Vorn::ipv4PAcl, 5, Acl::in}, Acl::ip, "edge");
  coll->chipRootConfigLastFailedIs(config);
  return coll;
}

TEST(PathTest, leadsToTheEntityWhosePathItIs) {
  for (char const* name : {"", oddName}) {
    auto const root = tree(name);
    auto const config = root->chipRootConfig(5);
    auto const acl = config->vornAclColl()->acl({Vorn::ipv4PAcl, 5, Acl::in});
    for (Ptr<Kro::Entity> const& entity : std::initializer_list<Ptr<Kro::Entity>>{root, config, acl}) {
      EXPECT_EQ(Kro::entityAtPath(root, entity->fullName())->voidPtrIs(entity->fwkType()), entity.get());
    }
    auto const below = Kro::entityAtPath(config, acl->fullName());  // from an entity that has a parent
    EXPECT_EQ(below->voidPtrIs(acl->fwkType()), acl.get());
  }
  EXPECT_EQ(tree("")->fullName(), "RootConfigColl");
  EXPECT_EQ(tree(oddName)->fullName().view(), oddPath);
}

TEST(PathTest, saysWhichPartLeadsNowhere) {
  auto const root = tree("all");
  auto const at = [&](String8 const& path) { return std::string(Kro::entityAtPath(root, path)->strRep().view()); };
  for (auto const& [path, result] : std::initializer_list<std::pair<char const*, char const*>>{
           {"all/", "'all'"},
           {"all/chipRootConfigLastFailed[1]/vornAclColl", "'all/chipRootConfig[5]/vornAclColl'"},
           {"allx", "path allx: expected it to begin with all"},
           {"all/chipRootConfig[6]",
            "path all/chipRootConfig[6]: part chipRootConfig[6]: no member has this key, expected the printed text of "
            "one"},
           {"all/chipRootConfig[5", "path all/chipRootConfig[5: part chipRootConfig[5: expected \"]\""},
           {"all/chipRootConfig[5]x",
            "path all/chipRootConfig[5]x: part chipRootConfig[5]x: expected \"/\" behind \"]\""},
           {"all/chipRootConfig[5]/action", "path all/chipRootConfig[5]/action: part action: expected an entity"}}) {
    EXPECT_EQ(outcome(at, path), result);
  }
  EXPECT_EQ(outcome(at, "all//x").substr(0, 47), "path all//x: part : no such attribute:  of Vorn");
}

TEST(PathTest, referencesAreReadFromTheRootOfTheScope) {
  auto const root = tree(oddName);
  auto const config = root->chipRootConfig(5);
  String8 const text = Kro::reflectionOf(config)->strRep();
  auto const read = [](String8 const& t) -> std::string {
    auto const found = Kro::strepToValue<Ptr<Vorn::RootConfig>>(t);
    return found ? std::string(found->name().view()) : "null";
  };
  EXPECT_EQ(outcome(read, "'x'"),
            "reference to entity x at column 0: expected null, for no root is given to read it from");
  {
    Kro::EntityTextScope const outer(tree("other"));
    Kro::EntityTextScope const scope(root);
    EXPECT_EQ(Kro::strepToValue<Ptr<Vorn::RootConfig>>(text), config);
    EXPECT_EQ(typeOf("Vorn::RootConfig")->genericIf(text, true)->strRep(), text);
    EXPECT_EQ(outcome(read, "null"), "null");
    EXPECT_THROW(read(text + "x"), Kro::RangeException);
    EXPECT_EQ(messageOf<Kro::ConversionException>([&] { Kro::strepToValue<Ptr<Vorn::VornAclColl>>(text); }),
              "cannot convert text at column 0 to Vorn::VornAclColl");
    EXPECT_THROW(typeOf("Vorn::VornAcl")->genericIf(text, false), Kro::ConversionException);
  }
  EXPECT_THROW(read(text), Kro::RangeException);
}

#ifdef VORNACL_BIN_DIR
/// What the example prints, errors included.
std::string inspect(std::string const& arguments) {
  return outputOf(VORNACL_BIN_DIR "/example_inspect" + arguments + " 2>&1");
}

TEST(PathTest, theExampleChangesWhatItIsAskedTo) {
  if (!std::filesystem::exists(VORNACL_BIN_DIR "/example_inspect")) {
    GTEST_SKIP() << "the examples are not built";
  }
  EXPECT_NE(inspect(" Vorn::RootConfig 5 vornRootKick 77").find("\n  vornRootKick = 77\n"), std::string::npos);
  EXPECT_EQ(inspect(" Vorn::RootConfig 5 kick 1").substr(0, 48), "no such attribute: kick of Vorn::RootConfig: exp");
}
#endif

}  // namespace
