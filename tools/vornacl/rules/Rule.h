// Rules as files write them: a rule may name more than one filter of the model can hold.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "VornAclTable/AceIndex.h"
#include "VornAclTable/IpRuleConfig.h"
#include "VornAclTable/MacRuleConfig.h"
#include "platform/Acl/AclType.h"
#include "tools/common/Trees.h"

namespace Tools {

/// Addresses of one family: those that equal `value` in the bits that `care` has set. `value` has no other bits.
struct Wildcard {
  Dorix::IpFamily family = Dorix::IpFamily::ipv4;
  Dorix::IpBytes value{};
  Dorix::IpBytes care{};

  /// Every address of a family.
  static Wildcard any(Dorix::IpFamily family) { return {family, {}, {}}; }
  /// Bits that do not count are cleared.
  static Wildcard of(Dorix::IpFamily family, Dorix::IpBytes const& value, Dorix::IpBytes const& care);
  static Wildcard of(Dorix::IpGenPrefix const& prefix);
  /// The prefix that names the same addresses, if there is one.
  std::optional<Dorix::IpGenPrefix> prefix() const;
  /// How many prefixes name the same addresses, as a power of two.
  unsigned prefixesLog2() const;
};

/// TCP flags (RFC 9293) that must be set, and those that must be clear; bit 0 is FIN, bit 7 is CWR.
struct TcpFlags {
  std::uint8_t set = 0;
  std::uint8_t clear = 0;

  friend bool operator==(TcpFlags, TcpFlags) = default;
};

/// An IP rule. Of each list any one has to match; what a list names is not set in `config`.
struct IpRule {
  Vorn::IpRuleConfig config;
  std::vector<Wildcard> sources;
  std::vector<Wildcard> destinations;
  std::vector<Vorn::L4PortRange> sports{{0, 65535}};
  std::vector<Vorn::L4PortRange> dports{{0, 65535}};
  /// Empty where `config` names the protocol, or none.
  std::vector<std::uint8_t> protocols;
  TcpFlags flags;

  /// Whether addresses and protocol are not lists.
  bool isOneLine() const { return sources.size() == 1 && destinations.size() == 1 && protocols.empty(); }
  /// A rule that any packet of a family meets.
  static IpRule any(Dorix::IpFamily family);
  /// What a rule of the model matches. Layer-4 fields take part where `l4Rule` says so, an unset prefix is any address.
  static IpRule of(Vorn::IpRuleConfig const& config, Dorix::IpFamily family);
};

/// A MAC rule. Of its EtherType the bits of `protoCare` count; none of them where `config` matches any.
struct MacRule {
  Vorn::MacRuleConfig config;
  std::uint16_t protoCare = 0xffff;
};

/// A list of rules, of which the first that a packet meets counts.
struct List {
  Acl::AclType type = Acl::ip;
  std::string name;
};

struct ListedRule {
  std::size_t list = 0;  ///< index in `RuleSet::lists`
  Vorn::AceIndex position;
  std::size_t line = 0;
  std::variant<IpRule, MacRule> rule;
};

enum class Form { classBench, accessList, packetFilter, tree };

/// What a file holds, rules in its order.
struct RuleSet {
  std::string file;
  Form form = Form::classBench;
  std::vector<List> lists;
  std::vector<ListedRule> rules;
  /// Of the text of a tree: the tree, and its ACLs by list.
  Tree tree;
  std::vector<Kro::Ptr<Vorn::VornAcl>> acls;
};

Dorix::IpFamily familyOf(Acl::AclType type);

/// Exact rules of the model that together match what a rule matches, or why there are none.
template <class Config>
struct ExactRules {
  std::vector<Config> rules;
  std::string whyNot;
  bool areTooMany = false;  ///< there are such rules, but more than a chip would take
};
ExactRules<Vorn::IpRuleConfig> exactRules(IpRule const& rule);
ExactRules<Vorn::MacRuleConfig> exactRules(MacRule const& rule);

/// The ports that are in none of these ranges.
std::vector<Vorn::L4PortRange> otherPorts(std::vector<Vorn::L4PortRange> ranges);

/// Says whether layer-4 fields take part in a filter, by whether any of them narrows it.
void setL4Rule(Vorn::IpFilter& filter);

}  // namespace Tools
