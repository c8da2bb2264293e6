#include "VornAclTypes/ChipRuleListId.h"

#include "runtime/value/ValueOps.h"

template class Kro::Value<Vorn::ChipRuleListId>;

namespace Vorn {

ChipRuleListId::ChipRuleListId(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  Kro::readBareNumber(*this, it, end);
}
ChipRuleListId::ChipRuleListId(Kro::NboAttrLog::In* in, Kro::StreamBogon) : value_(in->nextU8()) {}

}  // namespace Vorn
