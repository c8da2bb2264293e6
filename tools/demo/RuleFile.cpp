#include "tools/demo/RuleFile.h"

#include <charconv>
#include <cstdio>
#include <utility>

#include "tools/demo/Files.h"

namespace Demo {

namespace {

constexpr std::uint16_t anyPort = 65535;

/// A value and the bits of it that count.
template <class Number>
struct Masked {
  Number value = 0;
  Number mask = 0;
};

/// Reads the fields of one line from left to right.
class Line {
 public:
  Line(std::string_view text, std::string_view file, std::size_t number) : text_(text), file_(file), number_(number) {}

  bool atEnd() const { return at_ == text_.size(); }

  /// Reads exactly `wanted`, which `expected` describes.
  void skip(std::string_view wanted, char const* expected) {
    if (text_.substr(at_, wanted.size()) != wanted) {
      fail(at_, expected);
    }
    at_ += wanted.size();
  }

  /// Reads the tab behind a field that may be the last one of its line. Not every editor leaves a tab at the end.
  void skipTabUnlessAtEnd(char const* expected) {
    if (!atEnd()) {
      skip("\t", expected);
    }
  }

  /// Reads a decimal number without leading zeros.
  std::uint32_t decimal(std::uint32_t max, char const* expected) {
    std::size_t const start = at_;
    std::uint32_t number = 0;
    auto const [end, error] = std::from_chars(here(), text_.data() + text_.size(), number);
    auto const digits = static_cast<std::size_t>(end - here());
    if (error != std::errc() || number > max || (digits > 1 && text_[start] == '0')) {
      fail(start, expected);
    }
    at_ += digits;
    return number;
  }

  /// Reads "0x" and as many digits as the number has, twice, with a slash between.
  template <class Number>
  Masked<Number> masked(char const* expected) {
    auto const value = hexadecimal<Number>(expected);
    skip("/", "\"/\" and a mask");
    return {value, hexadecimal<Number>(expected)};
  }

  Dorix::IpGenPrefix prefix() {
    Dorix::IpBytes bytes{};
    std::size_t const start = at_;
    for (std::size_t i = 0; i < 4; ++i) {
      if (i > 0) {
        skip(".", "\".\" within an IPv4 address");
      }
      bytes[i] = static_cast<std::uint8_t>(decimal(255, "a number of an IPv4 address, 0 to 255"));
    }
    skip("/", "\"/\" and a prefix length");
    auto const prefix =
        Dorix::IpGenPrefix::fromBytes(Dorix::IpFamily::ipv4, bytes, decimal(32, "a prefix length, 0 to 32"));
    if (prefix.addressBytes() != bytes) {
      fail(start, "a prefix without bits beyond its length");
    }
    return prefix;
  }

  Vorn::L4PortRange ports() {
    auto const low = static_cast<std::uint16_t>(decimal(anyPort, "a port, 0 to 65535"));
    skip(" : ", "\" : \" between two ports");
    std::size_t const start = at_;
    auto const high = static_cast<std::uint16_t>(decimal(anyPort, "a port, 0 to 65535"));
    if (high < low) {
      fail(start, "a port that is not below the first of its range");
    }
    return {low, high};
  }

  /// Stops the load.
  [[noreturn]] void fail(std::size_t at, char const* expected) const {
    std::string message(file_);
    message += ':';
    message += std::to_string(number_);
    message += ':';
    message += std::to_string(at + 1);
    message += ": expected ";
    message += expected;
    throw RuleFileError(message);
  }

  std::size_t position() const { return at_; }

 private:
  char const* here() const { return text_.data() + at_; }

  template <class Number>
  Number hexadecimal(char const* expected) {
    constexpr std::size_t digits = sizeof(Number) * 2;
    std::size_t const start = at_;
    std::string_view const field = text_.substr(at_, digits + 2);
    Number number = 0;
    if (field.size() != digits + 2 || !field.starts_with("0x") ||
        std::from_chars(field.data() + 2, field.data() + field.size(), number, 16).ptr != field.data() + field.size()) {
      fail(start, expected);
    }
    at_ += field.size();
    return number;
  }

