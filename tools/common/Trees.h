// Trees of the model in an order that does not hang on how they were filled.
#pragma once

#include <algorithm>
#include <type_traits>
#include <vector>

#include "VornRootConfig/RootConfigColl.h"

namespace Tools {

using Tree = Kro::Ptr<Vorn::RootConfigColl>;

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

/// All ACLs of all chips, in ascending order of chips, then of their ids.
std::vector<Kro::Ptr<Vorn::VornAcl>> aclsOf(Tree const& tree);

}  // namespace Tools
