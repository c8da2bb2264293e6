// What every value type shares. A value type derives from `Value<itself>`, lists its attributes in a nested struct
// `Attributes`, defaults its `operator==`, and has two more constructors: from text and from the attribute log. The
// members that are derived from the list are instantiated in the type's own .cpp file, which includes
// `runtime/reflection/TypeObjects.h`.
#pragma once

#include <iosfwd>
#include <string>

#include "runtime/type/KroType.h"
#include "runtime/value/Codec.h"

namespace Kro {

namespace detail {

template <class T, std::size_t I, std::size_t... rest>
inline bool lessFrom(T const& a, T const& b, std::index_sequence<I, rest...>) {
  auto const& x = At<T, I>::of(a);
  auto const& y = At<T, I>::of(b);
  if constexpr (sizeof...(rest) == 0) {
    return x < y;
  } else {
    return x == y ? lessFrom(a, b, std::index_sequence<rest...>()) : x < y;
  }
}

}  // namespace detail

template <class T>
class ValueGenericIf;
template <class T>
class ValueTypeOf;

/// Base of the value type `X`: order, hash, text and type object derived from `X::Attributes`. A type that differs in
/// one of them declares that member itself: `lessThan`, `hash`, `textRoom` and `textTo`, `mixInto`.
template <class X>
class VORNACL_API Value {
 public:
  /// The class of reflection objects of `X`, and that of its type object: `runtime/reflection/ValueReflection.h`.
  using GenericIf_ = ValueGenericIf<X>;
  using _Type = ValueTypeOf<X>;

  /// Murmur hash of the stored attributes in declaration order, each at its own width without padding; an attribute
  /// of value type contributes its own hash as four bytes.
  std::uint32_t hash() const;
  /// Writes the text form to a place that has `textRoom()` characters and returns its end.
  char* textTo(char* to) const;
  std::size_t textRoom() const;
  /// Throws `RangeException` where an attribute is not in the range that its row tells. A type that has more to check
  /// declares this member itself.
  void check() const;
  /// The type object of `X`.
  Ptr<KroType const> fwkType() const { return _fwkType(); }
  static Ptr<KroType const> _fwkType();

  bool operator==(Value const&) const = default;

  /// The first attribute that differs decides; `<=`, `>` and `>=` follow from `<` alone.
  friend bool operator<(X const& a, X const& b) {
    if constexpr (requires { a.lessThan(b); }) {
      return a.lessThan(b);
    } else {
      return detail::lessFrom(a, b, StoredPositions<X>());
    }
  }
  friend bool operator<=(X const& a, X const& b) { return !(b < a); }
  friend bool operator>(X const& a, X const& b) { return !(a <= b); }
  friend bool operator>=(X const& a, X const& b) { return !(a < b); }

 protected:
  // For the constructors of `X`, whose fields hold their defaults.
  /// Reads the text form of a record.
  void readRecord(String8::IteratorConst& it, String8::IteratorConst const& end);
  /// Reads a bare number into the single attribute `value`, truncated to its width.
  void readBareNumber(String8::IteratorConst& it, String8::IteratorConst const& end);
  /// Reads the attribute-log form.
  void readLog(NboAttrLog::In& in);

  // For the mutators of attributes whose rows tell a range: what is there already is not looked at, what is out of
  // range throws `RangeException` and leaves it.
  void setInRange(std::uint8_t& field, std::uint8_t value);
  void setInRange(std::uint16_t& field, std::uint16_t value);
  void setInRange(std::uint32_t& field, std::uint32_t value);

 private:
  X& self() { return static_cast<X&>(*this); }
};

namespace detail {

/// A range that an attribute is not in.
[[noreturn]] VORNACL_API void throwOutOfRange(std::string_view typeName, std::string_view attribute,
                                              AtMost const& range);

}  // namespace detail

/// A value type of the model.
template <class X>
concept ModelValue = std::derived_from<X, Value<X>>;

/// Writes `toStr()` where the type has one, else the text form.
template <ModelValue X>
std::ostream& operator<<(std::ostream& out, X const& value) {
  if constexpr (requires { value.toStr(); }) {
    return out << value.toStr();
  } else {
    return out << valueToStrep(value);
  }
}

}  // namespace Kro
