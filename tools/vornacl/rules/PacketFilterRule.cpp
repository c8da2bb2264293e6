#include "tools/vornacl/rules/PacketFilterRule.h"

#include <algorithm>
#include <charconv>
#include <numeric>

#include <fmt/format.h>

#include "platform/Dorix/IpProtocolNumber.h"
#include "tools/vornacl/rules/Names.h"
#include "tools/vornacl/rules/Words.h"

namespace Tools {

namespace {

constexpr std::uint16_t maxPort = 65535;

/// Modules that do nothing but allow options; any other may match by itself.
constexpr std::string_view knownModules[] = {"tcp",   "udp",       "udplite", "sctp", "dccp", "icmp",
                                             "icmp6", "multiport", "comment", "dscp", "ttl",  "hl"};

class Reader {
 public:
  Reader(Cursor& line, Dorix::IpFamily family) : line_(line), family_(family), rule_(IpRule::any(family)) {}

  IpRule read() {
    while (!line_.atEnd()) {
      start_ = line_.position();
      isNegated_ = line_.wordIf("!");
      option(line_.word("an option"));
    }
    if (!hasTarget_) {
      start_ = line_.position();
      refuseHere("a rule cannot only count");
    }
    rule_.config.filterIs(filter_);
    return std::move(rule_);
  }

 private:
  using Handler = void (Reader::*)();
  struct Option {
    std::string_view name;
    bool mayBeNegated;
    Handler handler;
  };

  void option(std::string_view name) {
    static constexpr Option options[] = {
        {"-s", true, &Reader::source},
        {"-d", true, &Reader::destination},
        {"-p", true, &Reader::protocol},
        {"-m", false, &Reader::module},
        {"-j", false, &Reader::target},
        {"-f", false, &Reader::fragment},
        {"--sport", true, &Reader::sports},
        {"--dport", true, &Reader::dports},
        {"--sports", true, &Reader::sports},
        {"--dports", true, &Reader::dports},
        {"--syn", false, &Reader::syn},
        {"--tcp-flags", false, &Reader::flags},
        {"--icmp-type", false, &Reader::icmp},
        {"--icmpv6-type", false, &Reader::icmp},
        {"--dscp", false, &Reader::dscp},
        {"--ttl-eq", false, &Reader::ttl},
        {"--hl-eq", false, &Reader::ttl},
        {"--comment", false, &Reader::passOver},
        {"--reject-with", false, &Reader::passOver},
    };
    auto const known =
        std::find_if(std::begin(options), std::end(options), [&](Option const& option) { return option.name == name; });
    if (known == std::end(options) || (isNegated_ && !known->mayBeNegated)) {
      refuseHere(fmt::format("a filter has no place for \"{}{}\"", isNegated_ ? "! " : "", name));
    }
    (this->*known->handler)();
  }
  [[noreturn]] void refuseHere(std::string reason) const { throw Refused{start_ + 1, std::move(reason)}; }

  void source() { rule_.sources = addresses(); }
  void destination() { rule_.destinations = addresses(); }
  std::vector<Wildcard> addresses() {
    std::size_t const start = line_.position();
    std::string_view const word = line_.word("an address");
    std::size_t const slash = word.find('/');
    bool const isV6 = family_ == Dorix::IpFamily::ipv6;
    auto const value = addressBytes(word.substr(0, slash), family_);
    if (!value) {
      line_.fail(start, isV6 ? "an IPv6 address" : "an IPv4 address");
    }
    std::string_view const mask = slash != std::string_view::npos ? word.substr(slash + 1) : isV6 ? "128" : "32";
    if (auto const care = addressBytes(mask, family_)) {
      return checked(Wildcard::of(family_, *value, *care));
    }
    auto const length = numberOf(mask, isV6 ? 128 : 32);
    if (!length) {
      line_.fail(start + slash + 1, isV6 ? "a prefix length, 0 to 128" : "a prefix length, 0 to 32, or a mask");
    }
    return checked(Wildcard::of(Dorix::IpGenPrefix::fromBytes(family_, *value, *length)));
  }
  /// The addresses, or all others.
  std::vector<Wildcard> checked(Wildcard const& addresses) const {
    if (!isNegated_) {
      return {addresses};
    }
    auto const prefix = addresses.prefix();
    if (!prefix || prefix->length() == 0) {
      refuseHere("this takes more than prefixes");
    }
    std::vector<Wildcard> others;
    for (std::uint32_t length = 1; length <= prefix->length(); ++length) {
      Dorix::IpBytes bytes = prefix->addressBytes();
      bytes[(length - 1) / 8] ^= static_cast<std::uint8_t>(0x80U >> (length - 1) % 8);
      others.push_back(Wildcard::of(Dorix::IpGenPrefix::fromBytes(family_, bytes, length)));
    }
    return others;
  }

  void protocol() {
    constexpr char const* expected = "a protocol, by its name or a number from 0 to 255";
    std::size_t const start = line_.position();
    std::string_view const word = line_.word(expected);
    auto const number = numberOf(word, 255);
    auto const named = number ? std::optional(static_cast<std::uint8_t>(*number)) : protocolNumber(word);
    bool const isAny = word == "all" || number == 0U;
    if (isNegated_ && (isAny || !named)) {
      line_.fail(start, expected);
    }
    if (isAny) {
      return;
    }
    if (!named) {
      line_.fail(start, expected);
    }
    if (isNegated_) {
      rule_.protocols.resize(256);
      std::iota(rule_.protocols.begin(), rule_.protocols.end(), std::uint8_t{0});
      std::erase(rule_.protocols, *named);
      return;
    }
    filter_.protoIs(*named);
    filter_.matchProtoIs(true);
  }

