// Reads a tree from its text, and the rules of a tree.
#pragma once

#include <string_view>

#include "tools/vornacl/rules/Rule.h"

namespace Tools {

/// The first line of a tree's text, and what the last one begins with, before the number of lines between.
inline constexpr std::string_view treeHead = "# vornacl tree 1";
inline constexpr std::string_view treeEnd = "# end of ";

/// Reads what `appendTreeText` writes; `name` is what errors call it. Every value must be written as the model
/// writes it, so that none is changed by reading. Throws `BadData`.
RuleSet readTree(std::string_view text, std::string const& name);

/// The rules of a tree, or of some of its ACLs; they stand in no line.
RuleSet ruleSetOf(Tree const& tree, std::string const& name);
RuleSet ruleSetOf(Tree const& tree, std::string const& name, std::vector<Kro::Ptr<Vorn::VornAcl>> acls);

}  // namespace Tools
