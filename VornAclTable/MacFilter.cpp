#include "VornAclTable/MacFilter.h"

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Vorn::MacFilter>;

namespace Vorn {

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
