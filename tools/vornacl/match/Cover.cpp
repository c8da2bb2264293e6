#include "tools/vornacl/match/Cover.h"

#include <algorithm>

namespace Tools {

namespace {

/// How many boxes are looked at, and how many may wait.
constexpr unsigned mostSteps = 20000;
constexpr std::size_t mostWaiting = 100000;

struct Entry {
  std::uint32_t rule = 0;
  Cell const* cell = nullptr;
};

/// The largest box that holds a packet; a null one where there is none.
Entry largestAt(RuleIndex const& index, Cell const& packet) {
  Entry largest;
  unsigned size = 0;
  index.forEachContaining(packet, [&](std::uint32_t rule, Cell const& cell) {
    if (largest.cell == nullptr || cell.size() > size) {
      largest = {rule, &cell};
      size = cell.size();
    }
    return true;
  });
  return largest;
}

}  // namespace

/// Takes from the boxes, at the lowest corner of the last, the largest box that holds this corner, until nothing is
/// left, or a corner is in none.
Cover coverOf(std::vector<Cell> cells, RuleIndex const& index) {
  Cover cover;
  for (unsigned steps = 0; !cells.empty(); ++steps) {
    if (steps == mostSteps || cells.size() > mostWaiting) {
      return {Cover::undecided, {}, {}};
    }
    Cell const cell = cells.back();
    cells.pop_back();
    Cell const corner = cell.corner();
    Entry const largest = largestAt(index, corner);
    if (largest.cell == nullptr) {
      return {Cover::open, {}, corner};
    }
    cover.by.push_back(largest.rule);
    appendDifference(cells, cell, *largest.cell);
  }
  std::sort(cover.by.begin(), cover.by.end());
  cover.by.erase(std::unique(cover.by.begin(), cover.by.end()), cover.by.end());
  return cover;
}

}  // namespace Tools
