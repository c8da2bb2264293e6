#include "tools/vornacl/match/Cell.h"

#include <bit>

namespace Tools {

namespace {

constexpr std::array<Interval, intervalFields> anyIntervals{{
    {0, 255},
    {0, 65535},
    {0, 65535},
    {0, 255},
    {0, 255},
    {0, 63},
    {0, 255},
    {0, 1},
}};
constexpr Bits allBits{~std::uint64_t{0}, ~std::uint64_t{0}};
constexpr std::uint8_t ackFlag = 0x10;
constexpr std::uint8_t rstFlag = 0x04;

constexpr Interval only(std::uint32_t number) {
  return {static_cast<std::uint16_t>(number), static_cast<std::uint16_t>(number)};
}

/// The bit that is lowest of those set.
constexpr Bits lowestOf(Bits bits) {
  return bits.low != 0 ? Bits{0, bits.low & (~bits.low + 1)} : Bits{bits.high & (~bits.high + 1), 0};
}

Cube cubeOf(TcpFlags flags) { return {{0, flags.set}, {0, std::uint64_t{flags.set} | flags.clear}}; }

/// The flags that a rule allows: its own, with any that show an established connection.
std::vector<Cube> flagsOf(IpRule const& rule) {
  Cube const own = cubeOf(rule.flags);
  if (!rule.config.filter().established()) {
    return {own};
  }
  std::vector<Cube> result;
  for (TcpFlags const established : {TcpFlags{ackFlag, 0}, TcpFlags{rstFlag, ackFlag}}) {
    Cube const cube = cubeOf(established);
    if (own.meets(cube)) {
      result.push_back({own.value | cube.value, own.care | cube.care});
    }
  }
  return result;
}

/// The ranges of a rule that do not hang on its lists.
void setIntervals(Cell& cell, Vorn::IpFilter const& filter) {
  auto& in = cell.intervals;
  if (filter.matchProto()) {
    in[protocolField] = only(filter.proto());
  }
  if (filter.icmpType() != Vorn::IpFilter::icmpAll) {
    in[icmpTypeField] = only(filter.icmpType());
  }
  if (filter.icmpCode() != Vorn::IpFilter::icmpAll) {
    in[icmpCodeField] = only(filter.icmpCode());
  }
  if (filter.matchDscp()) {
    in[dscpField] = only(filter.dscp());
  }
  if (filter.includeTtl()) {
    in[ttlField] = only(filter.ttl());
  }
  if (filter.fragments()) {
    in[fragmentField] = only(1);
  }
}

bool hasLayer4(Cell const& cell) {
  for (IntervalField const field : {sportField, dportField, icmpTypeField, icmpCodeField}) {
    if (!(cell.intervals[field] == anyIntervals[field])) {
      return true;
    }
  }
  return cell.cubes[flagsField].care.any();
}

Cube cubeOf(Wildcard const& wildcard) { return {bitsOf(wildcard.value), bitsOf(wildcard.care)}; }

}  // namespace

bool Cell::contains(Cell const& other) const {
  for (std::size_t i = 0; i < intervalFields; ++i) {
    if (!intervals[i].contains(other.intervals[i])) {
      return false;
    }
  }
  for (std::size_t i = 0; i < cubeFields; ++i) {
    if (!cubes[i].contains(other.cubes[i])) {
      return false;
    }
  }
  return true;
}

bool Cell::meets(Cell const& other) const {
  for (std::size_t i = 0; i < intervalFields; ++i) {
    if (!intervals[i].meets(other.intervals[i])) {
      return false;
    }
  }
  for (std::size_t i = 0; i < cubeFields; ++i) {
    if (!cubes[i].meets(other.cubes[i])) {
      return false;
    }
  }
  return true;
}

Cell Cell::corner() const {
  Cell point = *this;
  for (Cube& cube : point.cubes) {
    cube.care = allBits;
  }
  for (Interval& interval : point.intervals) {
    interval.high = interval.low;
  }
  return point;
}

unsigned Cell::size() const {
  int bits = 0;
  for (Cube const& cube : cubes) {
    bits += 128 - std::popcount(cube.care.high) - std::popcount(cube.care.low);
  }
  for (Interval const interval : intervals) {
    bits += static_cast<int>(std::bit_width(static_cast<unsigned>(interval.high - interval.low)));
  }
  return static_cast<unsigned>(bits);
}

void appendDifference(std::vector<Cell>& to, Cell cell, Cell const& taken) {
  for (std::size_t i = 0; i < cubeFields; ++i) {
    Cube& cube = cell.cubes[i];
    for (Bits free = taken.cubes[i].care & ~cube.care; free.any(); free = free ^ lowestOf(free)) {
      Bits const bit = lowestOf(free);
      cube.care = cube.care | bit;
      Bits const inside = taken.cubes[i].value & bit;
      to.push_back(cell);
      to.back().cubes[i].value = cube.value | (bit ^ inside);
      cube.value = cube.value | inside;
    }
  }
  for (std::size_t i = 0; i < intervalFields; ++i) {
    Interval& interval = cell.intervals[i];
    Interval const inside = taken.intervals[i];
    if (interval.low < inside.low) {
      to.push_back(cell);
      to.back().intervals[i].high = static_cast<std::uint16_t>(inside.low - 1);
      interval.low = inside.low;
    }
    if (interval.high > inside.high) {
      to.push_back(cell);
      to.back().intervals[i].low = static_cast<std::uint16_t>(inside.high + 1);
      interval.high = inside.high;
    }
  }
}

std::vector<Cell> cellsOf(IpRule const& rule) {
  std::vector<Cell> cells;
  Cell cell = anyCell();
  setIntervals(cell, rule.config.filter());
  std::vector<Interval> protocols = {cell.intervals[protocolField]};
  if (!rule.protocols.empty()) {
    protocols.clear();
    for (std::uint8_t const protocol : rule.protocols) {
      protocols.push_back(only(protocol));
    }
  }
  auto const appendWith = [&](Vorn::L4PortRange sports, Vorn::L4PortRange dports) {
    if (sports.rangeStart() > sports.rangeEnd() || dports.rangeStart() > dports.rangeEnd()) {
      return;  // matches nothing
    }
    cell.intervals[sportField] = {sports.rangeStart(), sports.rangeEnd()};
    cell.intervals[dportField] = {dports.rangeStart(), dports.rangeEnd()};
    for (Cube const& flags : flagsOf(rule)) {
      cell.cubes[flagsField] = flags;
      for (Interval const protocol : protocols) {
        cell.intervals[protocolField] = protocol;
        cells.push_back(cell);
        if (hasLayer4(cell) && !rule.config.filter().fragments()) {
          cells.back().intervals[fragmentField] = only(0);
        }
      }
    }
  };
  for (Wildcard const& source : rule.sources) {
    cell.cubes[sourceField] = cubeOf(source);
    for (Wildcard const& destination : rule.destinations) {
      cell.cubes[destinationField] = cubeOf(destination);
      for (Vorn::L4PortRange const sports : rule.sports) {
        for (Vorn::L4PortRange const dports : rule.dports) {
          appendWith(sports, dports);
        }
      }
    }
  }
  return cells;
}

std::vector<Cell> cellsOf(MacRule const& rule) {
  Vorn::MacFilter const& filter = rule.config.filter();
  Cell cell = anyCell();
  auto const cubeOf = [](Dorix::EthAddr const& address, Dorix::EthAddr const& mask) {
    return Cube{bitsOf(address) & bitsOf(mask), bitsOf(mask)};
  };
  cell.cubes[sourceField] = cubeOf(filter.sourceAddr(), filter.sourceMask());
  Cube& destination = cell.cubes[destinationField];
  destination = cubeOf(filter.destinationAddr(), filter.destinationMask());
  if (filter.proto() != Vorn::MacFilter::protoAll) {
    destination.care.low |= rule.protoCare;
    destination.value.low |= filter.proto() & rule.protoCare;
  }
  return {cell};
}

Cell anyCell() {
  Cell cell;
  cell.intervals = anyIntervals;
  return cell;
}

Bits bitsOf(Dorix::IpBytes const& bytes) {
  Bits bits;
  for (std::size_t i = 0; i < 8; ++i) {
    bits.high = bits.high << 8U | bytes[i];
    bits.low = bits.low << 8U | bytes[i + 8];
  }
  return bits;
}

Bits bitsOf(Dorix::EthAddr const& address) {
  Bits bits;
  for (std::uint8_t const byte : address.bytes()) {
    bits.high = bits.high << 8U | byte;
  }
  return bits;
}

std::vector<std::string_view> differences(Cell const& cell, Cell const& packet) {
  static constexpr std::string_view cubeNames[] = {"source", "destination", "flags"};
  static constexpr std::string_view intervalNames[] = {
      "protocol", "source port", "destination port", "ICMP type", "ICMP code", "dscp", "ttl", "fragment"};
  std::vector<std::string_view> names;
  for (std::size_t i = 0; i < cubeFields; ++i) {
    if (!cell.cubes[i].contains(packet.cubes[i])) {
      names.push_back(cubeNames[i]);
    }
  }
  for (std::size_t i = 0; i < intervalFields; ++i) {
    if (!cell.intervals[i].contains(packet.intervals[i])) {
      names.push_back(intervalNames[i]);
    }
  }
  return names;
}

}  // namespace Tools
