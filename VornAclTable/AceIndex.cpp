#include "VornAclTable/AceIndex.h"

#include "VornAclTable/VornAclTableRegistration.h"

template <>
Kro::Ptr<Kro::KroType const> Kro::Value<Vorn::AceIndex>::_fwkType() {
  return detail::valueType<Vorn::AceIndex>(&Vorn::kroInitVornAclTable);
}
template class Kro::Value<Vorn::AceIndex>;

namespace Vorn {

AceIndex::AceIndex(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  Kro::readRecord(*this, it, end);
}
AceIndex::AceIndex(Kro::NboAttrLog::In* in, Kro::StreamBogon) : AceIndex(Kro::NboAttrLog::nextValue<AceIndex>(*in)) {}

Kro::String8 AceIndex::toStr() const {
  std::string text;
  Kro::appendInteger(text, ruleId_);
  Kro::appendInteger(text += '.', subRuleId_);
  Kro::appendInteger(text += '.', subIndex_);
  return Kro::String8(std::string_view(text));
}

}  // namespace Vorn
