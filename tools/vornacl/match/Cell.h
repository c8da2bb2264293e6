// What rules match, as boxes in the space of all packets.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "tools/vornacl/rules/Rule.h"

namespace Tools {

/// 128 bits; the first on the wire is the most significant of `high`.
struct Bits {
  std::uint64_t high = 0;
  std::uint64_t low = 0;

  friend constexpr Bits operator&(Bits a, Bits b) { return {a.high & b.high, a.low & b.low}; }
  friend constexpr Bits operator|(Bits a, Bits b) { return {a.high | b.high, a.low | b.low}; }
  friend constexpr Bits operator^(Bits a, Bits b) { return {a.high ^ b.high, a.low ^ b.low}; }
  friend constexpr Bits operator~(Bits a) { return {~a.high, ~a.low}; }
  friend constexpr bool operator==(Bits, Bits) = default;
  constexpr bool any() const { return (high | low) != 0; }
};

/// The numbers that equal `value` in the bits that `care` has set. `value` has no other bits.
struct Cube {
  Bits value;
  Bits care;

  friend constexpr bool operator==(Cube const&, Cube const&) = default;
  constexpr bool contains(Cube const& other) const {
    return !(care & ~other.care).any() && !((value ^ other.value) & care).any();
  }
  constexpr bool meets(Cube const& other) const { return !((value ^ other.value) & care & other.care).any(); }
};

struct Interval {
  std::uint16_t low = 0;
  std::uint16_t high = 65535;

  friend constexpr bool operator==(Interval, Interval) = default;
  constexpr bool contains(Interval other) const { return low <= other.low && high >= other.high; }
  constexpr bool meets(Interval other) const { return low <= other.high && high >= other.low; }
};

/// The fields of a packet that are matched bit by bit, and those that are matched by ranges. The EtherType of a MAC
/// rule stands in the last 16 bits of its destination.
enum CubeField : std::size_t { sourceField, destinationField, flagsField, cubeFields };
enum IntervalField : std::size_t {
  protocolField,
  sportField,
  dportField,
  icmpTypeField,
  icmpCodeField,
  dscpField,
  ttlField,
  fragmentField,  ///< 1 for a fragment that is not the first of its packet
  intervalFields
};

/// A box in the space of all packets of a kind; a packet is a box of one point.
struct Cell {
  std::array<Cube, cubeFields> cubes{};
  std::array<Interval, intervalFields> intervals{};

  friend bool operator==(Cell const&, Cell const&) = default;
  bool contains(Cell const& other) const;
  bool meets(Cell const& other) const;
  /// The point of the box whose bits and numbers are lowest.
  Cell corner() const;
  /// Roughly how many bits it takes to tell which point of the box one is; to compare sizes by.
  unsigned size() const;
};

/// Appends boxes that together are `cell` without `taken`, which it meets.
void appendDifference(std::vector<Cell>& to, Cell cell, Cell const& taken);

/// The boxes of a rule, that together hold the packets which it matches. Layer-4 fields of a rule keep out fragments
/// that are not the first, which do not have these.
std::vector<Cell> cellsOf(IpRule const& rule);
std::vector<Cell> cellsOf(MacRule const& rule);

/// The box of every packet.
Cell anyCell();
Bits bitsOf(Dorix::IpBytes const& bytes);
Bits bitsOf(Dorix::EthAddr const& address);

/// The names of the fields in which a packet is not in a box.
std::vector<std::string_view> differences(Cell const& cell, Cell const& packet);

}  // namespace Tools
