#include "tools/demo/Tree.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "tools/common/ClassBench.h"
#include "tools/common/Files.h"

namespace Demo {

namespace {

constexpr std::size_t maxChips = 4;

void mapName(Vorn::AclKeyToAclIdMapping& mapping, std::string const& name, Vorn::AclId const& id) {
  Zil::AclKey key(Acl::ip, name.c_str());
  if (mapping.keyToIdMap().find(key) != nullptr) {
    key = Zil::AclKey(Acl::ip, (name + "#" + std::to_string(id.chipRuleListId().value())).c_str());
  }
  mapping.keyToIdIs(key, id);
}

void load(Vorn::RootConfig& chip, std::string const& path, std::uint8_t number) {
  auto const filters = Tools::readClassBench(Tools::readFile(path), path);
  for (std::string const& loosened : Tools::loosenedFilters(filters)) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), loosened.c_str());
  }
  std::string const name = std::filesystem::path(path).filename();
  auto const acl = chip.vornAclColl()->aclIs(Vorn::AclId(Vorn::ipv4PAcl, number, Acl::in), Acl::ip, name.c_str());
  std::uint32_t index = 0;
  for (Tools::ClassBenchFilter const& filter : filters) {
    acl->ipRuleByIdIs(Vorn::AceIndex(++index, 0, 0), filter.rule);
  }
  mapName(*chip.aclKeyToAclId(), name, acl->aclId());
}

}  // namespace

Tree loadTree(std::vector<std::string> const& files) {
  Tree const tree = Vorn::rootConfigCollFactory("demo");
  std::size_t const chips = std::min(files.size(), maxChips);
  for (std::size_t i = 0; i < files.size(); ++i) {
    auto const chip = static_cast<std::uint16_t>(i % chips);
    auto const config = tree->chipRootConfigIs(chip, Vorn::ChipId(chip));
    config->initialize();
    load(*config, files[i], static_cast<std::uint8_t>(i));
  }
  for (auto const& config : inOrderOfKeys(tree->chipRootConfigMap())) {
    config->actionIs(Vorn::vornLoad);
    config->vornRootKickInc(1);
  }
  return tree;
}

Counts countsOf(Tree const& tree) {
  Counts counts;
  counts.chips = tree->chipRootConfigSize();
  for (auto const& acl : aclsOf(tree)) {
    ++counts.acls;
    counts.rules += ruleCountOf(*acl);
  }
  return counts;
}

}  // namespace Demo
