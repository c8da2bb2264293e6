// Errors of reflection. Each text says what was asked, of which attribute of which type, and what would have been
// right.
#pragma once

#include <span>
#include <string_view>

#include "runtime/core/AttributeId.h"
#include "runtime/core/Exception.h"
#include "runtime/type/KroType.h"

namespace Kro {

/// Base of the errors of reflection. `subject` is the attribute, parameter or type that the error is about.
class VORNACL_API ReflectionException : public Exception {
 public:
  ReflectionException(String8 subject, String8 message) : Exception(std::move(message), {}, true), subject_(subject) {}
  String8 const& subject() const { return subject_; }

 private:
  String8 subject_;
};

/// A modifying operation on a const reflection object.
class VORNACL_API ConstException : public ReflectionException {
 public:
  using ReflectionException::ReflectionException;
};
/// A missing argument, or one of another type than was expected.
class VORNACL_API TypeException : public ReflectionException {
 public:
  using ReflectionException::ReflectionException;
};
/// More arguments than a function or constructor takes.
class VORNACL_API UnknownArgException : public ReflectionException {
 public:
  using ReflectionException::ReflectionException;
};
/// An operation that the attribute does not have.
class VORNACL_API OpNotSupportedException : public ReflectionException {
 public:
  using ReflectionException::ReflectionException;
};
/// An index given to an attribute that takes none.
class VORNACL_API BadIndexAttrException : public ReflectionException {
 public:
  using ReflectionException::ReflectionException;
};
/// An attribute that the type does not have.
class VORNACL_API UnknownAttrException : public ReflectionException {
 public:
  using ReflectionException::ReflectionException;
};

/// What the error texts say of the place: which operation, of which attribute of which type, and what would have been
/// right there. Made on the way of an operation that can fail; the throw functions below name the innermost one.
class VORNACL_API ReflectionPlace {
 public:
  /// An operation on an attribute, which `attribute` names where it has a name. `operations` are the ids that it has,
  /// as "0 or 128".
  ReflectionPlace(KroType const& type, AttributeId attributeId, std::string_view attribute, int opId,
                  std::string_view operations, std::span<std::string_view const> parameters = {});
  /// A list constructor.
  ReflectionPlace(KroType const& type, std::span<std::string_view const> parameters);
  ~ReflectionPlace();
  ReflectionPlace(ReflectionPlace const&) = delete;
  ReflectionPlace& operator=(ReflectionPlace const&) = delete;

  /// The innermost place, null outside of any.
  static ReflectionPlace const* innermost();
  /// "operation 128 of attribute dscp (5) of Vorn::IpFilter", "the list constructor of Vorn::AceIndex".
  String8 asked() const;
  std::string_view operations() const { return operations_; }
  /// "(rangeStart, rangeEnd)".
  String8 parameters() const;

 private:
  KroType const& type_;
  AttributeId attributeId_ = 0;
  std::string_view attribute_;
  int opId_ = 0;
  bool isListConstructor_ = false;
  std::string_view operations_;
  std::span<std::string_view const> parameters_;
  ReflectionPlace const* outer_;
};

[[noreturn]] VORNACL_API void throwConstException(char const* message);
/// `what` names the attribute, parameter or type; `expected` and `got` are type names, empty where they are not known.
[[noreturn]] VORNACL_API void throwTypeException(String8 const& what, String8 const& expected = {},
                                                 String8 const& got = {});
/// `where` names the function, attribute or type that was given too many.
[[noreturn]] VORNACL_API void throwUnknownArgException(String8 const& where);
[[noreturn]] VORNACL_API void throwOpNotSupportedException(String8 const& attribute, int opId, bool isCollection);
[[noreturn]] VORNACL_API void throwBadIndexAttrException(String8 const& attribute);
/// For enumerations, which have one attribute.
[[noreturn]] VORNACL_API void throwUnknownAttrException(String8 const& typeName);

}  // namespace Kro
