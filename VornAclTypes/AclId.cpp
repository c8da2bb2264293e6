#include "VornAclTypes/AclId.h"

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Vorn::AclId>;

namespace Vorn {

namespace {

/// Reads a number from 0 to 255, which must be all of the text that is left, as it would be written.
std::uint8_t ruleListNumber(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end,
                            std::string_view rest) {
  try {
    auto const number = static_cast<std::uint8_t>(Kro::sequenceToValue(it, end, static_cast<long long*>(nullptr)));
    std::string canonical;
    Kro::appendInteger(canonical, number);
    if (canonical == rest) {
      return number;
    }
  } catch (Kro::RangeException const&) {  // what is no integer at all is no number in range either
  }
  throw Kro::RangeException("Invalid AclId: ChipRuleListId out of range");
}

}  // namespace

AclId::AclId(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  std::string_view const text = Kro::restOf(it, end);
  std::size_t const colon = text.find(':');
  if (colon == std::string_view::npos) {
    it.indexIs(it.index() + static_cast<long long>(text.size()));
    throw Kro::RangeException("Invalid AclId");
  }
  it.indexIs(it.index() + static_cast<long long>(colon));
  tableType_ = TableTypeInstance(Kro::String8(text.substr(0, colon)));
  ++it;
  chipRuleListId_ = ruleListNumber(it, end, text.substr(colon + 1));
  if (!(it == end)) {
    throw Kro::RangeException("Invalid AclId");
  }
}

std::size_t AclId::textRoom() const {
  return Kro::roomOfName(tableType_) + chipRuleListId_.textRoom() + Kro::roomOfName(direction_) + 2;
}
char* AclId::textTo(char* to) const {
  to = Kro::putText(Kro::putName(to, tableType_), ":");
  to = Kro::putText(chipRuleListId_.textTo(to), ":");
  return Kro::putName(to, direction_);
}

}  // namespace Vorn
