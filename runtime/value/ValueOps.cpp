#include "runtime/value/ValueOps.h"

namespace Kro::detail {

void openRecord(TextCursor& in, std::string_view typeName) {
  needString(in, " Value");
  needString(in, " (");
  needString(in, (" '" + std::string(typeName) + "'").c_str());
  needString(in, " ,");
  needString(in, " **");
  needString(in, " {");
}

void throwOutOfRange(std::string_view typeName, std::string_view attribute, AtMost const& range) {
  throwRangeException(!range.text.empty() ? String8(range.text)
                                          : String8(shortTypeName(typeName)) + "::" + String8(attribute) +
                                                format(" < 0 or > %u not allowed", range.most));
}

bool nextAttribute(TextCursor& in, std::string_view typeName, bool isFirst, std::string_view& name,
                   std::string& spare) {
  in.skipBlanks();
  if (in.atEnd()) {
    throwRangeException("premature end of value type " + String8(shortTypeName(typeName)));
  }
  if (in.take("}")) {
    in.skipBlanks();
    needString(in, ") ");
    return false;
  }
  if (!isFirst) {
    needString(in, ", ");
  }
  name = readQuoted(in, spare);
  needString(in, " : ");
  return true;
}

}  // namespace Kro::detail
