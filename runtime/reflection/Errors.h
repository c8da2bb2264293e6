// Errors of reflection. Each text says what was asked, of which attribute of which type, and what would have been
// right.
#pragma once

#include "runtime/core/Exception.h"

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

/// What the error texts say of the place: which operation, of which attribute of which type. Made by the operation that
/// is under way; the throw functions below name it.
class VORNACL_API ReflectionPlace {
 public:
  ReflectionPlace(String8 const& typeName, std::string_view attribute, int opId);
  ~ReflectionPlace();
  ReflectionPlace(ReflectionPlace const&) = delete;
  ReflectionPlace& operator=(ReflectionPlace const&) = delete;
  /// " in operation 128 of attribute dscp of Vorn::IpFilter", or nothing outside of any.
  static String8 current();

 private:
  String8 const& typeName_;
  std::string_view attribute_;
  int opId_;
  ReflectionPlace const* outer_;
};

[[noreturn]] VORNACL_API void throwConstException(char const* message);
/// `what` names the attribute, parameter or type; `expected` and `got` are type names, empty where they are not known.
[[noreturn]] VORNACL_API void throwTypeException(String8 const& what, String8 const& expected = {},
                                                 String8 const& got = {});
[[noreturn]] VORNACL_API void throwUnknownArgException(String8 const& where);
[[noreturn]] VORNACL_API void throwOpNotSupportedException(String8 const& attribute, int opId, bool isCollection);
[[noreturn]] VORNACL_API void throwBadIndexAttrException(String8 const& attribute);
[[noreturn]] VORNACL_API void throwUnknownAttrException(String8 const& typeName);

}  // namespace Kro
