// Reads rule files in the ClassBench form, and prints rules as their canonical lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "VornAclTable/IpRuleConfig.h"

namespace Demo {

/// A rule file that cannot be read; the message tells the file, and where there is a place in it, line and column from
/// 1 (columns count bytes) and what was expected there.
class RuleFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A combination of protocol and flags field of which a filter holds less than the file says.
struct Loosened {
  std::uint8_t proto = 0;
  bool matchProto = false;
  std::uint16_t flags = 0;
  std::uint16_t mask = 0;
  /// What is loaded instead, for people.
  std::string loaded;
  /// How many filters of the file have it.
  std::size_t count = 0;
};

/// What a rule file holds.
struct RuleFile {
  /// A rule for each line, in the file's order.
  std::vector<Vorn::IpRuleConfig> rules;
  /// In the order in which they first occur.
  std::vector<Loosened> loosened;
};

/// Reads the text of a rule file; `name` is what errors call it. A line is one filter, fields end in a tab each:
///
///     @SRC/LEN  DST/LEN  LO : HI  LO : HI  PROTO/MASK  [FLAGS/MASK]
///
/// Addresses are IPv4, without bits beyond the length. Ports are decimal, PROTO and its mask two hexadecimal digits,
/// FLAGS and its mask four, all four behind "0x". Numbers in decimal have no leading zeros. The tab at the end of a
/// line and the line feed at the end of the text may be missing, a carriage return before a line feed is passed over,
/// and so are empty lines. Nothing else is accepted: throws `RuleFileError`.
///
/// Every rule permits. PROTO is matched where its mask is FF and not where it is 00; its value is kept in both cases.
/// The flags field is read by the protocol that is matched:
/// - ICMP (1): type in the high byte where the mask is ff00, type and code where it is ffff (RFC 792).
/// - TCP (6): the high byte of value and mask holds the header's flags (RFC 9293); `tcpFlag` gets those of the six that
///   must be set. A filter has no place for flags that must be clear, nor for the two bits above the six.
/// - What cannot be held is not matched, and the combination is listed in `loosened`.
///
/// `l4Rule` is set where the loaded rule matches a port range other than 0 to 65535, a flag, or an ICMP type.
RuleFile readRules(std::string_view text, std::string_view name);

/// The rules of a file; throws `std::system_error` where the file itself cannot be read.
RuleFile readRuleFile(std::string const& path);

/// A sentence about the combination, as "flags 0x0200/0x1200 of protocol 0x06/0xFF: 12 filters loaded with SYN set".
std::string toText(Loosened const& loosened);

/// Appends "INDEX SRC/LEN DST/LEN SLO-SHI DLO-DHI 0xPP/0xMM" and a line feed; the flags are not part of the line.
void appendCanonicalLine(std::string& text, std::uint32_t index, Vorn::IpRuleConfig const& rule);

}  // namespace Demo
