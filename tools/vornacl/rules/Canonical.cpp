#include "tools/vornacl/rules/Canonical.h"

#include <algorithm>
#include <bit>

#include <fmt/format.h>

#include "tools/common/ClassBench.h"
#include "tools/vornacl/rules/Describe.h"

namespace Tools {

namespace {

constexpr char const* severalMeanings = "the exact rules under this number are not one line";

/// The rules that stand under the number of `rule`.
template <class Config, class Map>
std::vector<Config> rulesUnder(Map const& map, std::uint32_t number) {
  std::vector<Config> rules;
  for (typename Map::IteratorConst at(map, Vorn::AceIndex(number, 0, 0)); at && at.key().ruleId() == number; ++at) {
    rules.push_back(at.value());
  }
  return rules;
}

/// What the rules have for a field, each value once, in the order in which they first have it.
template <class Value>
class Values {
 public:
  void add(Value const& value) {
    if (values_.empty() || !(values_.back() == value)) {
      if (std::find(values_.begin(), values_.end(), value) == values_.end()) {
        values_.push_back(value);
      }
    }
  }
  std::vector<Value> const& all() const { return values_; }
  std::size_t size() const { return values_.size(); }

 private:
  std::vector<Value> values_;
};

template <std::size_t n>
using Bytes = std::array<std::uint8_t, n>;

/// The bits in which all of some values agree, if the values are all that agree in them; the other bits are below
/// `length`.
template <std::size_t n>
std::optional<Bytes<n>> careOf(std::vector<Bytes<n>> const& values, Bytes<n> const& counted) {
  Bytes<n> care = counted;
  for (Bytes<n> const& value : values) {
    for (std::size_t i = 0; i < n; ++i) {
      care[i] &= static_cast<std::uint8_t>(~(value[i] ^ values[0][i]));
    }
  }
  unsigned free = 0;
  for (std::size_t i = 0; i < n; ++i) {
    free += static_cast<unsigned>(std::popcount(static_cast<unsigned>(counted[i] & ~care[i])));
  }
  return values.size() == std::size_t{1} << free ? std::optional(care) : std::nullopt;
}

/// The addresses that prefixes name together, if these are the addresses of one wildcard.
std::optional<Wildcard> together(std::vector<Wildcard> const& prefixes) {
  std::vector<Dorix::IpBytes> values;
  for (Wildcard const& prefix : prefixes) {
    if (prefix.care != prefixes[0].care) {
      return std::nullopt;
    }
    values.push_back(prefix.value);
  }
  auto const care = careOf(values, prefixes[0].care);
  return care ? std::optional(Wildcard::of(prefixes[0].family, values[0], *care)) : std::nullopt;
}

/// Sorts and drops what stands more than once.
void makeDistinct(std::vector<Wildcard>& wildcards) {
  auto const keyOf = [](Wildcard const& wildcard) { return std::pair(wildcard.value, wildcard.care); };
  std::sort(wildcards.begin(), wildcards.end(), [&](auto& a, auto& b) { return keyOf(a) < keyOf(b); });
  auto const end =
      std::unique(wildcards.begin(), wildcards.end(), [&](auto& a, auto& b) { return keyOf(a) == keyOf(b); });
  wildcards.erase(end, wildcards.end());
}

std::string portsText(std::vector<Vorn::L4PortRange> const& ranges) {
  std::string text;
  for (Vorn::L4PortRange const range : ranges) {
    text += fmt::format("{}{}-{}", text.empty() ? "" : ",", std::uint16_t{range.rangeStart()},
                        std::uint16_t{range.rangeEnd()});
  }
  return text;
}

void appendAttributes(std::string& text, IpRule const& rule) {
  Vorn::IpFilter const& filter = rule.config.filter();
  text += filter.established() ? " established" : "";
  if (filter.icmpType() != Vorn::IpFilter::icmpAll) {
    text += fmt::format(" icmp={}", filter.icmpType());
    text += filter.icmpCode() != Vorn::IpFilter::icmpAll ? fmt::format("/{}", filter.icmpCode()) : "";
  }
  text += filter.matchDscp() ? fmt::format(" dscp={}", filter.dscp()) : "";
  text += filter.fragments() ? " fragments" : "";
  text += rule.config.log() ? " log" : "";
  if (std::string flags = flagNames(rule.flags.set); !flags.empty()) {
    std::transform(flags.begin(), flags.end(), flags.begin(), [](char c) { return c == '+' ? c : char(c | 0x20); });
    text += " tcpflags=" + flags;
  }
}

/// A rule without what differs among the exact rules of one line.
Vorn::IpRuleConfig commonOf(Vorn::IpRuleConfig rule) {
  Vorn::IpFilter filter = rule.filter();
  filter.sourceIs({});
  filter.destinationIs({});
  filter.sportRangeIs({});
  filter.dportRangeIs({});
  filter.l4RuleIs(false);
  rule.filterIs(filter);
  return rule;
}

/// The rule that was written as these exact rules, if they are all the choices from its lists.
std::optional<IpRule> wholeRule(std::vector<Vorn::IpRuleConfig> const& rules, Dorix::IpFamily family) {
  IpRule whole = IpRule::of(rules.at(0), family);
  Values<Vorn::L4PortRange> sports, dports;
  for (Vorn::IpRuleConfig const& config : rules) {
    IpRule const rule = IpRule::of(config, family);
    whole.sources.push_back(rule.sources[0]);
    whole.destinations.push_back(rule.destinations[0]);
    sports.add(rule.sports[0]);
    dports.add(rule.dports[0]);
    if (!(commonOf(config) == commonOf(rules[0]))) {
      return std::nullopt;
    }
  }
  makeDistinct(whole.sources);
  makeDistinct(whole.destinations);
  auto const source = together(whole.sources);
  auto const destination = together(whole.destinations);
  std::size_t const choices = whole.sources.size() * whole.destinations.size() * sports.size() * dports.size();
  if (!source || !destination || rules.size() != choices) {
    return std::nullopt;
  }
  whole.sources = {*source};
  whole.destinations = {*destination};
  whole.sports = sports.all();
  whole.dports = dports.all();
  return whole;
}

/// ADDR/LEN or ADDR&CARE.
std::string addressesText(Wildcard const& wildcard) {
  if (auto const prefix = wildcard.prefix()) {
    std::string text;
    prefix->stringTo(text);
    return text;
  }
  return wildcardText(wildcard);
}

std::string appendIpLine(std::string& text, std::string const& start, IpRule const& rule) {
  Vorn::IpFilter const& filter = rule.config.filter();
  if (filter.includeTtl()) {
    return "a canonical line has no place for the time to live";
  }
  text += fmt::format("{} {} {} {} {} {} {}", start, stringValue(rule.config.action()).view(),
                      filter.matchProto() ? std::to_string(filter.proto()) : "any", addressesText(rule.sources[0]),
                      addressesText(rule.destinations[0]), portsText(rule.sports), portsText(rule.dports));
  appendAttributes(text, rule);
  text += '\n';
  return "";
}

std::string stationText(Dorix::EthAddr const& address, Dorix::EthAddr const& mask) {
  std::string text;
  address.stringTo(text);
  mask.stringTo(text += '/');
  return text;
}

std::string appendMacLine(std::string& text, std::string const& start, std::vector<Vorn::MacRuleConfig> const& rules) {
  std::vector<Bytes<2>> types;
  for (Vorn::MacRuleConfig rule : rules) {
    Vorn::MacFilter filter = rule.filter();
    types.push_back({static_cast<std::uint8_t>(filter.proto() >> 8U), static_cast<std::uint8_t>(filter.proto())});
    filter.protoIs(rules[0].filter().proto());
    rule.filterIs(filter);
    if (!(rule == rules[0])) {
      return severalMeanings;
    }
  }
  auto const care = careOf(types, {0xff, 0xff});
  if (!care) {
    return severalMeanings;
  }
  unsigned const mask = (*care)[0] * 256U + (*care)[1];
  Vorn::MacFilter const& filter = rules[0].filter();
  std::string type =
      filter.proto() == Vorn::MacFilter::protoAll ? "any" : fmt::format("0x{:04x}", filter.proto() & mask);
  type += rules.size() > 1 ? fmt::format("/0x{:04x}", mask) : "";
  text += fmt::format("{} {} {} {} {} - -{}\n", start, stringValue(rules[0].action()).view(), type,
                      stationText(filter.sourceAddr(), filter.sourceMask()),
                      stationText(filter.destinationAddr(), filter.destinationMask()), rules[0].log() ? " log" : "");
  return "";
}

std::string listText(Vorn::VornAcl const& acl) {
  std::string text = acl.aclType() == Acl::ipv6 ? "v6:" : acl.aclType() == Acl::mac ? "mac:" : "";
  return text.append(acl.cliName().view());
}

/// Appends the line of a rule, or nothing, and returns what the line has no place for.
std::string appendLine(std::string& text, std::uint32_t index, LoadedRule const& rule, Form form) {
  std::uint32_t const number = rule.position.ruleId();
  if (rule.acl->aclType() == Acl::mac) {
    return appendMacLine(text, fmt::format("{} {} {}", index, listText(*rule.acl), number),
                         rulesUnder<Vorn::MacRuleConfig>(rule.acl->macRuleByIdMap(), number));
  }
  std::string const start = fmt::format("{} {} {}", index, listText(*rule.acl), number);
  if (rule.tooWide) {
    return appendIpLine(text, start, *rule.tooWide);
  }
  auto const rules = rulesUnder<Vorn::IpRuleConfig>(rule.acl->ipRuleByIdMap(), number);
  if (form == Form::classBench) {
    appendCanonicalLine(text, index, rules.at(0));
    return "";
  }
  auto const whole = wholeRule(rules, familyOf(rule.acl->aclType()));
  return whole ? appendIpLine(text, start, *whole) : severalMeanings;
}

bool haveOneLine(LoadedRule const& a, LoadedRule const& b) {
  return a.acl.get() == b.acl.get() && a.position.ruleId() == b.position.ruleId();
}

}  // namespace

void appendCanonicalLines(std::string& text, LoadedFile const& file, Refusals& refusals,
                          std::function<void()> const& lineDone) {
  std::uint32_t index = 0;
  LoadedRule const* previous = nullptr;
  for (LoadedRule const& rule : file.rules) {
    if (previous != nullptr && haveOneLine(*previous, rule)) {
      continue;
    }
    previous = &rule;
    std::uint32_t const number = file.form == Form::classBench ? rule.position.ruleId() : index + 1;
    std::string const whyNot = appendLine(text, number, rule, file.form);
    if (whyNot.empty()) {
      ++index;
      lineDone();
    } else {
      refusals.add(rule.place, whyNot);
    }
  }
}

}  // namespace Tools
