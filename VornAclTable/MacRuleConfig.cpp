#include "VornAclTable/MacRuleConfig.h"

#include "VornAclTable/VornAclTableRegistration.h"

template <>
Kro::Ptr<Kro::KroType const> Kro::Value<Vorn::MacRuleConfig>::_fwkType() {
  return detail::valueType<Vorn::MacRuleConfig>(&Vorn::kroInitVornAclTable);
}
template class Kro::Value<Vorn::MacRuleConfig>;

namespace Vorn {

MacRuleConfig::MacRuleConfig(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  Kro::readRecord(*this, it, end);
}
MacRuleConfig::MacRuleConfig(Kro::NboAttrLog::In* in, Kro::StreamBogon)
    : MacRuleConfig(Kro::NboAttrLog::nextValue<MacRuleConfig>(*in)) {}

}  // namespace Vorn
