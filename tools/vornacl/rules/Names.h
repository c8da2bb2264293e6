// The names that rule files use for numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Tools {

/// An ICMP type, with a code where the name means one.
struct IcmpName {
  std::uint8_t type = 0;
  std::optional<std::uint8_t> code;
};

/// The number of each name; nothing for other names.
std::optional<std::uint8_t> protocolNumber(std::string_view name);
std::optional<std::uint16_t> tcpPortNumber(std::string_view name);
std::optional<std::uint16_t> udpPortNumber(std::string_view name);
std::optional<IcmpName> icmpNumbers(std::string_view name);
std::optional<IcmpName> icmp6Numbers(std::string_view name);
std::optional<std::uint8_t> dscpNumber(std::string_view name);
std::optional<std::uint16_t> etherTypeNumber(std::string_view name);
/// The bit of a TCP flag, by its name in lower case.
std::optional<std::uint8_t> tcpFlagBit(std::string_view name);

}  // namespace Tools
