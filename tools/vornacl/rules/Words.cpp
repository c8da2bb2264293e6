#include "tools/vornacl/rules/Words.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "runtime/core/Exception.h"

namespace Tools {

namespace {

/// Options that routers know and filters have no place for.
constexpr std::string_view knownOptions[] = {
    "auth",
    "capture",
    "cos",
    "dest-option",
    "dest-option-type",
    "flow-label",
    "hbh",
    "hoplimit",
    "http-method",
    "icmp-off",
    "match-any",
    "mobility",
    "mobility-type",
    "nve",
    "option",
    "packet-length",
    "precedence",
    "redirect",
    "reflect",
    "routing",
    "routing-type",
    "tcp-flags-mask",
    "tcp-option-length",
    "time-range",
    "tos",
    "ttl",
    "undetermined-transport",
    "vlan",
};
constexpr std::string_view groups[] = {"addrgroup", "object-group", "net-group", "portgroup", "port-group"};

template <class Range>
bool contains(Range const& range, std::string_view name) {
  return std::find(std::begin(range), std::end(range), name) != std::end(range);
}

}  // namespace

bool isNumber(std::string_view word) {
  return !word.empty() && word.find_first_not_of("0123456789") == std::string_view::npos;
}

std::optional<std::uint32_t> numberOf(std::string_view word, std::uint32_t max) {
  std::uint32_t number = 0;
  auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  bool const isWhole = error == std::errc() && end == word.data() + word.size();
  return isWhole && number <= max && (word.size() == 1 || word[0] != '0') ? std::optional(number) : std::nullopt;
}

std::uint32_t numberWord(Cursor& line, std::uint32_t max, char const* expected) {
  std::size_t const start = line.position();
  auto const number = numberOf(line.word(expected), max);
  if (!number) {
    line.fail(start, expected);
  }
  return *number;
}

std::optional<Dorix::IpBytes> addressBytes(std::string_view text, Dorix::IpFamily family) {
  bool const isV6 = family == Dorix::IpFamily::ipv6;
  if (text.find_first_not_of(isV6 ? "0123456789abcdefABCDEF:." : "0123456789.") != std::string_view::npos) {
    return std::nullopt;
  }
  try {
    Dorix::IpGenPrefix const prefix(Kro::String8(std::string_view(std::string(text) + (isV6 ? "/128" : "/32"))));
    return prefix.family() == family ? std::optional(prefix.addressBytes()) : std::nullopt;
  } catch (Kro::RangeException const&) {
    return std::nullopt;
  }
}

void skipQuoted(Cursor& line, char const* expected) {
  std::string_view const rest = line.rest();
  if (!rest.starts_with('"')) {
    line.word(expected);
    return;
  }
  std::size_t end = 1;
  while (end < rest.size() && rest[end] != '"') {
    end += rest[end] == '\\' ? std::size_t{2} : 1;
  }
  if (end >= rest.size()) {
    line.fail(line.position(), "a text that ends in a quote");
  }
  line.skip(rest.substr(0, end + 1), expected);
  line.skipBlanks();
}

void refuse(Cursor const& line, std::string reason) { throw Refused{line.position() + 1, std::move(reason)}; }

void refuseOption(Cursor const& line) {
  if (contains(knownOptions, line.peek())) {
    refuse(line, fmt::format("a filter has no place for \"{}\"", line.peek()));
  }
  refuse(line, line.mismatch(line.position(), "an option or the end of the line"));
}

bool isName(std::string_view word) {
  return !word.empty() && ((word[0] >= 'a' && word[0] <= 'z') || (word[0] >= 'A' && word[0] <= 'Z'));
}

void refuseName(Cursor const& line, std::size_t at, std::string_view expected) {
  if (!isName(line.from(at))) {
    line.fail(at, expected);
  }
  throw Refused{at + 1, line.mismatch(at, expected)};
}

void refuseGroup(Cursor const& line) {
  if (contains(groups, line.peek())) {
    refuse(line, fmt::format("\"{}\" names what stands elsewhere", line.peek()));
  }
}

}  // namespace Tools
