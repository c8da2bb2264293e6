// A complete IP rule.
#pragma once

#include "VornAclTable/IpFilter.h"
#include "VornAclTable/RuleConfig.h"

namespace Vorn {

/// One IP rule of an ACL: its filter, the action, and whether matches are logged and counted.
class VORNACL_API IpRuleConfig : public RuleConfig<IpRuleConfig, IpFilter> {
 public:
  static constexpr std::string_view kroTypeName = "Vorn::IpRuleConfig";

  IpRuleConfig() = default;
  IpRuleConfig(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }
  IpRuleConfig(Kro::NboAttrLog::In* in, Kro::StreamBogon) { readLog(*in); }

  bool operator==(IpRuleConfig const&) const = default;
};

}  // namespace Vorn
