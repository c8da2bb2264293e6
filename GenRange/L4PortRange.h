// An inclusive range of layer-4 ports.
#pragma once

#include "Vorn/Names.h"
#include "platform/Dorix/Port.h"

namespace Vorn {

/// An inclusive range of layer-4 (TCP, UDP) ports, each 0 to 65535. The default is the single port 0, not the whole
/// port space. That the start is not above the end is checked where a range is read from text or made by reflection,
/// not by the constructor from fields nor by the attribute log.
class VORNACL_API L4PortRange : public Kro::Value<L4PortRange> {
 public:
  L4PortRange() = default;
  L4PortRange(Dorix::Port rangeStart, Dorix::Port rangeEnd) : rangeStart_(rangeStart), rangeEnd_(rangeEnd) {}
  L4PortRange(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }
  L4PortRange(Kro::NboAttrLog::In* in, Kro::StreamBogon) { readLog(*in); }

  /// First port of the range.
  Dorix::Port rangeStart() const { return rangeStart_; }
  /// Last port of the range, inclusive.
  Dorix::Port rangeEnd() const { return rangeEnd_; }

  /// The whole port space, 0 to 65535.
  bool isAny() const { return rangeStart_ == 0 && rangeEnd_ == 65535; }
  /// Every port of `pr` is in this range; a range contains itself.
  bool contains(L4PortRange pr) const { return rangeStart_ <= pr.rangeStart_ && rangeEnd_ >= pr.rangeEnd_; }
  /// The ranges share a port and neither contains the other.
  bool partiallyOverlaps(L4PortRange pr) const;
  /// "[80]" for a single port, else "[1024, 65535]".
  Kro::String8 stringValue() const;
  /// One-at-a-time hash of the four bytes of the record.
  std::uint32_t hash() const;

  /// Throws `RangeException` where the start is above the end.
  void check() const;

  bool operator==(L4PortRange const&) const = default;

  struct Attributes;

 private:
  Dorix::Port rangeStart_ = 0;
  Dorix::Port rangeEnd_ = 0;
};

struct L4PortRange::Attributes {
  using T = L4PortRange;
  static constexpr std::string_view typeName = "Vorn::L4PortRange";
  static constexpr auto all = std::tuple{
      Kro::fixed(2, "rangeStart", &T::rangeStart_),
      Kro::fixed(3, "rangeEnd", &T::rangeEnd_),
      Kro::function(4, "isAny", &T::isAny),
      Kro::function(5, "partiallyOverlaps", &T::partiallyOverlaps, "pr"),
      Kro::function(6, "contains", &T::contains, "pr"),
      Kro::function(7, "stringValue", &T::stringValue),
      Kro::function(8, "hash", &T::hash),
  };
};

}  // namespace Vorn
