#include "tools/common/ClassBench.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "tools/common/Cursor.h"

namespace Tools {

namespace {

constexpr std::uint16_t anyPort = 65535;

/// Reads "0x" and as many digits as the number has.
template <class Number>
Number hexadecimal(Cursor& line, char const* expected) {
  constexpr std::size_t digits = sizeof(Number) * 2;
  std::string_view const field = line.rest().substr(0, digits + 2);
  Number number = 0;
  if (field.size() != digits + 2 || !field.starts_with("0x") ||
      std::from_chars(field.data() + 2, field.data() + field.size(), number, 16).ptr != field.data() + field.size()) {
    line.fail(line.position(), expected);
  }
  line.skip(field, expected);
  return number;
}

/// Reads a value and its mask with a slash between.
template <class Number>
std::pair<Number, Number> masked(Cursor& line, char const* expected) {
  auto const value = hexadecimal<Number>(line, expected);
  line.skip("/", "\"/\" and a mask");
  return {value, hexadecimal<Number>(line, expected)};
}

/// Reads the tab behind a field that may be the last one of its line. Not every editor leaves a tab at the end.
void skipTabUnlessAtEnd(Cursor& line, char const* expected) {
  if (!line.atEnd()) {
    line.skip("\t", expected);
  }
}

Dorix::IpGenPrefix prefix(Cursor& line) {
  Dorix::IpBytes bytes{};
  std::size_t const start = line.position();
  for (std::size_t i = 0; i < 4; ++i) {
    if (i > 0) {
      line.skip(".", "\".\" within an IPv4 address");
    }
    bytes[i] = static_cast<std::uint8_t>(line.decimal(255, "a number of an IPv4 address, 0 to 255"));
  }
  line.skip("/", "\"/\" and a prefix length");
  auto const prefix =
      Dorix::IpGenPrefix::fromBytes(Dorix::IpFamily::ipv4, bytes, line.decimal(32, "a prefix length, 0 to 32"));
  if (prefix.addressBytes() != bytes) {
    line.fail(start, "a prefix without bits beyond its length");
  }
  return prefix;
}

Vorn::L4PortRange ports(Cursor& line) {
  auto const low = static_cast<std::uint16_t>(line.decimal(anyPort, "a port, 0 to 65535"));
  line.skip(" : ", "\" : \" between two ports");
  std::size_t const start = line.position();
  auto const high = static_cast<std::uint16_t>(line.decimal(anyPort, "a port, 0 to 65535"));
  if (high < low) {
    line.fail(start, "a port that is not below the first of its range");
  }
  return {low, high};
}

void protocol(Cursor& line, Vorn::IpFilter& filter) {
  auto const [proto, mask] = masked<std::uint8_t>(line, "a protocol or its mask, as 0x06");
  if (mask != 0x00 && mask != 0xff) {
    line.fail(line.position() - 4, "a protocol mask of 0x00 or 0xFF");
  }
  filter.protoIs(proto);
  filter.matchProtoIs(mask != 0);
}

/// Puts into the filter what it can hold of the flags field. Returns whether that is all.
bool holdFlags(Vorn::IpFilter& filter, FlagsField flags) {
  if (flags.mask == 0) {
    return true;
  }
  if (filter.matchProto() && filter.proto() == Dorix::ipProtoIcmp && (flags.mask == 0xff00 || flags.mask == 0xffff)) {
    filter.icmpTypeIs(flags.value >> 8);
    if (flags.mask == 0xffff) {
      filter.icmpCodeIs(flags.value & 0xff);
    }
    return true;
  }
  if (!filter.matchProto() || filter.proto() != Dorix::ipProtoTcp) {
    return false;
  }
  constexpr unsigned holdable = Vorn::IpFilter::TcpFlag::max;
  unsigned const set = static_cast<unsigned>(flags.value & flags.mask) >> 8 & holdable;
  filter.tcpFlagIs(Vorn::IpFilter::TcpFlag(set));
  return flags.mask == set << 8;
}

ClassBenchFilter filterOf(Cursor& line) {
  ClassBenchFilter result;
  Vorn::IpFilter filter;
  line.skip("@", "\"@\" at the start of a filter");
  filter.sourceIs(prefix(line));
  line.skip("\t", "a tab behind the source");
  filter.destinationIs(prefix(line));
  line.skip("\t", "a tab behind the destination");
  filter.sportRangeIs(ports(line));
  line.skip("\t", "a tab behind the source ports");
  filter.dportRangeIs(ports(line));
  line.skip("\t", "a tab behind the destination ports");
  protocol(line, filter);
  skipTabUnlessAtEnd(line, "a tab behind the protocol");
  if (!line.atEnd()) {
    auto const [value, mask] = masked<std::uint16_t>(line, "flags or their mask, as 0x1000");
    skipTabUnlessAtEnd(line, "a tab behind the flags");
    result.flags = {value, mask};
    result.isExact = holdFlags(filter, result.flags);
  }
  line.end();
  filter.l4RuleIs(!filter.sportRange().isAny() || !filter.dportRange().isAny() || filter.tcpFlag().value() != 0 ||
                  filter.icmpType() != Vorn::IpFilter::icmpAll);
  result.rule.filterIs(filter);
  result.rule.actionIs(Acl::permit);
  result.line = line.lineNumber();
  return result;
}

template <class... Arguments>
void appendFormatted(std::string& text, char const* format, Arguments... arguments) {
  char buffer[80];
  int const length = std::snprintf(buffer, sizeof buffer, format, arguments...);
  text.append(buffer, static_cast<std::size_t>(length));
}

void appendMasked(std::string& text, std::uint8_t proto, bool matchProto) {
  appendFormatted(text, "0x%02X/0x%02X", unsigned{proto}, matchProto ? 0xffU : 0U);
}

void appendPorts(std::string& text, Vorn::L4PortRange range) {
  Kro::appendInteger(text += ' ', std::uint16_t{range.rangeStart()});
  Kro::appendInteger(text += '-', std::uint16_t{range.rangeEnd()});
}

/// Filters that are loosened in the same way are those with equal protocols and flags fields.
bool areLoosenedAlike(ClassBenchFilter const& a, ClassBenchFilter const& b) {
  auto const protocolOf = [](ClassBenchFilter const& filter) {
    return std::pair(std::uint8_t{filter.rule.filter().proto()}, filter.rule.filter().matchProto());
  };
  return a.flags == b.flags && protocolOf(a) == protocolOf(b);
}

std::string loosenedText(ClassBenchFilter const& first, std::size_t count) {
  Vorn::IpFilter const& filter = first.rule.filter();
  std::string const held = flagNames(filter.tcpFlag().value());
  std::string text;
  appendFormatted(text, "flags 0x%04x/0x%04x of protocol ", unsigned{first.flags.value}, unsigned{first.flags.mask});
  appendMasked(text, filter.proto(), filter.matchProto());
  text.append(": ").append(std::to_string(count)).append(count == 1 ? " filter" : " filters").append(" loaded with ");
  return text += held.empty() ? "nothing matched of them" : held + " set";
}

}  // namespace

std::vector<ClassBenchFilter> readClassBench(std::string_view text, std::string_view name) {
  std::vector<ClassBenchFilter> filters;
  for (std::size_t number = 1; !text.empty(); ++number) {
    if (Cursor line(takeLine(text), name, number); !line.atEnd()) {
      filters.push_back(filterOf(line));
    }
  }
  return filters;
}

std::vector<std::string> loosenedFilters(std::vector<ClassBenchFilter> const& filters) {
  std::vector<std::pair<ClassBenchFilter const*, std::size_t>> counts;
  for (ClassBenchFilter const& filter : filters) {
    if (filter.isExact) {
      continue;
    }
    auto const known = std::find_if(counts.begin(), counts.end(),
                                    [&](auto const& counted) { return areLoosenedAlike(*counted.first, filter); });
    ++(known != counts.end() ? *known : counts.emplace_back(&filter, 0)).second;
  }
  std::vector<std::string> texts;
  for (auto const& [first, count] : counts) {
    texts.push_back(loosenedText(*first, count));
  }
  return texts;
}

std::string flagNames(unsigned flags) {
  static constexpr char const* names[] = {"FIN", "SYN", "RST", "PSH", "ACK", "URG"};
  std::string text;
  for (unsigned bit = 0; bit < std::size(names); ++bit) {
    if ((flags >> bit & 1U) != 0) {
      text += text.empty() ? "" : "+";
      text += names[bit];
    }
  }
  return text;
}

void appendCanonicalLine(std::string& text, std::uint32_t index, Vorn::IpRuleConfig const& rule) {
  Vorn::IpFilter const& filter = rule.filter();
  Kro::appendInteger(text, index);
  filter.source().stringTo(text += ' ');
  filter.destination().stringTo(text += ' ');
  appendPorts(text, filter.sportRange());
  appendPorts(text, filter.dportRange());
  appendMasked(text += ' ', filter.proto(), filter.matchProto());
  text += '\n';
}

}  // namespace Tools
