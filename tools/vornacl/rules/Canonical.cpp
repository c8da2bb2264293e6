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

/// ADDR/LEN or ADDR&CARE; empty where the prefixes are not the addresses of one.
std::string addressesText(std::vector<Dorix::IpGenPrefix> prefixes) {
  std::string text;
  if (prefixes.size() == 1) {
    prefixes[0].stringTo(text);
    return text;
  }
  std::vector<Dorix::IpBytes> values;
  for (Dorix::IpGenPrefix const& prefix : prefixes) {
    if (prefix.length() != prefixes[0].length()) {
      return "";
    }
    values.push_back(prefix.addressBytes());
  }
  auto const care = careOf(values, Wildcard::of(prefixes[0]).care);
  if (!care) {
    return "";
  }
  Dorix::IpFamily const family = prefixes[0].family();
  return addressText(family, Wildcard::of(family, values[0], *care).value) + "&" + addressText(family, *care);
}

std::string portsText(std::vector<Vorn::L4PortRange> const& ranges) {
  std::string text;
  for (Vorn::L4PortRange const range : ranges) {
    text += fmt::format("{}{}-{}", text.empty() ? "" : ",", std::uint16_t{range.rangeStart()},
                        std::uint16_t{range.rangeEnd()});
  }
  return text;
}

void appendAttributes(std::string& text, Vorn::IpRuleConfig const& rule) {
  Vorn::IpFilter const& filter = rule.filter();
  text += filter.established() ? " established" : "";
  if (filter.icmpType() != Vorn::IpFilter::icmpAll) {
    text += fmt::format(" icmp={}", filter.icmpType());
    text += filter.icmpCode() != Vorn::IpFilter::icmpAll ? fmt::format("/{}", filter.icmpCode()) : "";
  }
  text += filter.matchDscp() ? fmt::format(" dscp={}", filter.dscp()) : "";
  text += filter.fragments() ? " fragments" : "";
  text += rule.log() ? " log" : "";
  if (std::string flags = flagNames(filter.tcpFlag().value()); !flags.empty()) {
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

std::string appendIpLine(std::string& text, std::string const& start, std::vector<Vorn::IpRuleConfig> const& rules) {
  std::vector<Dorix::IpGenPrefix> sources, destinations;
  Values<Vorn::L4PortRange> sports, dports;
  Vorn::IpRuleConfig const common = commonOf(rules[0]);
  for (Vorn::IpRuleConfig const& rule : rules) {
    sources.push_back(rule.filter().source());
    destinations.push_back(rule.filter().destination());
    sports.add(rule.filter().sportRange());
    dports.add(rule.filter().dportRange());
    if (!(commonOf(rule) == common)) {
      return severalMeanings;
    }
  }
  for (auto* const prefixes : {&sources, &destinations}) {
    std::sort(prefixes->begin(), prefixes->end());
    prefixes->erase(std::unique(prefixes->begin(), prefixes->end()), prefixes->end());
  }
  std::string const from = addressesText(sources);
  std::string const to = addressesText(destinations);
  if (from.empty() || to.empty() ||
      rules.size() != sources.size() * destinations.size() * sports.size() * dports.size()) {
    return severalMeanings;
  }
  Vorn::IpFilter const& filter = rules[0].filter();
  if (filter.includeTtl()) {
    return "a canonical line has no place for the time to live";
  }
  text += fmt::format("{} {} {} {} {} {} {}", start, stringValue(rules[0].action()).view(),
                      filter.matchProto() ? std::to_string(filter.proto()) : "any", from, to, portsText(sports.all()),
                      portsText(dports.all()));
  appendAttributes(text, rules[0]);
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
  auto const rules = rulesUnder<Vorn::IpRuleConfig>(rule.acl->ipRuleByIdMap(), number);
  if (form == Form::classBench) {
    appendCanonicalLine(text, index, rules.at(0));
    return "";
  }
  return appendIpLine(text, fmt::format("{} {} {}", index, listText(*rule.acl), number), rules);
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
