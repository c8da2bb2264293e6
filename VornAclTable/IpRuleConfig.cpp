#include "VornAclTable/IpRuleConfig.h"

#include "runtime/value/ValueOps.h"

template class Kro::Value<Vorn::IpRuleConfig>;

namespace Vorn {

IpRuleConfig::IpRuleConfig(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  Kro::readRecord(*this, it, end);
}
IpRuleConfig::IpRuleConfig(Kro::NboAttrLog::In* in, Kro::StreamBogon)
    : IpRuleConfig(Kro::NboAttrLog::nextValue<IpRuleConfig>(*in)) {}

}  // namespace Vorn