  std::string_view text_;
  std::string_view file_;
  std::size_t number_;
  std::size_t at_ = 0;
};

/// Puts into the filter what it can hold of the flags field. Returns whether that is all.
bool holdFlags(Vorn::IpFilter& filter, Masked<std::uint16_t> flags) {
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

/// What a filter matches of the flags field, for people.
std::string heldFlags(Vorn::IpFilter const& filter) {
  static constexpr char const* names[] = {"FIN", "SYN", "RST", "PSH", "ACK", "URG"};
  std::string text;
  for (unsigned bit = 0; bit < 6; ++bit) {
    if ((filter.tcpFlag().value() >> bit & 1U) != 0) {
      text += text.empty() ? "" : "+";
      text += names[bit];
    }
  }
  return text.empty() ? "nothing matched of them" : text + " set";
}

class Reader {
 public:
  explicit Reader(std::string_view name) : name_(name) {}

  void line(std::string_view text) {
    ++lines_;
    if (text.ends_with('\r')) {
      text.remove_suffix(1);
    }
    if (text.empty()) {
      return;
    }
    Line line(text, name_, lines_);
    Vorn::IpFilter filter;
    line.skip("@", "\"@\" at the start of a filter");
    filter.sourceIs(line.prefix());
    line.skip("\t", "a tab behind the source");
    filter.destinationIs(line.prefix());
    line.skip("\t", "a tab behind the destination");
    filter.sportRangeIs(line.ports());
    line.skip("\t", "a tab behind the source ports");
    filter.dportRangeIs(line.ports());
    line.skip("\t", "a tab behind the destination ports");
    protocol(line, filter);
    line.skipTabUnlessAtEnd("a tab behind the protocol");
    if (!line.atEnd()) {
      auto const flags = line.masked<std::uint16_t>("flags or their mask, as 0x1000");
      line.skipTabUnlessAtEnd("a tab behind the flags");
      if (!holdFlags(filter, flags)) {
        count(filter, flags);
      }
    }
    if (!line.atEnd()) {
      line.fail(line.position(), "the end of the line");
    }
    add(filter);
  }

  RuleFile take() { return std::move(result_); }

 private:
  static void protocol(Line& line, Vorn::IpFilter& filter) {
    auto const proto = line.masked<std::uint8_t>("a protocol or its mask, as 0x06");
    if (proto.mask != 0x00 && proto.mask != 0xff) {
      line.fail(line.position() - 4, "a protocol mask of 0x00 or 0xFF");
    }
    filter.protoIs(proto.value);
    filter.matchProtoIs(proto.mask != 0);
  }

  void add(Vorn::IpFilter& filter) {
    filter.l4RuleIs(!filter.sportRange().isAny() || !filter.dportRange().isAny() || filter.tcpFlag().value() != 0 ||
                    filter.icmpType() != Vorn::IpFilter::icmpAll);
    Vorn::IpRuleConfig rule;
    rule.filterIs(filter);
    rule.actionIs(Acl::permit);
    result_.rules.push_back(rule);
  }

  void count(Vorn::IpFilter const& filter, Masked<std::uint16_t> flags) {
    for (Loosened& known : result_.loosened) {
      if (known.proto == filter.proto() && known.matchProto == filter.matchProto() && known.flags == flags.value &&
          known.mask == flags.mask) {
        ++known.count;
        return;
      }
    }
    result_.loosened.push_back({filter.proto(), filter.matchProto(), flags.value, flags.mask, heldFlags(filter), 1});
  }

  std::string_view name_;
  std::size_t lines_ = 0;
  RuleFile result_;
};

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

}  // namespace

RuleFile readRules(std::string_view text, std::string_view name) {
  Reader reader(name);
  while (!text.empty()) {
    std::size_t const end = text.find('\n');
    reader.line(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return reader.take();
}

RuleFile readRuleFile(std::string const& path) { return readRules(readFile(path), path); }

std::string toText(Loosened const& loosened) {
  std::string text;
  appendFormatted(text, "flags 0x%04x/0x%04x of protocol ", unsigned{loosened.flags}, unsigned{loosened.mask});
  appendMasked(text, loosened.proto, loosened.matchProto);
  text += ": ";
  text += std::to_string(loosened.count);
  text += loosened.count == 1 ? " filter loaded with " : " filters loaded with ";
  return text += loosened.loaded;
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

}  // namespace Demo
