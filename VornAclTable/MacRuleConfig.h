// A complete MAC rule.
#pragma once

#include "VornAclTable/MacFilter.h"
#include "VornAclTable/RuleConfig.h"

namespace Vorn {

/// One MAC rule of an ACL: its filter, the action, and whether matches are logged and counted.
class VORNACL_API MacRuleConfig : public RuleConfig<MacRuleConfig, MacFilter> {
 public:
  static constexpr std::string_view kroTypeName = "Vorn::MacRuleConfig";

  MacRuleConfig() = default;
  MacRuleConfig(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }
  MacRuleConfig(Kro::NboAttrLog::In* in, Kro::StreamBogon) { readLog(*in); }

  bool operator==(MacRuleConfig const&) const = default;
};

}  // namespace Vorn
