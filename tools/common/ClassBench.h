// Reads rule files in the ClassBench form, and prints rules as their canonical lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "VornAclTable/IpRuleConfig.h"
#include "tools/common/BadData.h"

namespace Tools {

/// The flags field of a filter: a value, and the bits of it that count.
struct FlagsField {
  std::uint16_t value = 0;
  std::uint16_t mask = 0;

  friend bool operator==(FlagsField, FlagsField) = default;
};

/// One filter of a rule file.
struct ClassBenchFilter {
  Vorn::IpRuleConfig rule;
  FlagsField flags;
  /// The rule matches all that the flags field says; else it matches more packets than the filter.
  bool isExact = true;
  std::size_t line = 0;
};

/// Reads the text of a rule file; `name` is what errors call it. A line is one filter, fields end in a tab each:
///
///     @SRC/LEN  DST/LEN  LO : HI  LO : HI  PROTO/MASK  [FLAGS/MASK]
///
/// Addresses are IPv4, without bits beyond the length. Ports are decimal, PROTO and its mask two hexadecimal digits,
/// FLAGS and its mask four, all four behind "0x". Numbers in decimal have no leading zeros. The tab at the end of a
/// line and the line feed at the end of the text may be missing, a carriage return before a line feed is passed over,
/// and so are empty lines. Nothing else is accepted: throws `BadData`.
///
/// Every rule permits. PROTO is matched where its mask is FF and not where it is 00; its value is kept in both cases.
/// The flags field is read by the protocol that is matched:
/// - ICMP (1): type in the high byte where the mask is ff00, type and code where it is ffff (RFC 792).
/// - TCP (6): the high byte of value and mask holds the header's flags (RFC 9293); `tcpFlag` gets those of the six that
///   must be set. A filter has no place for flags that must be clear, nor for the two bits above the six.
/// - What cannot be held is not matched, and the filter is not exact.
///
/// `l4Rule` is set where the loaded rule matches a port range other than 0 to 65535, a flag, or an ICMP type.
std::vector<ClassBenchFilter> readClassBench(std::string_view text, std::string_view name);

/// A sentence for each combination of protocol and flags field of which filters hold less than the file says, in the
/// order in which they first occur, as "flags 0x0200/0x1200 of protocol 0x06/0xFF: 12 filters loaded with SYN set".
std::vector<std::string> loosenedFilters(std::vector<ClassBenchFilter> const& filters);

/// The set flags of the six by name, as "SYN+ACK"; empty for none.
std::string flagNames(unsigned flags);

/// Appends "INDEX SRC/LEN DST/LEN SLO-SHI DLO-DHI 0xPP/0xMM" and a line feed; the flags are not part of the line.
void appendCanonicalLine(std::string& text, std::uint32_t index, Vorn::IpRuleConfig const& rule);

}  // namespace Tools
