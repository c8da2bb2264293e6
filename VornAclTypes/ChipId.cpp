#include "VornAclTypes/ChipId.h"

#include "runtime/value/ValueOps.h"

template class Kro::Value<Vorn::ChipId>;

namespace Vorn {

ChipId::ChipId(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  Kro::readBareNumber(*this, it, end);
}
ChipId::ChipId(Kro::NboAttrLog::In* in, Kro::StreamBogon) : value_(in->nextU16()) {}

}  // namespace Vorn
