#include "platform/Dorix/IpProtocolNumber.h"
#include "tools/vornacl/rules/AccessListRule.h"
#include "tools/vornacl/rules/Names.h"
#include "tools/vornacl/rules/Words.h"

namespace Tools {

namespace {

constexpr std::uint16_t maxPort = 65535;

/// Reads the rules of IP lists.
class IpReader {
 public:
  IpReader(Cursor& line, Dorix::IpFamily family) : line_(line), family_(family), rule_(IpRule::any(family)) {}

  IpRule standard() {
    rule_.sources = {address(Bare::host)};
    while (!line_.atEnd()) {
      if (!log()) {
        refuseOption(line_);
      }
    }
    return finished();
  }

  IpRule extended() {
    protocol();
    rule_.sources = {address(Bare::refused)};
    ports(rule_.sports);
    rule_.destinations = {address(Bare::refused)};
    ports(rule_.dports);
    icmp();
    while (!line_.atEnd()) {
      option();
    }
    return finished();
  }

  std::optional<std::uint32_t> sequence() const { return sequence_; }

 private:
  enum class Bare { host, refused };

  bool isV6() const { return family_ == Dorix::IpFamily::ipv6; }
  bool isProtocol(std::uint8_t number) const { return filter_.matchProto() && filter_.proto() == number; }
  bool isIcmp() const { return isProtocol(isV6() ? Dorix::ipProtoIcmpv6 : Dorix::ipProtoIcmp); }

  IpRule finished() {
    rule_.config.filterIs(filter_);
    return std::move(rule_);
  }

  void protocol() {
    constexpr char const* expected = "a protocol, by its name or a number from 0 to 255";
    std::size_t const start = line_.position();
    refuseGroup(line_);
    if (isNumber(line_.peek())) {
      return protocolIs(static_cast<std::uint8_t>(numberWord(line_, 255, expected)));
    }
    std::string_view const name = line_.word(expected);
    if (name == "ip" || name == (isV6() ? "ipv6" : "ipv4")) {
      return;
    }
    if (isV6() && name == "icmp") {
      return protocolIs(Dorix::ipProtoIcmpv6);
    }
    auto const number = protocolNumber(name);
    if (!number) {
      refuseName(line_, start, expected);
    }
    protocolIs(*number);
  }
  void protocolIs(std::uint8_t number) {
    filter_.protoIs(number);
    filter_.matchProtoIs(true);
  }

  Wildcard address(Bare bare) {
    if (line_.wordIf("any")) {
      return Wildcard::any(family_);
    }
    if (line_.wordIf("host")) {
      return host(addressWord("an address"));
    }
    refuseGroup(line_);
    std::size_t const start = line_.position();
    std::string_view const expected =
        isV6() ? "\"any\", \"host\" or an IPv6 prefix" : "\"any\", \"host\" or an IPv4 address";
    std::string_view const word = line_.peek();
    if (std::size_t const slash = word.find('/'); slash != std::string_view::npos) {
      return prefix(slash);
    }
    if (isV6() || !addressBytes(word, family_)) {
      line_.fail(start, expected);
    }
    auto const value = addressWord("an IPv4 address");
    if (bare == Bare::host && !addressBytes(line_.peek(), family_)) {
      return host(value);
    }
    auto care = addressWord("a wildcard, as 0.0.0.255");
    for (std::size_t i = 0; i < 4; ++i) {
      care[i] = static_cast<std::uint8_t>(~care[i]);
    }
    return Wildcard::of(family_, value, care);
  }
  Dorix::IpBytes addressWord(char const* expected) {
    std::size_t const start = line_.position();
    auto const bytes = addressBytes(line_.word(expected), family_);
    if (!bytes) {
      line_.fail(start, expected);
    }
    return *bytes;
  }
  Wildcard host(Dorix::IpBytes const& bytes) const {
    return Wildcard::of(Dorix::IpGenPrefix::fromBytes(family_, bytes, isV6() ? 128 : 32));
  }
  /// Bits beyond the length do not count, as on a router.
  Wildcard prefix(std::size_t slash) {
    std::size_t const start = line_.position();
    auto const bytes = addressBytes(line_.peek().substr(0, slash), family_);
    if (!bytes) {
      line_.fail(start, isV6() ? "an IPv6 address" : "an IPv4 address");
    }
    line_.skip(line_.peek().substr(0, slash + 1), "");
    auto const length =
        numberWord(line_, isV6() ? 128 : 32, isV6() ? "a prefix length, 0 to 128" : "a prefix length, 0 to 32");
    return Wildcard::of(Dorix::IpGenPrefix::fromBytes(family_, *bytes, length));
  }

