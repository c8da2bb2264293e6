#include "GenRange/L4PortRange.h"

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Vorn::L4PortRange>;

namespace Vorn {

bool L4PortRange::partiallyOverlaps(L4PortRange pr) const {
  if (pr.rangeStart_ == rangeStart_) {
    return false;  // one of them contains the other
  }
  if (pr.rangeStart_ < rangeStart_) {
    return rangeStart_ <= pr.rangeEnd_ && rangeEnd_ > pr.rangeEnd_;
  }
  return pr.rangeStart_ <= rangeEnd_ && rangeEnd_ < pr.rangeEnd_;
}

Kro::String8 L4PortRange::stringValue() const {
  std::string text = "[";
  Kro::appendInteger(text, std::uint16_t{rangeStart_});
  if (rangeStart_ != rangeEnd_) {
    text += ", ";
    Kro::appendInteger(text, std::uint16_t{rangeEnd_});
  }
  return Kro::String8(std::string_view(text += ']'));
}

std::uint32_t L4PortRange::hash() const {
  Kro::OneAtATimeHash hash;
  hash.mixInteger(rangeStart_, 2);
  hash.mixInteger(rangeEnd_, 2);
  return hash.value();
}

void L4PortRange::check() const {
  if (rangeStart_ > rangeEnd_) {
    Kro::throwRangeException("L4PortRange::rangeStart > L4PortRange::rangeEnd not allowed");
  }
}

}  // namespace Vorn
