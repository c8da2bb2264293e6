// How a type says what it has: one constexpr list of descriptors. Equality with the order of attributes, hash, text,
// attribute log, reflection and registration are derived from that list and from nothing else.
//
//     struct L4PortRange::Attributes {
//       using T = L4PortRange;
//       static constexpr std::string_view typeName = "Vorn::L4PortRange";
//       static constexpr auto all = Kro::list(Kro::stored(2, "rangeStart", &T::rangeStart_), ...);
//     };
//     static_assert(Kro::isWhollyDescribed<L4PortRange>());
#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "runtime/core/AttributeId.h"

namespace Kro {

/// A field of the value: in everything that is derived. `set` is the mutator of a writable attribute, else null.
template <class T, class F, class Set>
struct StoredAttribute {
  using Owner = T;
  using Type = F;
  static constexpr bool isStored = true, isText = true;
  AttributeId id;
  std::string_view name;
  F T::*field;
  Set set;
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

template <class T, class F>
constexpr auto stored(AttributeId id, std::string_view name, F T::*field) {
  return StoredAttribute<T, F, std::nullptr_t>{id, name, field, nullptr};
}
template <class T, class F, class V>
constexpr auto stored(AttributeId id, std::string_view name, F T::*field, void (T::*set)(V)) {
  static_assert(std::is_same_v<std::remove_cvref_t<V>, F>, "the mutator must take the attribute's own type");
  return StoredAttribute<T, F, void (T::*)(V)>{id, name, field, set};
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
template <class... D>
constexpr auto list(D... descriptors) {
  return std::tuple<D...>(descriptors...);
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

template <class T, std::size_t... I>
constexpr bool idsRun(std::index_sequence<I...>) {
  // From 2 without gaps; a function registered without an id may stand anywhere.
  AttributeId expected = 2;
  bool run = true;
  ((run = run && (At<T, I>::info.id == 0 || At<T, I>::info.id == expected), expected += At<T, I>::info.id != 0), ...);
  return run;
}

template <class T, std::size_t... I>
constexpr std::size_t sizeOfFields(std::index_sequence<I...>) {
  std::size_t end = 0;
  std::size_t alignment = 1;
  ((end = (end + alignof(typename At<T, I>::Type) - 1) / alignof(typename At<T, I>::Type) *
              alignof(typename At<T, I>::Type) +
          sizeof(typename At<T, I>::Type),
    alignment = alignment < alignof(typename At<T, I>::Type) ? alignof(typename At<T, I>::Type) : alignment),
   ...);
  return (end + alignment - 1) / alignment * alignment;
}

}  // namespace detail

/// The list names attributes by ids without gaps, and its stored fields, laid out in order, fill the class.
template <class T>
constexpr bool isWhollyDescribed() {
  static_assert(detail::idsRun<T>(std::make_index_sequence<attributeCount<T>>()),
                "attribute ids must run from 2 without gaps, in the order of the list");
  static_assert(detail::sizeOfFields<T>(StoredPositions<T>()) == sizeof(T),
                "a stored field is missing from the attribute list, or stands in another order than in the class");
  return true;
}

}  // namespace Kro
