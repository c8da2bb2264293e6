#include "platform/Dorix/IpText.h"

#include <algorithm>
#include <charconv>

#include "runtime/stream/In.h"
#include "runtime/value/Text.h"

namespace Dorix::detail {

namespace {

constexpr std::size_t groupCount = 8;
constexpr int noGroups = -1;

/// Reads a whole text as an unsigned number.
bool readWhole(std::string_view text, int base, std::uint32_t& number) {
  char const* const last = text.data() + text.size();
  auto const done = std::from_chars(text.data(), last, number, base);
  return done.ec == std::errc() && done.ptr == last;
}

/// Reads hexadecimal groups joined by colons, none for an empty text, and gives the number of bytes that they fill;
/// `noGroups` for any other text. The last group may be an IPv4 address where `mayEndMixed` is set.
int readGroups(std::string_view text, bool mayEndMixed, IpBytes& to) {
  std::size_t filled = 0;
  for (bool more = !text.empty(); more;) {
    std::size_t const colon = text.find(':');
    std::string_view const group = text.substr(0, colon);
    more = colon != std::string_view::npos;
    text.remove_prefix(more ? colon + 1 : text.size());
    std::uint32_t number = 0;
    if (!more && mayEndMixed && filled + 4 <= to.size() && readIpv4(group, to.data() + filled)) {
      filled += 4;
    } else if (filled + 2 <= to.size() && group.size() <= 4 && readWhole(group, 16, number)) {
      Kro::storeBigEndian(to.data() + filled, static_cast<std::uint16_t>(number));
      filled += 2;
    } else {
      return noGroups;
    }
  }
  return static_cast<int>(filled);
}

/// A run of zero groups.
struct ZeroRun {
  std::size_t first = groupCount;
  std::size_t length = 1;  ///< a single zero group is never left out
};

/// The longest run of at least two zero groups, the first of equally long ones.
ZeroRun longestZeroRun(std::array<std::uint16_t, groupCount> const& groups) {
  ZeroRun longest;
  for (std::size_t first = 0; first < groupCount; ++first) {
    std::size_t end = first;
    while (end < groupCount && groups[end] == 0) {
      ++end;
    }
    if (end - first > longest.length) {
      longest = {first, end - first};
    }
  }
  return longest;
}

}  // namespace

bool readDecimal(std::string_view text, std::uint32_t limit, std::uint32_t& number) {
  bool const hasLeadingZero = text.size() > 1 && text.front() == '0';
  number = 0;
  for (char const c : text) {
    number = number * 10 + static_cast<unsigned char>(c - '0');
  }
  return !text.empty() && text.size() <= 3 && !hasLeadingZero && std::all_of(text.begin(), text.end(), Kro::isDigit) &&
         number <= limit;
}

bool readIpv4(std::string_view text, std::uint8_t* to) {
  for (std::size_t i = 0; i < 4; ++i) {
    std::size_t const dot = i < 3 ? std::min(text.find('.'), text.size()) : text.size();
    std::uint32_t number = 0;
    if (!readDecimal(text.substr(0, dot), 255, number) || (i < 3) != (dot != text.size())) {
      return false;
    }
    to[i] = static_cast<std::uint8_t>(number);
    text.remove_prefix(i < 3 ? dot + 1 : dot);
  }
  return true;
}

bool readIpv6(std::string_view text, IpBytes& to) {
  std::size_t const gap = text.find("::");
  if (gap == std::string_view::npos) {
    return readGroups(text, true, to) == static_cast<int>(to.size());
  }
  IpBytes tail{};
  int const before = readGroups(text.substr(0, gap), false, to);
  int const behind = readGroups(text.substr(gap + 2), true, tail);
  if (before == noGroups || behind == noGroups || before + behind + 2 > static_cast<int>(to.size())) {
    return false;  // what is left out is one group at least
  }
  std::fill(to.begin() + before, to.end() - behind, std::uint8_t{0});
  std::copy_n(tail.begin(), behind, to.end() - behind);
  return true;
}

char* putIpv4(char* to, IpBytes const& bytes) {
  for (std::size_t i = 0; i < 4; ++i) {
    if (i != 0) {
      *to++ = '.';
    }
    to = Kro::putInteger(to, bytes[i]);
  }
  return to;
}

char* putIpv6(char* to, IpBytes const& bytes) {
  std::array<std::uint16_t, groupCount> groups{};
  for (std::size_t i = 0; i < groupCount; ++i) {
    groups[i] = Kro::loadBigEndian<std::uint16_t>(bytes.data() + 2 * i);
  }
  ZeroRun const gap = longestZeroRun(groups);
  bool isBehindColon = true;
  for (std::size_t i = 0; i < groupCount; ++i) {
    if (i == gap.first) {
      to = Kro::putText(to, "::");
      i += gap.length - 1;
      isBehindColon = true;
      continue;
    }
    if (!isBehindColon) {
      *to++ = ':';
    }
    to = std::to_chars(to, to + 4, groups[i], 16).ptr;
    isBehindColon = false;
  }
  return to;
}

}  // namespace Dorix::detail
