#include "runtime/value/ValueOps.h"

namespace Kro::detail {

void openRecord(String8::IteratorConst& it, String8::IteratorConst const& end, std::string_view typeName) {
  needString(it, end, " Value");
  needString(it, end, " (");
  needString(it, end, (" '" + std::string(typeName) + "'").c_str());
  needString(it, end, " ,");
  needString(it, end, " **");
  needString(it, end, " {");
}

void throwOutOfRange(std::string_view typeName, std::string_view attribute, AtMost const& range) {
  throwRangeException(!range.text.empty() ? String8(range.text)
                                          : String8(shortTypeName(typeName)) + "::" + String8(attribute) +
                                                format(" < 0 or > %u not allowed", range.most));
}

bool nextAttribute(String8::IteratorConst& it, String8::IteratorConst const& end, std::string_view typeName, bool first,
                   String8& name) {
  needString(it, end, " ");
  std::string_view const rest = restOf(it, end);
  if (rest.empty()) {
    throwRangeException("premature end of value type " + String8(shortTypeName(typeName)));
  }
  if (rest.front() == '}') {
    needString(it, end, "} ");
    needString(it, end, ") ");
    return false;
  }
  if (!first) {
    needString(it, end, ", ");
  }
  name = sequenceToValue(it, end, static_cast<String8*>(nullptr));
  needString(it, end, " : ");
  return true;
}

}  // namespace Kro::detail
