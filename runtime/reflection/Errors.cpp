#include "runtime/reflection/Errors.h"

#include "runtime/value/Codec.h"

namespace Kro {

namespace {

thread_local ReflectionPlace const* innermostPlace = nullptr;

/// " in operation 128 of attribute dscp (5) of Vorn::IpFilter", or nothing outside of any place.
String8 inPlace() {
  ReflectionPlace const* const place = ReflectionPlace::innermost();
  return place != nullptr ? " in " + place->asked() : String8();
}

}  // namespace

ReflectionPlace::ReflectionPlace(KroType const& type, AttributeId attributeId, std::string_view attribute, int opId,
                                 std::string_view operations, std::span<std::string_view const> parameters)
    : type_(type),
      attributeId_(attributeId),
      attribute_(attribute),
      opId_(opId),
      operations_(operations),
      parameters_(parameters),
      outer_(std::exchange(innermostPlace, this)) {}

ReflectionPlace::ReflectionPlace(KroType const& type, std::span<std::string_view const> parameters)
    : type_(type), isListConstructor_(true), parameters_(parameters), outer_(std::exchange(innermostPlace, this)) {}

ReflectionPlace::~ReflectionPlace() { innermostPlace = outer_; }

ReflectionPlace const* ReflectionPlace::innermost() { return innermostPlace; }

String8 ReflectionPlace::asked() const {
  if (isListConstructor_) {
    return "the list constructor of " + type_.fullName();
  }
  String8 const id = format("%d", attributeId_);
  return format("operation %d of attribute ", opId_) +
         (attribute_.empty() ? id : String8(attribute_) + " (" + id + ")") + " of " + type_.fullName();
}

String8 ReflectionPlace::parameters() const {
  String8 text = "(";
  for (std::string_view const parameter : parameters_) {
    text += (text.length() > 1 ? String8(", ") : String8()) + String8(parameter);
  }
  return text + ")";
}

void throwConstException(char const* message) { throw ConstException({}, message); }

void throwTypeException(String8 const& what, String8 const& expected, String8 const& got) {
  String8 text = "wrong type: " + what + inPlace();
  if (!expected.empty()) {
    text += ": expected " + expected + ", got " + (got.empty() ? String8("nothing") : got);
  }
  throw TypeException(what, text);
}

void throwUnknownArgException(String8 const& where) {
  String8 text = "surplus argument: " + where + inPlace();
  if (ReflectionPlace const* const place = ReflectionPlace::innermost()) {
    text += ": expected " + place->parameters();
  }
  throw UnknownArgException(where, text);
}

void throwOpNotSupportedException(String8 const& attribute, int opId, bool isCollection) {
  String8 text = "operation not supported: " + format("%d of ", opId) + attribute;
  if (ReflectionPlace const* const place = ReflectionPlace::innermost()) {
    text = "operation not supported: " + place->asked() + ": expected " + String8(place->operations());
  } else if (isCollection) {
    text += ", a collection";
  }
  throw OpNotSupportedException(attribute, text);
}

void throwBadIndexAttrException(String8 const& attribute) {
  throw BadIndexAttrException(attribute, "index given: " + attribute + inPlace() + ": expected none");
}

void throwUnknownAttrException(String8 const& typeName) {
  throw UnknownAttrException(typeName, "no such attribute: " + typeName + inPlace() + ": expected attribute 1");
}

}  // namespace Kro
