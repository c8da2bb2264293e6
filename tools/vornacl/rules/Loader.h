// Puts the rules of files into a tree of the model.
#pragma once

#include <functional>
#include <map>
#include <vector>

#include "tools/common/Trees.h"
#include "tools/vornacl/rules/Refusals.h"
#include "tools/vornacl/rules/Rule.h"

namespace Tools {

/// Where a rule of a file stands in the tree: all positions of an ACL that have its number, or the one position.
struct LoadedRule {
  Kro::Ptr<Vorn::VornAcl> acl;
  Vorn::AceIndex position;
  Place place;
  /// A rule that takes too many exact ones, and is kept for its line alone.
  std::optional<IpRule> tooWide;
};

/// What is done with a rule that takes several exact ones.
enum class Expand {
  refuse,
  write,  ///< they are written; too many are refused
  show,   ///< the same, but a rule that takes too many is kept, for a line that shows it
};

/// What was loaded of one file, in its order.
struct LoadedFile {
  std::string name;
  Form form = Form::classBench;
  std::vector<Kro::Ptr<Vorn::VornAcl>> acls;  ///< by list
  std::vector<LoadedRule> rules;
};

/// Fills a tree. Each file gets a chip of its own, and further ones where it has more lists than a chip holds; each
/// list becomes an ACL, numbered from 0 by its kind, whose name is mapped to its id. A rule that takes several exact
/// ones has them under its number, at `subRuleId` 0, 1 and so on. The text of a tree becomes the tree; other files may
/// follow it.
class Loader {
 public:
  Loader(Expand expand, Refusals& refusals);

  /// Throws `BadData` for a tree behind other files.
  LoadedFile const& add(RuleSet const& set);
  Tree const& tree() const { return tree_; }
  std::vector<LoadedFile> const& files() const { return files_; }

 private:
  void newChip();
  void adopt(RuleSet const& set, LoadedFile& file);
  Kro::Ptr<Vorn::VornAcl> newAcl(List const& list);
  void add(ListedRule const& rule, LoadedFile& file);

  Expand expand_;
  Refusals& refusals_;
  Tree tree_;
  Kro::Ptr<Vorn::RootConfig> chip_;
  std::map<Acl::AclType, std::uint8_t> lists_;  ///< of the chip, by their kind
  std::vector<LoadedFile> files_;
};

/// Appends a tree as text that `readTree` reads. `lineDone` as in `appendTree`.
void appendTreeText(std::string& text, Tree const& tree, std::function<void()> const& lineDone);

}  // namespace Tools
