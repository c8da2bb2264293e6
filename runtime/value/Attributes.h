// How a type says what it has: one constexpr list of descriptors. Equality with the order of attributes, hash, text,
// attribute log, reflection and registration are derived from that list and from nothing else.
//
//     struct L4PortRange::Attributes {
//       using T = L4PortRange;
//       static constexpr std::string_view typeName = "Vorn::L4PortRange";
//       static constexpr auto all = std::tuple{
//           Kro::fixed(2, "rangeStart", &T::rangeStart_),
//           ...
//       };
//     };
//
// A list is checked where its type is made whole: see AttributeChecks.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "runtime/core/AttributeId.h"

namespace Kro {

/// What a row says of the range of a number: `text` where the error is not "TYPE::NAME < 0 or > MOST not allowed".
struct AtMost {
  std::uint32_t most;
  std::string_view text;
};
constexpr AtMost atMost(std::uint32_t most, std::string_view text = {}) { return {most, text}; }
/// Any value is in range.
struct NoCheck {};

/// A field of the value: in everything that is derived. `set` is the mutator of a writable attribute, else null.
template <class T, class F, class Set, class Check>
struct StoredAttribute {
  using Owner = T;
  using Type = F;
  static constexpr bool isStored = true, isText = true, isChecked = !std::is_same_v<Check, NoCheck>;
  AttributeId id;
  std::string_view name;
  F T::*field;
  Set set;
  Check check;
};

/// A bit of a stored field: in text and reflection; hashed and streamed with its field.
template <class T>
struct BitAttribute {
  using Owner = T;
  using Type = bool;
  static constexpr bool isStored = false, isText = true;
  AttributeId id;
  std::string_view name;
  bool (T::*get)() const;
  void (T::*set)(bool);
};

/// Computed from stored fields: in reflection only.
template <class T, class F>
struct ComputedAttribute {
  using Owner = T;
  using Type = F;
  static constexpr bool isStored = false, isText = false;
  AttributeId id;
  std::string_view name;
  F (T::*get)() const;
  void (T::*set)(F);
};

/// A constant of the type: in reflection only.
template <class F>
struct ConstantAttribute {
  using Type = F;
  static constexpr bool isStored = false, isText = false;
  AttributeId id;
  std::string_view name;
  F value;
};

/// A member function with its argument names: in reflection only. Id 0 registers it without an id.
template <class C, class R, class... A>
struct FunctionAttribute {
  using Type = R;
  static constexpr bool isStored = false, isText = false;
  AttributeId id;
  std::string_view name;
  R (C::*call)(A...) const;
  std::array<std::string_view, sizeof...(A)> arguments;
};

/// A field that constructors alone set.
template <class T, class F, class Check = NoCheck>
constexpr auto fixed(AttributeId id, std::string_view name, F T::*field, Check check = {}) {
  return StoredAttribute<T, F, std::nullptr_t, Check>{id, name, field, nullptr, check};
}
/// A field with a mutator, and a check where not every value is allowed.
template <class T, class F, class V, class Check = NoCheck>
constexpr auto stored(AttributeId id, std::string_view name, F T::*field, void (T::*set)(V), Check check = {}) {
  static_assert(std::is_same_v<std::remove_cvref_t<V>, F>, "let the mutator take the attribute's own type");
  return StoredAttribute<T, F, void (T::*)(V), Check>{id, name, field, set, check};
}
template <class... A>
constexpr auto stored(AttributeId, std::string_view, A...) {
  static_assert(sizeof...(A) == 99,
                "name the field and the mutator of the attribute, both of one class; an attribute "
                "that has no mutator is `fixed`");
}
template <class T>
constexpr auto bit(AttributeId id, std::string_view name, bool (T::*get)() const, void (T::*set)(bool)) {
  return BitAttribute<T>{id, name, get, set};
}
template <class T, class F>
constexpr auto computed(AttributeId id, std::string_view name, F (T::*get)() const, void (T::*set)(F)) {
  return ComputedAttribute<T, F>{id, name, get, set};
}
template <class F>
constexpr auto constant(AttributeId id, std::string_view name, F value) {
  return ConstantAttribute<F>{id, name, value};
}
template <class C, class R, class... A, class... Names>
constexpr auto function(AttributeId id, std::string_view name, R (C::*call)(A...) const, Names... arguments) {
  static_assert(sizeof...(A) == sizeof...(Names), "give each argument of the function a name");
  return FunctionAttribute<C, R, A...>{id, name, call, {std::string_view(arguments)...}};
}

/// A type with an attribute list.
template <class T>
concept Described = requires {
  T::Attributes::all;
  T::Attributes::typeName;
};

template <class T>
inline constexpr std::size_t attributeCount = std::tuple_size_v<std::remove_cvref_t<decltype(T::Attributes::all)>>;

/// The I-th attribute of `T`: its descriptor as a constant, and its field in a value.
template <class T, std::size_t I>
struct At {
  static constexpr auto info = std::get<I>(T::Attributes::all);
  using Descriptor = std::remove_cv_t<decltype(info)>;
  using Type = typename Descriptor::Type;

  static constexpr Type const& of(T const& value) { return value.*(info.field); }
  static constexpr Type& of(T& value) { return value.*(info.field); }
};

namespace detail {

template <class T, bool text, std::size_t I = 0, std::size_t... found>
constexpr auto positions() {
  if constexpr (I == attributeCount<T>) {
    return std::index_sequence<found...>();
  } else if constexpr (text ? At<T, I>::Descriptor::isText : At<T, I>::Descriptor::isStored) {
    return positions<T, text, I + 1, found..., I>();
  } else {
    return positions<T, text, I + 1, found...>();
  }
}

}  // namespace detail

/// Positions of the stored attributes of `T`, in order.
template <Described T>
using StoredPositions = decltype(detail::positions<T, false>());
/// Positions of the attributes in the text of `T`, in order.
template <Described T>
using TextPositions = decltype(detail::positions<T, true>());

namespace detail {

/// The stored attributes of `X` are the parameters of its constructor.
template <class X, std::size_t... I>
constexpr bool isMadeOfFields(std::index_sequence<I...>) {
  return std::is_constructible_v<X, typename At<X, I>::Type const&...>;
}

}  // namespace detail

}  // namespace Kro
