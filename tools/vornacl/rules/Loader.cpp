#include "tools/vornacl/rules/Loader.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/common/TreeText.h"
#include "tools/vornacl/rules/TreeReader.h"

namespace Tools {

namespace {

Vorn::TableType tableOf(Acl::AclType type) {
  switch (type) {
    case Acl::ipv6:
      return Vorn::ipv6PAcl;
    case Acl::mac:
      return Vorn::macAcl;
    case Acl::ip:
      break;
  }
  return Vorn::ipv4PAcl;
}

void store(Vorn::VornAcl& acl, Vorn::AceIndex const& at, Vorn::IpRuleConfig const& rule) { acl.ipRuleByIdIs(at, rule); }
void store(Vorn::VornAcl& acl, Vorn::AceIndex const& at, Vorn::MacRuleConfig const& rule) {
  acl.macRuleByIdIs(at, rule);
}

}  // namespace

Loader::Loader(Expand expand, Refusals& refusals)
    : expand_(expand), refusals_(refusals), tree_(Vorn::rootConfigCollFactory("vornacl")) {}

LoadedFile const& Loader::add(RuleSet const& set) {
  LoadedFile file{set.file, set.form, {}, {}};
  if (set.tree) {
    adopt(set, file);
    return files_.emplace_back(std::move(file));
  }
  newChip();
  for (List const& list : set.lists) {
    file.acls.push_back(newAcl(list));
  }
  for (ListedRule const& rule : set.rules) {
    add(rule, file);
  }
  return files_.emplace_back(std::move(file));
}

void Loader::adopt(RuleSet const& set, LoadedFile& file) {
  if (tree_->chipRootConfigSize() > 0) {
    throw BadData({set.file}, "the text of a tree stands in front of other files");
  }
  tree_ = set.tree;
  file.acls = set.acls;
  for (ListedRule const& rule : set.rules) {
    file.rules.push_back({set.acls[rule.list], rule.position, {set.file, rule.line, 0}, std::nullopt});
  }
}

void appendTreeText(std::string& text, Tree const& tree, std::function<void()> const& lineDone) {
  std::size_t lines = 0;
  text.append(treeHead) += '\n';
  appendTree(text, *tree, [&] { ++lines, lineDone(); });
  text.append(treeEnd).append(std::to_string(lines)) += " lines\n";
  lineDone();
}

void Loader::newChip() {
  std::uint32_t number = 0;
  for (auto const& chip : tree_->chipRootConfigMap()) {
    number = std::max(number, chip.rootConfigId() + 1);
  }
  chip_ = tree_->chipRootConfigIs(number, Vorn::ChipId(static_cast<std::uint16_t>(number)));
  chip_->initialize();
  lists_.clear();
}

Kro::Ptr<Vorn::VornAcl> Loader::newAcl(List const& list) {
  if (lists_[list.type] == Vorn::ChipRuleListId::invalid) {
    newChip();
  }
  Vorn::AclId const id(tableOf(list.type), lists_[list.type]++, Acl::in);
  chip_->aclKeyToAclId()->keyToIdIs(Zil::AclKey(list.type, list.name.c_str()), id);
  return chip_->vornAclColl()->aclIs(id, list.type, list.name.c_str());
}

void Loader::add(ListedRule const& rule, LoadedFile& file) {
  LoadedRule loaded{file.acls[rule.list], rule.position, {file.name, rule.line, 0}, std::nullopt};
  auto const exact = [&](auto const& of) {
    auto rules = exactRules(of);
    if constexpr (std::is_same_v<decltype(of), IpRule const&>) {
      if (rules.areTooMany && expand_ == Expand::show && of.isOneLine()) {
        loaded.tooWide = of;
        return file.rules.push_back(std::move(loaded));
      }
    }
    if (rules.rules.size() > 1 && expand_ == Expand::refuse) {
      rules.whyNot = fmt::format("this takes {} exact rules (--expand)", rules.rules.size());
    }
    if (!rules.whyNot.empty()) {
      return refusals_.add(loaded.place, rules.whyNot);
    }
    std::uint32_t next = rule.position.subRuleId();
    for (auto const& config : rules.rules) {
      store(*loaded.acl, {rule.position.ruleId(), next++, rule.position.subIndex()}, config);
    }
    file.rules.push_back(std::move(loaded));
  };
  std::visit(exact, rule.rule);
}

}  // namespace Tools
