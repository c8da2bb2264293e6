#include "VornAclTypes/ChipId.h"

#include "VornAclTypes/VornAclTypesRegistration.h"

template <>
Kro::Ptr<Kro::KroType const> Kro::Value<Vorn::ChipId>::_fwkType() {
  return detail::valueType<Vorn::ChipId>(&Vorn::kroInitVornAclTypes);
}
template class Kro::Value<Vorn::ChipId>;

namespace Vorn {

ChipId::ChipId(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  Kro::readBareNumber(*this, it, end);
}
ChipId::ChipId(Kro::NboAttrLog::In* in, Kro::StreamBogon) : value_(in->nextU16()) {}

}  // namespace Vorn
