#include "tools/vornacl/rules/AccessListRule.h"

#include <algorithm>

#include "runtime/core/Exception.h"

namespace Tools {

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

AccessListRule readAccessListRule(Cursor& line, RuleGrammar grammar, Acl::Action action) {
  bool const isMac = grammar == RuleGrammar::mac || grammar == RuleGrammar::macSource;
  AccessListRule result = isMac ? readMacRule(line, grammar) : readIpRule(line, grammar);
  std::visit([&](auto& rule) { rule.config.actionIs(action); }, result.rule);
  return result;
}

}  // namespace Tools
