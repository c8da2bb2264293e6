#include "GenRange/GenRange.h"

#include <algorithm>

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Vorn::GenRange>;

namespace Vorn {

void GenRange::require(bool allowed, char const* operation) {
  if (!allowed) {
    Kro::throwInternalException(operation);
  }
}

bool GenRange::isAny() const {
  require(genRangeType_ == ipRange || genRangeType_ == portRange, "bool Vorn::GenRange::isAny() const");
  return genRangeType_ == ipRange ? ipGenPrefix_.length() == 0 : l4PortRange_.isAny();
}

bool GenRange::contains(GenRange const& gr) const {
  require(genRangeType_ == gr.genRangeType_ && (genRangeType_ == ipRange || genRangeType_ == portRange),
          "bool Vorn::GenRange::contains(const Vorn::GenRange&) const");
  if (genRangeType_ == portRange) {
    return l4PortRange_.contains(gr.l4PortRange_);
  }
  Dorix::IpGenAddr const address = gr.ipGenPrefix_.ipGenAddr();
  if (address.family() != ipGenPrefix_.family() || ipGenPrefix_.length() > gr.ipGenPrefix_.length()) {
    return false;
  }
  switch (address.family()) {
    case Dorix::IpFamily::ipv4:
      return ipGenPrefix_.v4Prefix().contains(address.v4Addr());
    case Dorix::IpFamily::ipv6:
      return ipGenPrefix_.v6Prefix().contains(address.v6Addr());
    default:
      return false;  // what is unset contains nothing, not even itself
  }
}

bool GenRange::partiallyOverlaps(GenRange const& gr) const {
  require(genRangeType_ == gr.genRangeType_ && (genRangeType_ == ipRange || genRangeType_ == portRange),
          "bool Vorn::GenRange::partiallyOverlaps(const Vorn::GenRange&) const");
  return genRangeType_ == portRange && l4PortRange_.partiallyOverlaps(gr.l4PortRange_);
}

bool GenRange::lessThan(GenRange const& b) const {
  if (genRangeType_ != b.genRangeType_) {
    return b.genRangeType_ < genRangeType_;
  }
  if (genRangeType_ == ipRange) {
    return ipGenPrefix_ < b.ipGenPrefix_;
  }
  if (genRangeType_ != portRange || l4PortRange_ == b.l4PortRange_ || l4PortRange_.contains(b.l4PortRange_)) {
    return false;
  }
  return b.l4PortRange_.contains(l4PortRange_) || l4PortRange_ < b.l4PortRange_;
}

bool GenRange::operator==(GenRange const& other) const {
  if (genRangeType_ != other.genRangeType_) {
    return false;
  }
  if (genRangeType_ == ipRange) {
    return ipGenPrefix_.length() == other.ipGenPrefix_.length() &&
           std::ranges::equal(ipGenPrefix_.addressBytes(), other.ipGenPrefix_.addressBytes());
  }
  return genRangeType_ != portRange || l4PortRange_ == other.l4PortRange_;
}

Kro::String8 GenRange::stringValue() const {
  if (genRangeType_ == ipRange) {
    return ipGenPrefix_.stringValue();
  }
  return genRangeType_ == portRange ? l4PortRange_.stringValue() : Kro::String8("(n/a)");
}

std::uint32_t GenRange::hash() const {
  Kro::OneAtATimeHash hash;
  hash.mixInteger(static_cast<std::uint32_t>(genRangeType_), 4);
  if (genRangeType_ == ipRange) {
    for (std::uint8_t const byte : ipGenPrefix_.addressBytes()) {
      hash.mixByte(byte);
    }
    hash.mixInteger(ipGenPrefix_.length(), 4);
  } else if (genRangeType_ == portRange) {
    hash.mixInteger(l4PortRange_.rangeStart(), 2);
    hash.mixInteger(l4PortRange_.rangeEnd(), 2);
  }
  return hash.value();
}

}  // namespace Vorn
