#include "tools/vornacl/rules/AccessListWords.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

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

std::uint32_t numberWord(Cursor& line, std::uint32_t max, char const* expected) {
  std::size_t const start = line.position();
  std::string_view const word = line.word(expected);
  std::uint32_t number = 0;
  auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size() || number > max || (word.size() > 1 && word[0] == '0')) {
    line.fail(start, expected);
  }
  return number;
}

void refuse(Cursor const& line, std::string reason) { throw Refused{line.position() + 1, std::move(reason)}; }

void refuseOption(Cursor const& line) {
  if (contains(knownOptions, line.peek())) {
    refuse(line, fmt::format("a filter has no place for \"{}\"", line.peek()));
  }
  refuse(line, line.mismatch(line.position(), "an option or the end of the line"));
}

void refuseGroup(Cursor const& line) {
  if (contains(groups, line.peek())) {
    refuse(line, fmt::format("\"{}\" names what stands elsewhere", line.peek()));
  }
}

}  // namespace Tools
