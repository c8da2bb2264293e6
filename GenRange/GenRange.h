// A range of ports or of addresses in one value. Also the umbrella of this model source.
#pragma once

#include "GenRange/GenRangeType.h"
#include "GenRange/L4PortRange.h"
#include "platform/Dorix/IpGenPrefix.h"

namespace Vorn {

/// A generic range: an `L4PortRange` or an IP prefix, `genRangeType` says which. Both members are always there; only
/// the selected one takes part in `==`, `<`, `hash` and `stringValue`, while text and attribute log carry all three.
///
/// `==` and `hash` ignore the family of a prefix, `<` does not: two generic ranges of different families can be equal
/// and yet ordered. It is a key nowhere.
class VORNACL_API GenRange : public Kro::Value<GenRange> {
 public:
  GenRange() = default;
  GenRange(L4PortRange l4PortRange, Dorix::IpGenPrefix const& ipGenPrefix, GenRangeType genRangeType)
      : l4PortRange_(l4PortRange), ipGenPrefix_(ipGenPrefix), genRangeType_(genRangeType) {}
  GenRange(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }
  GenRange(Kro::NboAttrLog::In* in, Kro::StreamBogon) { readLog(*in); }

  L4PortRange l4PortRange() const { return l4PortRange_; }
  Dorix::IpGenPrefix const& ipGenPrefix() const { return ipGenPrefix_; }
  GenRangeType genRangeType() const { return genRangeType_; }

  /// The whole space of its kind. Precondition: the kind is `ipRange` or `portRange`.
  bool isAny() const;
  /// Everything in `gr` is in this range. Precondition: both are of one kind, `ipRange` or `portRange`.
  bool contains(GenRange const& gr) const;
  /// The ranges share something and neither contains the other; never so for prefixes. Precondition as for `contains`.
  bool partiallyOverlaps(GenRange const& gr) const;
  /// The order of `<`: kinds from the highest number down; a port range before every one that contains it.
  bool lessThan(GenRange const& b) const;
  /// The selected member's text, "(n/a)" where none is.
  Kro::String8 stringValue() const;
  /// One-at-a-time hash of the kind and the bytes of the selected member.
  std::uint32_t hash() const;

  bool operator==(GenRange const& other) const;

  struct Attributes;

 private:
  /// Throws `InternalException` naming `operation` unless `allowed`.
  static void require(bool allowed, char const* operation);

  L4PortRange l4PortRange_;
  Dorix::IpGenPrefix ipGenPrefix_;
  GenRangeType genRangeType_ = unknownRange;
};

struct GenRange::Attributes {
  using T = GenRange;
  static constexpr std::string_view typeName = "Vorn::GenRange";
  static constexpr auto all = std::tuple{
      Kro::fixed(2, "l4PortRange", &T::l4PortRange_),
      Kro::fixed(3, "ipGenPrefix", &T::ipGenPrefix_),
      Kro::fixed(4, "genRangeType", &T::genRangeType_),
      Kro::function(5, "isAny", &T::isAny),
      Kro::function(6, "contains", &T::contains, "gr"),
      Kro::function(7, "partiallyOverlaps", &T::partiallyOverlaps, "gr"),
      Kro::function(8, "stringValue", &T::stringValue),
      Kro::function(9, "hash", &T::hash),
      Kro::function(10, "lessThan", &T::lessThan, "b"),
  };
};

}  // namespace Vorn
