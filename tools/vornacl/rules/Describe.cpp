#include "tools/vornacl/rules/Describe.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/common/ClassBench.h"
#include "tools/vornacl/rules/Names.h"

namespace Tools {

namespace {

template <class Element, class Text>
std::string joined(std::vector<Element> const& list, Text text) {
  std::string result;
  for (Element const& element : list) {
    result += (result.empty() ? "" : ",") + text(element);
  }
  return result;
}

std::string protocolText(std::uint8_t number) {
  for (char const* const name : {"tcp", "udp", "icmp"}) {
    if (protocolNumber(name) == number) {
      return name;
    }
  }
  return std::to_string(number);
}

std::string portsText(char const* name, std::vector<Vorn::L4PortRange> const& ranges) {
  if (ranges.size() == 1 && ranges[0].isAny()) {
    return "";
  }
  return fmt::format(" {} {}", name, joined(ranges, [](Vorn::L4PortRange range) {
                       std::uint16_t const low = range.rangeStart();
                       std::uint16_t const high = range.rangeEnd();
                       return low == high ? std::to_string(low) : fmt::format("{}-{}", low, high);
                     }));
}

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? char(c | 0x20) : c; });
  return text;
}

std::string flagsText(TcpFlags flags) {
  std::string const set = lowered(flagNames(flags.set));
  std::string const clear = lowered(flagNames(flags.clear));
  return (set.empty() ? "" : " flags " + set) + (clear.empty() ? "" : " without " + clear);
}

template <class Config>
std::string actionText(Config const& config) {
  return std::string(stringValue(config.action()).view());
}

std::string stationText(Dorix::EthAddr const& address, Dorix::EthAddr const& mask) {
  std::string text;
  if (mask == Dorix::EthAddr()) {
    return "any";
  }
  address.stringTo(text);
  mask.stringTo(text += '&');
  return text;
}

}  // namespace

std::string positionText(Vorn::AceIndex const& position) {
  std::string text = std::to_string(position.ruleId());
  if (position.subRuleId() != 0 || position.subIndex() != 0) {
    text += fmt::format(".{}", position.subRuleId());
  }
  return position.subIndex() != 0 ? text + fmt::format(".{}", position.subIndex()) : text;
}

std::string addressText(Dorix::IpFamily family, Dorix::IpBytes const& bytes) {
  auto const prefix = Dorix::IpGenPrefix::fromBytes(family, bytes, family == Dorix::IpFamily::ipv6 ? 128 : 32);
  std::string text;
  prefix.stringTo(text);
  return text.substr(0, text.find('/'));
}

std::string wildcardText(Wildcard const& wildcard) {
  if (auto const prefix = wildcard.prefix()) {
    std::string text;
    prefix->stringTo(text);
    return prefix->length() == 0 ? "any" : text;
  }
  return addressText(wildcard.family, wildcard.value) + "&" + addressText(wildcard.family, wildcard.care);
}

std::string describe(IpRule const& rule) {
  Vorn::IpFilter const& filter = rule.config.filter();
  std::string const protocols = joined(rule.protocols, protocolText);
  std::string text = actionText(rule.config);
  text += fmt::format(" {}", !protocols.empty()    ? protocols
                             : filter.matchProto() ? protocolText(filter.proto())
                                                   : "ip");
  text += fmt::format(" {} {}", joined(rule.sources, wildcardText), joined(rule.destinations, wildcardText));
  text += portsText("sport", rule.sports) + portsText("dport", rule.dports);
  text += flagsText(rule.flags);
  text += filter.established() ? " established" : "";
  if (filter.icmpType() != Vorn::IpFilter::icmpAll) {
    text += fmt::format(" icmp {}", filter.icmpType());
    text += filter.icmpCode() != Vorn::IpFilter::icmpAll ? fmt::format("/{}", filter.icmpCode()) : "";
  }
  text += filter.matchDscp() ? fmt::format(" dscp {}", filter.dscp()) : "";
  text += filter.includeTtl() ? fmt::format(" ttl {}", filter.ttl()) : "";
  text += filter.fragments() ? " fragments" : "";
  text += rule.config.log() ? " log" : "";
  return text;
}

std::string describe(MacRule const& rule) {
  Vorn::MacFilter const& filter = rule.config.filter();
  std::string text = actionText(rule.config);
  text += " " + stationText(filter.sourceAddr(), filter.sourceMask());
  text += " " + stationText(filter.destinationAddr(), filter.destinationMask());
  if (filter.proto() != Vorn::MacFilter::protoAll) {
    text += fmt::format(" ethertype 0x{:04x}", filter.proto());
    text += rule.protoCare != 0xffff ? fmt::format("&0x{:04x}", rule.protoCare) : "";
  }
  return text + (rule.config.log() ? " log" : "");
}

}  // namespace Tools
