// Finds the rules of a list that hold a packet, or all packets of a box, without looking at each rule.
#pragma once

#include <unordered_map>

#include "tools/vornacl/match/Cell.h"

namespace Tools {

/// The boxes of rules by the bits that count in their addresses. All that holds a box has its source among those that
/// agree with the box in the bits that count, one for each set of such bits that occurs, and so with the destination.
class RuleIndex {
 public:
  /// Adds a box of a rule. Rules are added in ascending order.
  void add(Cell const& cell, std::uint32_t rule);

  /// Calls `found(rule, cell)` for each box that contains `cell`; of one rule, in ascending order, but not of all.
  template <class Found>
  void forEachContaining(Cell const& cell, Found found) const;
  /// The first rule with a box that contains `cell`, or `none`.
  std::uint32_t firstContaining(Cell const& cell) const;

  static constexpr std::uint32_t none = 0xffffffff;

 private:
  struct Hash {
    std::size_t operator()(Cube const& cube) const {
      std::uint64_t hash = 0;
      for (std::uint64_t const word : {cube.value.high, cube.value.low, cube.care.high, cube.care.low}) {
        hash = (hash ^ word) * 0x9e3779b97f4a7c15U;
        hash ^= hash >> 32U;
      }
      return hash;
    }
  };
  struct Entry {
    Cell cell;
    std::uint32_t rule;
  };
  /// What stands under cubes, and the sets of bits that count in them.
  template <class Under>
  struct ByCube {
    std::vector<Bits> cares;
    std::unordered_map<Cube, Under, Hash> under;

    Under& operator[](Cube const& cube);
    template <class Use>
    void forEachContaining(Cube const& cube, Use use) const;
  };

  ByCube<ByCube<std::vector<Entry>>> bySource_;
};

template <class Under>
template <class Use>
void RuleIndex::ByCube<Under>::forEachContaining(Cube const& cube, Use use) const {
  for (Bits const care : cares) {
    if (!(care & ~cube.care).any()) {
      if (auto const found = under.find({cube.value & care, care}); found != under.end()) {
        use(found->second);
      }
    }
  }
}

template <class Found>
void RuleIndex::forEachContaining(Cell const& cell, Found found) const {
  bySource_.forEachContaining(cell.cubes[sourceField], [&](auto const& byDestination) {
    byDestination.forEachContaining(cell.cubes[destinationField], [&](std::vector<Entry> const& entries) {
      for (Entry const& entry : entries) {
        if (entry.cell.contains(cell) && !found(entry.rule, entry.cell)) {
          break;
        }
      }
    });
  });
}

}  // namespace Tools
