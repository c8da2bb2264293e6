// The position of a rule in an ACL.
#pragma once

#include "Vorn/Names.h"

namespace Vorn {

/// The position of one rule inside an ACL and the key of its rule maps. Ordered by `ruleId`, `subRuleId`, `subIndex`,
/// each an unsigned 32-bit number; the default is 0.0.0.
class VORNACL_API AceIndex : public Kro::Value<AceIndex> {
 public:
  /// The rule number that marks an invalid rule.
  static constexpr std::uint32_t ruleInvalid = 0xffffffff;

  AceIndex() = default;
  AceIndex(std::uint32_t ruleId, std::uint32_t subRuleId, std::uint32_t subIndex)
      : ruleId_(ruleId), subRuleId_(subRuleId), subIndex_(subIndex) {}
  AceIndex(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }
  AceIndex(Kro::NboAttrLog::In* in, Kro::StreamBogon) { readLog(*in); }

  std::uint32_t ruleId() const { return ruleId_; }
  std::uint32_t subRuleId() const { return subRuleId_; }
  std::uint32_t subIndex() const { return subIndex_; }

  /// The three numbers joined by dots, as 10.0.2.
  Kro::String8 toStr() const;
  bool operator==(AceIndex const&) const = default;

  struct Attributes;

 private:
  std::uint32_t ruleId_ = 0;
  std::uint32_t subRuleId_ = 0;
  std::uint32_t subIndex_ = 0;
};

struct AceIndex::Attributes {
  using T = AceIndex;
  static constexpr std::string_view typeName = "Vorn::AceIndex";
  static constexpr auto all = std::tuple{
      Kro::constant(2, "ruleInvalid", T::ruleInvalid),
      Kro::fixed(3, "ruleId", &T::ruleId_),
      Kro::fixed(4, "subRuleId", &T::subRuleId_),
      Kro::fixed(5, "subIndex", &T::subIndex_),
      Kro::function(6, "toStr", &T::toStr),
      Kro::function(7, "hash", &T::hash),
  };
};

}  // namespace Vorn
