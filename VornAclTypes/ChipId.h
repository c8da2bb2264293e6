// The number of a chip.
#pragma once

#include "Vorn/Names.h"

namespace Vorn {

/// Names a chip, 0 to 65535. Its text is the bare number; a larger one in text is truncated to 16 bits.
class VORNACL_API ChipId : public Kro::Value<ChipId> {
 public:
  ChipId() = default;
  ChipId(std::uint16_t value) : value_(value) {}
  ChipId(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readBareNumber(it, end); }
  ChipId(Kro::NboAttrLog::In* in, Kro::StreamBogon) { readLog(*in); }

  std::uint16_t value() const { return value_; }
  std::size_t textRoom() const { return Kro::maxDigits<std::uint16_t>; }
  char* textTo(char* to) const { return Kro::putInteger(to, value_); }
  bool operator==(ChipId const&) const = default;

  struct Attributes;

 private:
  std::uint16_t value_ = 0;
};

struct ChipId::Attributes {
  using T = ChipId;
  static constexpr std::string_view typeName = "Vorn::ChipId";
  static constexpr auto all = std::tuple{
      Kro::fixed(2, "value", &T::value_),
      Kro::function(3, "hash", &T::hash),
  };
};

}  // namespace Vorn