  void module() {
    std::string_view const word = line_.word("the name of a module");
    if (std::find(std::begin(knownModules), std::end(knownModules), word) == std::end(knownModules)) {
      refuseHere(fmt::format("a filter has no place for what \"-m {}\" matches", word));
    }
  }
  void target() {
    std::string_view const word = line_.word("a target");
    if (word != "ACCEPT" && word != "DROP" && word != "REJECT") {
      refuseHere(fmt::format("a rule can permit or deny, not do \"{}\"", word));
    }
    rule_.config.actionIs(word == "ACCEPT" ? Acl::permit : Acl::deny);
    hasTarget_ = true;
  }
  void fragment() { filter_.fragmentsIs(true); }
  void passOver() { skipQuoted(line_, "a word or a text in quotes"); }

  void sports() { rule_.sports = ports(); }
  void dports() { rule_.dports = ports(); }
  std::vector<Vorn::L4PortRange> ports() {
    std::vector<Vorn::L4PortRange> list;
    std::size_t start = line_.position();
    for (std::string_view rest = line_.word("ports"); !rest.empty();) {
      std::string_view const item = rest.substr(0, rest.find(','));
      list.push_back(range(item, start));
      start += item.size() + 1;
      rest.remove_prefix(std::min(item.size() + 1, rest.size()));
    }
    list = isNegated_ ? otherPorts(std::move(list)) : std::move(list);
    if (list.empty()) {
      refuseHere("this matches no port");
    }
    return list;
  }
  /// A port, or two with a colon between; the first or the last may be missing.
  Vorn::L4PortRange range(std::string_view item, std::size_t start) const {
    std::size_t const colon = item.find(':');
    std::string_view const first = item.substr(0, colon);
    std::string_view const last = colon != std::string_view::npos ? item.substr(colon + 1) : first;
    auto const low = first.empty() && colon == 0 ? std::optional(0U) : numberOf(first, maxPort);
    auto const high = last.empty() && colon != std::string_view::npos ? std::optional<std::uint32_t>(maxPort)
                                                                      : numberOf(last, maxPort);
    if (!low || !high) {
      line_.fail(start, "a port, 0 to 65535, or two with \":\" between");
    }
    if (*high < *low) {
      throw Refused{start + 1, fmt::format("a range from {} to {} matches no port", *low, *high)};
    }
    return {static_cast<std::uint16_t>(*low), static_cast<std::uint16_t>(*high)};
  }

  void syn() {
    constexpr std::uint8_t rst = 4, ack = 16, fin = 1, syn = 2;
    rule_.flags = {syn, rst | ack | fin};
  }
  void flags() {
    std::uint8_t const mask = flagSet();
    std::size_t const start = line_.position();
    std::uint8_t const set = flagSet();
    if ((set & ~mask) != 0) {
      line_.fail(start, "some of the flags before");
    }
    rule_.flags = {set, static_cast<std::uint8_t>(mask & ~set)};
  }
  std::uint8_t flagSet() {
    std::size_t const start = line_.position();
    std::string_view rest = line_.word("TCP flags");
    if (rest == "ALL" || rest == "NONE") {
      return rest == "ALL" ? Vorn::IpFilter::TcpFlag::max : 0;
    }
    std::uint8_t set = 0;
    while (!rest.empty()) {
      std::string name(rest.substr(0, rest.find(',')));
      rest.remove_prefix(std::min(name.size() + 1, rest.size()));
      std::transform(name.begin(), name.end(), name.begin(), [](char c) { return static_cast<char>(c | 0x20); });
      auto const bit = tcpFlagBit(name);
      if (!bit) {
        line_.fail(start, "names of TCP flags with commas between");
      }
      set |= *bit;
    }
    return set;
  }

  void icmp() {
    constexpr char const* expected = "an ICMP type, 0 to 255, or a type, \"/\" and a code";
    std::size_t const start = line_.position();
    std::string_view const word = line_.word(expected);
    if (word == "any") {
      return;
    }
    std::size_t const slash = word.find('/');
    auto const type = numberOf(word.substr(0, slash), 255);
    auto const code = slash != std::string_view::npos ? numberOf(word.substr(slash + 1), 255)
                                                      : std::optional<std::uint32_t>(Vorn::IpFilter::icmpAll);
    if (!type || !code) {
      line_.fail(start, expected);
    }
    filter_.icmpTypeIs(static_cast<std::uint16_t>(*type));
    filter_.icmpCodeIs(static_cast<std::uint16_t>(*code));
  }
  void dscp() {
    constexpr char const* expected = "a code point, 0x00 to 0x3f";
    std::size_t const start = line_.position();
    std::string_view const word = line_.word(expected);
    unsigned number = 64;
    if (word.starts_with("0x")) {
      std::from_chars(word.data() + 2, word.data() + word.size(), number, 16);
    }
    if (number > 63) {
      line_.fail(start, expected);
    }
    filter_.dscpIs(static_cast<std::uint8_t>(number));
    filter_.matchDscpIs(true);
  }
  void ttl() {
    filter_.ttlIs(static_cast<std::uint8_t>(numberWord(line_, 255, "a number of hops, 0 to 255")));
    filter_.includeTtlIs(true);
  }

  Cursor& line_;
  Dorix::IpFamily family_;
  IpRule rule_;
  Vorn::IpFilter filter_;
  std::size_t start_ = 0;  ///< of the option that is read, with what negates it
  bool isNegated_ = false;
  bool hasTarget_ = false;
};

}  // namespace

IpRule readPacketFilterRule(Cursor& line, Dorix::IpFamily family) { return Reader(line, family).read(); }

}  // namespace Tools
