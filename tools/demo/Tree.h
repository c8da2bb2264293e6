// The tree that the demonstration mirrors: the rules of files, dealt out over chips.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/common/Trees.h"

namespace Demo {

using Tools::aclsOf;
using Tools::inOrderOfKeys;
using Tools::ruleCountOf;
using Tools::Tree;
using Acls = std::vector<Kro::Ptr<Vorn::VornAcl>>;

/// A tree with a root configuration for each of up to four chips. File i goes to chip i modulo their number, as the ACL
/// of `ipv4PAcl`, i and `in`, named by the file's base name; that name is mapped to the ACL's id (with "#i" behind it
/// where an earlier file of the chip has it). Rules are numbered from 1. Each chip is told to load, and kicked once.
/// What filters cannot hold is listed on standard error. Throws `Tools::BadData` and `std::system_error`. At most 255
/// files.
Tree loadTree(std::vector<std::string> const& files);

/// What a tree holds: IP and MAC rules, ACLs, root configurations.
struct Counts {
  std::size_t rules = 0;
  std::size_t acls = 0;
  std::size_t chips = 0;
};
Counts countsOf(Tree const& tree);

}  // namespace Demo
