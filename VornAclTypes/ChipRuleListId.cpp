#include "VornAclTypes/ChipRuleListId.h"

#include "VornAclTypes/VornAclTypesRegistration.h"

template <>
Kro::Ptr<Kro::KroType const> Kro::Value<Vorn::ChipRuleListId>::_fwkType() {
  return detail::valueType<Vorn::ChipRuleListId>(&Vorn::kroInitVornAclTypes);
}
template class Kro::Value<Vorn::ChipRuleListId>;

namespace Vorn {

ChipRuleListId::ChipRuleListId(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  Kro::readBareNumber(*this, it, end);
}
ChipRuleListId::ChipRuleListId(Kro::NboAttrLog::In* in, Kro::StreamBogon) : value_(in->nextU8()) {}

}  // namespace Vorn
