// Trees of the model in an order that does not hang on how they were filled.
#pragma once

#include <algorithm>
#include <string_view>
#include <type_traits>
#include <vector>

#include "VornAcl.h"

namespace Tools {

using Tree = Kro::Ptr<Vorn::RootConfigColl>;
/// All types of entities, as a tuple of `std::type_identity`.
using EntityTypes = Kro::DerivedTypes<Kro::Entity, decltype(Vorn::kroModel(nullptr))>;

/// The members of a hash map in ascending order of their keys.
template <class Map>
auto inOrderOfKeys(Map const& map) {
  using Member = std::remove_reference_t<decltype(*map.begin())>;
  std::vector<Kro::Ptr<Member>> members;
  for (Member& member : map) {
    members.push_back(Kro::share(&member));
  }
  std::sort(members.begin(), members.end(), [](auto const& a, auto const& b) {
    using Chain = typename std::remove_const_t<Member>::KroHashLink;
    return Chain::key(*a) < Chain::key(*b);
  });
  return members;
}

/// All ACLs of all chips, in ascending order of chips, then of their ids.
std::vector<Kro::Ptr<Vorn::VornAcl>> aclsOf(Tree const& tree);
/// Number of rules of both kinds.
inline std::size_t ruleCountOf(Vorn::VornAcl const& acl) { return acl.ipRuleByIdSize() + acl.macRuleByIdSize(); }

/// Whether a path is that of an entity or leads to what is below it; all paths are within an empty one.
inline bool isWithin(std::string_view path, std::string_view entity) {
  return path.starts_with(entity) && (entity.empty() || path.size() == entity.size() || path[entity.size()] == '/');
}

}  // namespace Tools
