// The tree that the demonstration mirrors: the rules of files, dealt out over chips.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "VornRootConfig/RootConfigColl.h"

namespace Demo {

using Tree = Kro::Ptr<Vorn::RootConfigColl>;
using Acls = std::vector<Kro::Ptr<Vorn::VornAcl>>;

/// A tree with a root configuration for each of up to four chips. File i goes to chip i modulo their number, as the ACL
/// of `ipv4PAcl`, i and `in`, named by the file's base name; that name is mapped to the ACL's id (with "#i" behind it
/// where an earlier file of the chip has it). Rules are numbered from 1. Each chip is told to load, and kicked once.
/// What filters cannot hold is listed on standard error. Throws `Tools::BadData` and `std::system_error`. At most 255
/// files.
Tree loadTree(std::vector<std::string> const& files);

/// All ACLs of all chips, in ascending order of chips, then of their ids.
Acls aclsOf(Tree const& tree);

/// What a tree holds: IP and MAC rules, ACLs, root configurations.
struct Counts {
  std::size_t rules = 0;
  std::size_t acls = 0;
  std::size_t chips = 0;
};
Counts countsOf(Tree const& tree);

/// The members of a hash map in ascending order of their keys.
template <class Map>
auto inOrderOfKeys(Map const& map) {
  using Member = std::remove_reference_t<decltype(*map.begin())>;
  std::vector<Kro::Ptr<Member>> members;
  for (Member& member : map) {
    members.push_back(Kro::share(&member));
  }
  std::sort(members.begin(), members.end(), [](auto const& a, auto const& b) {
    using Link = typename std::remove_const_t<Member>::KroHashLink;
    return Link::key(*a) < Link::key(*b);
  });
  return members;
}

}  // namespace Demo
