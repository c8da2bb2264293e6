#include "VornAclTypes/AclId.h"

#include "VornAclTypes/VornAclTypesRegistration.h"

template <>
Kro::Ptr<Kro::KroType const> Kro::Value<Vorn::AclId>::_fwkType() {
  return detail::valueType<Vorn::AclId>(&Vorn::kroInitVornAclTypes);
}
template class Kro::Value<Vorn::AclId>;

namespace Vorn {

AclId::AclId(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  std::string_view const text = Kro::restOf(it, end);
  std::size_t const colon = text.find(':');
  if (colon == std::string_view::npos) {
    throw Kro::RangeException("Invalid AclId");
  }
  tableType_ = TableTypeInstance(Kro::String8(text.substr(0, colon)));
  it.indexIs(it.index() + static_cast<long long>(colon) + 1);

  auto const number = static_cast<std::uint8_t>(Kro::sequenceToValue(it, end, static_cast<long long*>(nullptr)));
  std::string canonical;
  Kro::appendInteger(canonical, number);
  if (canonical != text.substr(colon + 1)) {
    throw Kro::RangeException("Invalid AclId: ChipRuleListId out of range");
  }
  if (!(it == end)) {
    throw Kro::RangeException("Invalid AclId");
  }
  chipRuleListId_ = number;
}

AclId::AclId(Kro::NboAttrLog::In* in, Kro::StreamBogon) : AclId(Kro::NboAttrLog::nextValue<AclId>(*in)) {}

void AclId::strepTo(std::string& text) const {
  text += stringValue(tableType_).view();
  text += ':';
  chipRuleListId_.strepTo(text);
  text += ':';
  text += stringValue(direction_).view();
}

}  // namespace Vorn
