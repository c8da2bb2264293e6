// The number of a rule list within a hardware table.
#pragma once

#include "Vorn/Names.h"

namespace Vorn {

/// Names a rule list, 0 to 255; the default is `invalid`, not 0. Its text is the bare number; a larger one in text is
/// truncated to 8 bits.
class VORNACL_API ChipRuleListId : public Kro::Value<ChipRuleListId> {
 public:
  /// Names no rule list.
  static constexpr std::uint8_t invalid = 255;

  ChipRuleListId() = default;
  ChipRuleListId(std::uint8_t value) : value_(value) {}
  ChipRuleListId(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readBareNumber(it, end); }
  ChipRuleListId(Kro::NboAttrLog::In* in, Kro::StreamBogon) { readLog(*in); }

  std::uint8_t value() const { return value_; }
  void valueIs(std::uint8_t value) { value_ = value; }
  /// The value itself, unmixed.
  std::uint32_t hash() const { return value_; }
  std::size_t textRoom() const { return Kro::maxDigits<std::uint8_t>; }
  char* textTo(char* to) const { return Kro::putInteger(to, value_); }
  bool operator==(ChipRuleListId const&) const = default;

  struct Attributes;

 private:
  std::uint8_t value_ = invalid;
};

struct ChipRuleListId::Attributes {
  using T = ChipRuleListId;
  static constexpr std::string_view typeName = "Vorn::ChipRuleListId";
  static constexpr auto all = std::tuple{
      Kro::stored(2, "value", &T::value_, &T::valueIs),
      Kro::constant(3, "invalid", T::invalid),
      Kro::function(4, "hash", &T::hash),
  };
};

}  // namespace Vorn
