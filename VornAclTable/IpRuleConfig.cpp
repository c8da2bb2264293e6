#include "VornAclTable/IpRuleConfig.h"

#include "VornAclTable/VornAclTableRegistration.h"

template <>
Kro::Ptr<Kro::KroType const> Kro::Value<Vorn::IpRuleConfig>::_fwkType() {
  return detail::valueType<Vorn::IpRuleConfig>(&Vorn::kroInitVornAclTable);
}
template class Kro::Value<Vorn::IpRuleConfig>;

namespace Vorn {

IpRuleConfig::IpRuleConfig(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  Kro::readRecord(*this, it, end);
}
IpRuleConfig::IpRuleConfig(Kro::NboAttrLog::In* in, Kro::StreamBogon)
    : IpRuleConfig(Kro::NboAttrLog::nextValue<IpRuleConfig>(*in)) {}

}  // namespace Vorn
