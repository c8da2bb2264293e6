#include "VornAclTable/AceIndex.h"

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Vorn::AceIndex>;

namespace Vorn {

Kro::String8 AceIndex::toStr() const {
  std::string text;
  Kro::appendInteger(text, ruleId_);
  Kro::appendInteger(text += '.', subRuleId_);
  Kro::appendInteger(text += '.', subIndex_);
  return Kro::String8(std::string_view(text));
}

}  // namespace Vorn
