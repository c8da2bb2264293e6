#include "VornAclTable/MacFilter.h"

#include "VornAclTable/VornAclTableRegistration.h"

template <>
Kro::Ptr<Kro::KroType const> Kro::Value<Vorn::MacFilter>::_fwkType() {
  return detail::valueType<Vorn::MacFilter>(&Vorn::kroInitVornAclTable);
}
template class Kro::Value<Vorn::MacFilter>;

namespace Vorn {

MacFilter::MacFilter(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  Kro::readRecord(*this, it, end);
}
MacFilter::MacFilter(Kro::NboAttrLog::In* in, Kro::StreamBogon)
    : MacFilter(Kro::NboAttrLog::nextValue<MacFilter>(*in)) {}

Kro::String8 MacFilter::toStr() const {
  std::string text = "(src=";
  text += sourceAddr_.stringValue().view();
  text += ", srcMask=";
  text += sourceMask_.stringValue().view();
  text += ", dst=";
  text += destinationAddr_.stringValue().view();
  text += ", dstMask=";
  text += destinationMask_.stringValue().view();
  text += ", proto=";
  if (proto_ == protoAll) {
    text += "ANY";
  } else {
    Kro::appendInteger(text, proto_);
  }
  return Kro::String8(std::string_view(text += ')'));
}

}  // namespace Vorn
