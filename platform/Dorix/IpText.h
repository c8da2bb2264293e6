// The texts of IP addresses, read and written by the library's own code so that they are the same on every host. For
// the platform's own .cpp files.
#pragma once

#include <string_view>

#include "platform/Dorix/IpAddr.h"

namespace Dorix::detail {

/// Reads a decimal number of at most three digits, without sign and leading zeros, up to `limit`. False for any other
/// text.
bool readDecimal(std::string_view text, std::uint32_t limit, std::uint32_t& number);
/// Reads four decimal numbers joined by dots into four bytes. False for any other text.
bool readIpv4(std::string_view text, std::uint8_t* to);
/// Reads the forms of RFC 4291, section 2.2: eight hexadecimal groups, a run of them left out, the last two decimal.
/// False for any other text.
bool readIpv6(std::string_view text, IpBytes& to);

/// Writes four decimal numbers joined by dots and returns their end. There is room for 18 characters.
char* putIpv4(char* to, IpBytes const& bytes);
/// Writes the form of RFC 5952, section 4, in hexadecimal throughout, and returns its end. There is room for 40.
char* putIpv6(char* to, IpBytes const& bytes);

}  // namespace Dorix::detail
