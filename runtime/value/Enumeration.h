// Enumerations: one constexpr array of enumerators and names; everything else is derived from it.
//
// An enumeration is unscoped, with a signed 32-bit base, and has beside it, in its namespace, a constexpr function
// `kroEnumerators(E)` that returns its `Enumerators`.
#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <ostream>
#include <string_view>
#include <type_traits>

#include "runtime/core/Exception.h"
#include "runtime/type/KroType.h"
#include "runtime/value/Text.h"

namespace Kro {

template <class E>
struct Enumerator {
  E value;
  std::string_view name;
};

/// The names of an enumeration. `name` is the bare name told in errors, `typeName` the full one.
template <class E, std::size_t n>
struct Enumerators {
  std::string_view typeName;
  std::array<Enumerator<E>, n> all;
};

/// The names of an enumeration, as many as there are: `enumerators<E>("Vorn::E", {{one, "one"}, ...})`.
template <class E, std::size_t n>
constexpr Enumerators<E, n> enumerators(std::string_view typeName, Enumerator<E> const (&all)[n]) {
  return {typeName, std::to_array(all)};
}

/// An enumeration with a table of names.
template <class E>
concept Enumeration = std::is_enum_v<E> && std::same_as<std::underlying_type_t<E>, std::int32_t> && requires(E e) {
  kroEnumerators(e).all;
};

/// The bare name of an enumeration, as in "TableType".
template <Enumeration E>
constexpr std::string_view enumerationName() {
  constexpr std::string_view full = kroEnumerators(E{}).typeName;
  return full.substr(full.rfind(':') + 1);
}

/// The enumerator's name; empty for a number without enumerator.
template <Enumeration E>
constexpr std::string_view enumeratorName(E value) {
  for (auto const& e : kroEnumerators(value).all) {
    if (e.value == value) {
      return e.name;
    }
  }
  return {};
}

/// The enumerator's name; a number without enumerator as "TableType(7)".
template <Enumeration E>
String8 stringValue(E value) {
  std::string_view const name = enumeratorName(value);
  return !name.empty() ? String8(name) : String8(enumerationName<E>()) + format("(%d)", static_cast<int>(value));
}

/// The same, written to a place that has so much room; its end.
template <Enumeration E>
constexpr std::size_t roomOfName(E value) {
  std::string_view const name = enumeratorName(value);
  return !name.empty() ? name.size() : enumerationName<E>().size() + 2 + maxDigits<std::int32_t>;
}
template <Enumeration E>
char* putName(char* to, E value) {
  std::string_view const name = enumeratorName(value);
  return putText(to, !name.empty() ? name : stringValue(value).view());
}

/// The enumerator with this number; throws `RangeException` with the enumeration's name for any other.
template <Enumeration E>
E enumeratorOf(unsigned number) {
  for (auto const& e : kroEnumerators(E{}).all) {
    if (static_cast<unsigned>(e.value) == number) {
      return e.value;
    }
  }
  throwRangeException(String8(enumerationName<E>()));
}

/// The enumerator of this name, exactly; throws `RangeException` with the enumeration's name for any other.
template <Enumeration E>
E enumeratorNamed(std::string_view name) {
  for (auto const& e : kroEnumerators(E{}).all) {
    if (e.name == name) {
      return e.value;
    }
  }
  throwRangeException(String8(enumerationName<E>()));
}
template <Enumeration E>
E enumeratorOf(String8 const& name) {
  return enumeratorNamed<E>(name.view());
}

/// The type object of an enumeration, made on first use. Instantiated in the enumeration's own .cpp file.
template <Enumeration E>
VORNACL_API Ptr<KroType const> enumerationType();

/// Writes `stringValue`.
template <Enumeration E>
std::ostream& operator<<(std::ostream& out, E const& value) {
  return out << stringValue(value).view();
}

}  // namespace Kro
