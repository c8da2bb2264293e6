#include "tools/vornacl/rules/Rule.h"

#include <algorithm>
#include <bit>

#include <fmt/format.h>

#include "tools/common/ClassBench.h"

namespace Tools {

namespace {

/// A rule that takes more exact ones than this is no use to a chip.
constexpr std::size_t mostExactRules = 65536;

constexpr bool bitOf(Dorix::IpBytes const& bytes, unsigned n) {
  return (unsigned{bytes[n / 8]} >> (7 - n % 8) & 1U) != 0;
}

constexpr unsigned bitsOf(Dorix::IpFamily family) {
  return family == Dorix::IpFamily::ipv6 ? Dorix::ipv6Bits : Dorix::ipv4Bits;
}

/// One past the last bit that counts.
unsigned lengthOf(Wildcard const& wildcard) {
  unsigned length = bitsOf(wildcard.family);
  while (length > 0 && !bitOf(wildcard.care, length - 1)) {
    --length;
  }
  return length;
}

/// Calls `use` with each prefix that together name the addresses, in ascending order.
template <class Use>
void forEachPrefix(Wildcard const& wildcard, Use use) {
  std::vector<unsigned> free;
  unsigned const length = lengthOf(wildcard);
  for (unsigned n = length; n-- > 0;) {
    if (!bitOf(wildcard.care, n)) {
      free.push_back(n);
    }
  }
  for (std::size_t i = 0; i < std::size_t{1} << free.size(); ++i) {
    Dorix::IpBytes bytes = wildcard.value;
    for (std::size_t k = 0; k < free.size(); ++k) {
      bytes[free[k] / 8] |= static_cast<std::uint8_t>((i >> k & 1U) << (7 - free[k] % 8));
    }
    use(Dorix::IpGenPrefix::fromBytes(wildcard.family, bytes, length));
  }
}

template <class Use>
void forEachPrefix(std::vector<Wildcard> const& wildcards, Use use) {
  for (Wildcard const& wildcard : wildcards) {
    forEachPrefix(wildcard, use);
  }
}

/// How many prefixes name the same addresses; no more than just above what is allowed.
std::size_t countPrefixes(std::vector<Wildcard> const& wildcards) {
  std::size_t count = 0;
  for (Wildcard const& wildcard : wildcards) {
    unsigned const log2 = wildcard.prefixesLog2();
    count += log2 < 17 ? std::size_t{1} << log2 : mostExactRules + 1;
  }
  return count;
}

std::string whyNoFlags(TcpFlags flags) {
  std::string const names = flagNames(flags.clear);
  if (flags.clear != 0) {
    return "a filter has no place for TCP flags that must be clear" + (names.empty() ? "" : ", as " + names);
  }
  return flags.set > Vorn::IpFilter::TcpFlag::max ? "a filter has no place for the TCP flags ECE and CWR" : "";
}

/// The rules for every choice from the lists, sources first.
void appendExact(IpRule const& rule, Vorn::IpFilter filter, std::vector<Vorn::IpRuleConfig>& to) {
  Vorn::IpRuleConfig config = rule.config;
  forEachPrefix(rule.sources, [&](Dorix::IpGenPrefix const& source) {
    filter.sourceIs(source);
    forEachPrefix(rule.destinations, [&](Dorix::IpGenPrefix const& destination) {
      filter.destinationIs(destination);
      for (Vorn::L4PortRange const sports : rule.sports) {
        for (Vorn::L4PortRange const dports : rule.dports) {
          filter.sportRangeIs(sports);
          filter.dportRangeIs(dports);
          setL4Rule(filter);
          config.filterIs(filter);
          to.push_back(config);
        }
      }
    });
  });
}

}  // namespace

Wildcard Wildcard::of(Dorix::IpFamily family, Dorix::IpBytes const& value, Dorix::IpBytes const& care) {
  Wildcard result{family, value, care};
  for (std::size_t i = 0; i < value.size(); ++i) {
    result.value[i] &= care[i];
  }
  return result;
}

Wildcard Wildcard::of(Dorix::IpGenPrefix const& prefix) {
  Wildcard result{prefix.family(), prefix.addressBytes(), {}};
  for (unsigned n = 0; n < prefix.length(); ++n) {
    result.care[n / 8] |= static_cast<std::uint8_t>(0x80U >> n % 8);
  }
  return result;
}

unsigned Wildcard::prefixesLog2() const {
  unsigned count = lengthOf(*this);
  for (std::uint8_t const byte : care) {
    count -= static_cast<unsigned>(std::popcount(byte));
  }
  return count;
}

std::optional<Dorix::IpGenPrefix> Wildcard::prefix() const {
  if (prefixesLog2() > 0) {
    return std::nullopt;
  }
  return Dorix::IpGenPrefix::fromBytes(family, value, lengthOf(*this));
}

IpRule IpRule::any(Dorix::IpFamily family) {
  IpRule rule;
  rule.sources = {Wildcard::any(family)};
  rule.destinations = {Wildcard::any(family)};
  return rule;
}

IpRule IpRule::of(Vorn::IpRuleConfig const& config, Dorix::IpFamily family) {
  IpRule rule;
  Vorn::IpFilter const& filter = config.filter();
  auto const addresses = [&](Dorix::IpGenPrefix const& prefix) {
    return prefix.family() == Dorix::IpFamily::unset ? Wildcard::any(family) : Wildcard::of(prefix);
  };
  rule.config = config;
  rule.sources = {addresses(filter.source())};
  rule.destinations = {addresses(filter.destination())};
  if (filter.l4Rule()) {
    rule.sports = {filter.sportRange()};
    rule.dports = {filter.dportRange()};
    rule.flags.set = static_cast<std::uint8_t>(filter.tcpFlag().value());
    return rule;
  }
  Vorn::IpFilter layer3 = filter;
  layer3.establishedIs(false);
  layer3.icmpTypeIs(Vorn::IpFilter::icmpAll);
  layer3.icmpCodeIs(Vorn::IpFilter::icmpAll);
  rule.config.filterIs(layer3);
  return rule;
}

Dorix::IpFamily familyOf(Acl::AclType type) {
  return type == Acl::ipv6 ? Dorix::IpFamily::ipv6 : Dorix::IpFamily::ipv4;
}

std::vector<Vorn::L4PortRange> otherPorts(std::vector<Vorn::L4PortRange> ranges) {
  std::sort(ranges.begin(), ranges.end(), [](auto a, auto b) { return a.rangeStart() < b.rangeStart(); });
  std::vector<Vorn::L4PortRange> result;
  std::uint32_t next = 0;
  for (Vorn::L4PortRange const range : ranges) {
    if (next < range.rangeStart()) {
      result.emplace_back(static_cast<std::uint16_t>(next), static_cast<std::uint16_t>(range.rangeStart() - 1));
    }
    next = std::max<std::uint32_t>(next, range.rangeEnd() + 1U);
  }
  if (next <= 65535) {
    result.emplace_back(static_cast<std::uint16_t>(next), 65535);
  }
  return result;
}

void setL4Rule(Vorn::IpFilter& filter) {
  filter.l4RuleIs(!filter.sportRange().isAny() || !filter.dportRange().isAny() || filter.tcpFlag().value() != 0 ||
                  filter.established() || filter.icmpType() != Vorn::IpFilter::icmpAll ||
                  filter.icmpCode() != Vorn::IpFilter::icmpAll);
}

ExactRules<Vorn::IpRuleConfig> exactRules(IpRule const& rule) {
  ExactRules<Vorn::IpRuleConfig> result;
  result.whyNot = whyNoFlags(rule.flags);
  std::size_t count = 1;
  for (std::size_t const factor : {countPrefixes(rule.sources), countPrefixes(rule.destinations), rule.sports.size(),
                                   rule.dports.size(), std::max<std::size_t>(rule.protocols.size(), 1)}) {
    count = std::min(count * std::min(factor, mostExactRules + 1), mostExactRules + 1);
  }
  if (result.whyNot.empty() && count > mostExactRules) {
    result.areTooMany = true;
    result.whyNot = fmt::format("this takes more than {} exact rules", mostExactRules);
  }
  if (!result.whyNot.empty()) {
    return result;
  }
  Vorn::IpFilter filter = rule.config.filter();
  filter.tcpFlagIs(Vorn::IpFilter::TcpFlag(rule.flags.set));
  if (rule.protocols.empty()) {
    appendExact(rule, filter, result.rules);
  }
  for (std::uint8_t const protocol : rule.protocols) {
    filter.protoIs(protocol);
    filter.matchProtoIs(true);
    appendExact(rule, filter, result.rules);
  }
  return result;
}

ExactRules<Vorn::MacRuleConfig> exactRules(MacRule const& rule) {
  Vorn::MacFilter filter = rule.config.filter();
  if (filter.proto() == Vorn::MacFilter::protoAll || rule.protoCare == 0xffff) {
    return {{rule.config}, "", false};
  }
  ExactRules<Vorn::MacRuleConfig> result;
  std::uint32_t const free = ~std::uint32_t{rule.protoCare} & 0xffff;
  Vorn::MacRuleConfig config = rule.config;
  for (std::uint32_t choice = 0;; choice = (choice - free) & free) {  // every subset of the free bits, ascending
    filter.protoIs((rule.config.filter().proto() & rule.protoCare) | choice);
    config.filterIs(filter);
    result.rules.push_back(config);
    if (choice == free) {
      return result;
    }
  }
}

}  // namespace Tools