  std::optional<std::uint16_t> portNamed(std::string_view name) const {
    return isProtocol(Dorix::ipProtoTcp) ? tcpPortNumber(name) : udpPortNumber(name);
  }
  bool isPort(std::string_view word) const { return isNumber(word) || portNamed(word); }
  std::uint16_t port() {
    constexpr char const* expected = "a port, by its name or a number from 0 to 65535";
    if (auto const named = portNamed(line_.peek())) {
      line_.word(expected);
      return *named;
    }
    if (isName(line_.peek())) {
      refuseName(line_, line_.position(), expected);
    }
    return static_cast<std::uint16_t>(numberWord(line_, maxPort, expected));
  }
  std::vector<Vorn::L4PortRange> portList() {
    std::vector<Vorn::L4PortRange> list;
    do {
      std::uint16_t const number = port();
      list.emplace_back(number, number);
    } while (isPort(line_.peek()));
    return list;
  }
  /// Reads an operator and its ports, if there is one.
  void ports(std::vector<Vorn::L4PortRange>& to) {
    if (!isProtocol(Dorix::ipProtoTcp) && !isProtocol(Dorix::ipProtoUdp)) {
      return;
    }
    refuseGroup(line_);
    if (line_.wordIf("eq")) {
      to = portList();
    } else if (line_.wordIf("neq")) {
      to = otherPorts(portList());
    } else if (line_.wordIf("range")) {
      std::uint16_t const low = port();
      std::size_t const start = line_.position();
      std::uint16_t const high = port();
      if (high < low) {
        line_.fail(start, "a port that is not below the first of its range");
      }
      to = {{low, high}};
    } else if (line_.wordIf("gt")) {
      to = {{static_cast<std::uint16_t>(portOtherThan(maxPort, "a port below 65535") + 1), maxPort}};
    } else if (line_.wordIf("lt")) {
      to = {{0, static_cast<std::uint16_t>(portOtherThan(0, "a port above 0") - 1)}};
    }
  }
  std::uint16_t portOtherThan(std::uint16_t bound, char const* expected) {
    std::size_t const start = line_.position();
    std::uint16_t const number = port();
    if (number == bound) {
      line_.fail(start, expected);
    }
    return number;
  }

  /// Reads an ICMP type, and a code, if there is one.
  void icmp() {
    if (!isIcmp()) {
      return;
    }
    std::string_view const word = line_.peek();
    if (isNumber(word)) {
      filter_.icmpTypeIs(static_cast<std::uint16_t>(numberWord(line_, 255, "an ICMP type, 0 to 255")));
      if (isNumber(line_.peek())) {
        filter_.icmpCodeIs(static_cast<std::uint16_t>(numberWord(line_, 255, "an ICMP code, 0 to 255")));
      }
    } else if (auto const named = isV6() ? icmp6Numbers(word) : icmpNumbers(word)) {
      line_.word("");
      filter_.icmpTypeIs(named->type);
      filter_.icmpCodeIs(named->code ? *named->code : Vorn::IpFilter::icmpAll);
    }
  }

  void option() {
    if (log() || tcpOption()) {
      return;
    }
    if (line_.wordIf("fragments")) {
      filter_.fragmentsIs(true);
    } else if (line_.wordIf("dscp")) {
      dscp();
    } else if (line_.wordIf("sequence")) {
      sequence_ = numberWord(line_, maxSequence, sequenceExpected);
    } else if (line_.peek() == "ttl") {
      ttl();
    } else {
      refuseOption(line_);
    }
  }
  bool log() {
    bool const isLog = line_.wordIf("log") || line_.wordIf("log-input");
    rule_.config.logIs(rule_.config.log() || isLog);
    return isLog;
  }
  bool tcpOption() {
    if (!isProtocol(Dorix::ipProtoTcp)) {
      return false;
    }
    if (line_.wordIf("established")) {
      filter_.establishedIs(true);
      return true;
    }
    if (line_.wordIf("match-all")) {
      return flag() || (line_.fail(line_.position(), "a TCP flag, as +syn"), false);
    }
    return flag();
  }
  /// Reads a flag, if there is one. Behind a minus it must be clear.
  bool flag() {
    std::string_view const word = line_.peek();
    bool const isSigned = word.starts_with('+') || word.starts_with('-');
    auto const bit = tcpFlagBit(word.substr(isSigned ? 1 : 0));
    if (bit) {
      (word[0] == '-' ? rule_.flags.clear : rule_.flags.set) |= *bit;
      line_.word("");
    }
    return bit.has_value();
  }
  void dscp() {
    constexpr char const* expected = "a code point, by its name or a number from 0 to 63";
    auto const named = dscpNumber(line_.peek());
    filter_.dscpIs(named ? *named : static_cast<std::uint8_t>(numberWord(line_, 63, expected)));
    filter_.matchDscpIs(true);
    if (named) {
      line_.word(expected);
    }
  }
  void ttl() {
    Cursor ahead = line_;
    ahead.wordIf("ttl");
    ahead.wordIf("eq");
    if (!ahead.atEnd() && !isNumber(ahead.peek())) {
      refuseOption(line_);
    }
    line_ = ahead;
    filter_.ttlIs(static_cast<std::uint8_t>(numberWord(line_, 255, "a time to live, 0 to 255")));
    filter_.includeTtlIs(true);
  }

  Cursor& line_;
  Dorix::IpFamily family_;
  IpRule rule_;
  Vorn::IpFilter filter_;
  std::optional<std::uint32_t> sequence_;
};

}  // namespace

AccessListRule readIpRule(Cursor& line, RuleGrammar grammar) {
  IpReader reader(line, grammar == RuleGrammar::ipv6 ? Dorix::IpFamily::ipv6 : Dorix::IpFamily::ipv4);
  IpRule rule = grammar == RuleGrammar::standard ? reader.standard() : reader.extended();
  return {std::move(rule), reader.sequence()};
}

}  // namespace Tools
