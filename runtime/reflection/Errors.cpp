#include "runtime/reflection/Errors.h"

#include "runtime/value/Codec.h"

namespace Kro {

namespace {

thread_local ReflectionPlace const* innermostPlace = nullptr;

}  // namespace

ReflectionPlace::ReflectionPlace(String8 const& typeName, std::string_view attribute, int opId)
    : typeName_(typeName), attribute_(attribute), opId_(opId), outer_(std::exchange(innermostPlace, this)) {}

ReflectionPlace::~ReflectionPlace() { innermostPlace = outer_; }

String8 ReflectionPlace::current() {
  if (innermostPlace == nullptr) {
    return {};
  }
  ReflectionPlace const& place = *innermostPlace;
  String8 text = place.opId_ >= 0 ? " in operation " + valueToStrep(place.opId_) : String8(" in a list constructor");
  if (!place.attribute_.empty()) {
    text += " of attribute " + String8(place.attribute_);
  }
  return text + " of " + place.typeName_;
}

void throwConstException(char const* message) { throw ConstException({}, message); }

void throwTypeException(String8 const& what, String8 const& expected, String8 const& got) {
  String8 text = "wrong type: " + what + ReflectionPlace::current();
  if (!expected.empty()) {
    text += ": expected " + expected + ", got " + (got.empty() ? String8("nothing") : got);
  }
  throw TypeException(what, text);
}

void throwUnknownArgException(String8 const& where) {
  throw UnknownArgException(
      where, "surplus argument for " + where + ReflectionPlace::current() + ": expected no more than its parameters");
}

void throwOpNotSupportedException(String8 const& attribute, int opId, bool isCollection) {
  throw OpNotSupportedException(
      attribute, "operation " + valueToStrep(opId) + " is not supported by " + attribute + ReflectionPlace::current() +
                     (isCollection ? ": expected 0 to 3, 128 or 129" : ": expected 0, or 128 where it is writable"));
}

void throwBadIndexAttrException(String8 const& attribute) {
  throw BadIndexAttrException(attribute,
                              "index given to " + attribute + ReflectionPlace::current() + ": expected none");
}

void throwUnknownAttrException(String8 const& typeName) {
  throw UnknownAttrException(
      typeName, "no such attribute of " + typeName + ReflectionPlace::current() + ": expected one that the type lists");
}

}  // namespace Kro
