#include "tools/vornacl/match/RuleIndex.h"

#include <algorithm>

namespace Tools {

template <class Under>
Under& RuleIndex::ByCube<Under>::operator[](Cube const& cube) {
  auto const [place, isNew] = under.try_emplace(cube);
  if (isNew && std::find(cares.begin(), cares.end(), cube.care) == cares.end()) {
    cares.push_back(cube.care);
  }
  return place->second;
}

void RuleIndex::add(Cell const& cell, std::uint32_t rule) {
  bySource_[cell.cubes[sourceField]][cell.cubes[destinationField]].push_back({cell, rule});
}

std::uint32_t RuleIndex::firstContaining(Cell const& cell) const {
  std::uint32_t first = none;
  forEachContaining(cell, [&](std::uint32_t rule, Cell const&) {
    first = std::min(first, rule);
    return false;
  });
  return first;
}

}  // namespace Tools
