// What the compiler finds in a list of attributes: a slip is an error that says what to do. `Value` checks the list of
// each type where the type is made whole.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <string_view>
#include <type_traits>
#include <utility>

#include "runtime/value/Attributes.h"

namespace Kro::detail {

/// The name of the member that a pointer to a member points to; empty where the compiler does not tell.
template <auto member>
constexpr std::string_view memberName() {
#if defined(__GNUC__)  // "... [with auto member = &Vorn::IpFilter::dscpIs; ...", "... [member =
                       // &Vorn::IpFilter::dscpIs]"
  std::string_view text = __PRETTY_FUNCTION__;
  text = text.substr(0, text.find_first_of(";]", text.find("member = ")));
  return text.substr(text.rfind(':') + 1);
#else
  return {};
#endif
}

/// Whether the member's name is that of an attribute between `prefix` and `suffix`, as in "newAcl" or "dscpIs".
template <auto member>
constexpr bool isMemberOf(std::string_view attribute, std::string_view prefix, std::string_view suffix) {
  std::string_view name = memberName<member>();
  if (name.empty()) {
    return true;
  }
  if (name.size() != prefix.size() + attribute.size() + suffix.size() || !name.starts_with(prefix) ||
      !name.ends_with(suffix)) {
    return false;
  }
  name = name.substr(prefix.size(), attribute.size());
  char const first = prefix.empty() || attribute[0] < 'a' ? attribute[0] : static_cast<char>(attribute[0] - 'a' + 'A');
  return name[0] == first && name.substr(1) == attribute.substr(1);
}

// --- where the fields of a class stand, padding apart ---

template <class T>
struct BytesOf {
  unsigned char at[sizeof(T)];
};

/// The I-th byte of a value whose fields are zero. Reading padding is no constant expression.
template <class T>
constexpr unsigned char byteOf(std::size_t i) {
  return std::bit_cast<BytesOf<T>>(std::bit_cast<T>(BytesOf<T>{})).at[i];
}
template <unsigned char>
struct Constant {};
/// Whether the byte belongs to a field.
template <class T, std::size_t i>
concept IsFieldByte = requires {
  typename Constant<byteOf<T>(i)>;
};

/// Where a field begins, found by what it holds when byte i of the value is bit `plane` of i: 0 or 1, so that a bool
/// may be made of it.
template <class T, class F>
constexpr std::size_t offsetOf(F T::*field) {
  std::size_t offset = 0;
  for (unsigned plane = 0; plane < std::bit_width(sizeof(T)); ++plane) {
    BytesOf<T> bytes{};
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      bytes.at[i] = static_cast<unsigned char>(i >> plane & 1U);
    }
    T const value = std::bit_cast<T>(bytes);
    offset |= std::size_t{std::bit_cast<BytesOf<F>>(value.*field).at[0]} << plane;
  }
  return offset;
}

/// A type whose bytes the compiler can look at.
template <class T>
concept Transparent = std::is_trivially_copyable_v<T> && sizeof(T) < 65536 && requires {
  typename Constant<(static_cast<void>(std::bit_cast<T>(BytesOf<T>{})), 0)>;
};

template <class X, std::size_t... I>
constexpr auto placesOfFields(std::index_sequence<I...>) {
  return std::array<std::pair<std::size_t, std::size_t>, sizeof...(I)>{
      {{offsetOf(At<X, I>::info.field), offsetOf(At<X, I>::info.field) + sizeof(typename At<X, I>::Type)}...}};
}
/// First byte and end of each stored attribute, in the order of the list.
template <class X>
inline constexpr auto fieldPlaces = placesOfFields<X>(StoredPositions<X>());

template <class X, std::size_t... byte>
constexpr bool coversAllFields(std::index_sequence<byte...>) {
  auto const isCovered = [](std::size_t at) {
    return std::any_of(fieldPlaces<X>.begin(), fieldPlaces<X>.end(),
                       [&](auto const& place) { return place.first <= at && at < place.second; });
  };
  return ((!IsFieldByte<X, byte> || isCovered(byte)) && ...);
}

/// The size of a class with these fields, in this order.
template <class X, std::size_t... I>
constexpr std::size_t sizeOfFields(std::index_sequence<I...>) {
  std::size_t end = 0;
  std::size_t alignment = 1;
  auto const alignedTo = [&](std::size_t to) { return (end + to - 1) / to * to; };
  ((end = alignedTo(alignof(typename At<X, I>::Type)) + sizeof(typename At<X, I>::Type),
    alignment = std::max(alignment, alignof(typename At<X, I>::Type))),
   ...);
  return alignedTo(alignment);
}

// --- the rows ---

template <class X, std::size_t... I>
constexpr AttributeId idsBefore(std::size_t row, std::index_sequence<I...>) {
  return ((I < row && At<X, I>::info.id != 0 ? 1 : 0) + ... + 0);
}

template <class X, std::size_t I>
constexpr bool checkRow() {
  using D = typename At<X, I>::Descriptor;
  constexpr auto& d = At<X, I>::info;
  static_assert(d.id == 0 || d.id == 2 + idsBefore<X>(I, std::make_index_sequence<attributeCount<X>>()),
                "number the attributes from 2 on without gaps, in the order of the list");
  if constexpr (requires { d.field; }) {
    static_assert(isMemberOf<At<X, I>::info.field>(d.name, "", "_"),
                  "name the field of the row's own attribute: that of \"dscp\" is dscp_");
    static_assert(!std::is_null_pointer_v<decltype(D::set)> || isMadeOfFields<X>(StoredPositions<X>()),
                  "give a fixed attribute to a constructor that takes all stored ones in their order, or let the row "
                  "name its mutator");
  }
  if constexpr (requires { d.get; }) {
    static_assert(isMemberOf<At<X, I>::info.get>(d.name, "", ""), "name the accessor of the row's own attribute");
  }
  if constexpr (requires { d.call; }) {
    static_assert(isMemberOf<At<X, I>::info.call>(d.name, "", ""), "name the function that the row is about");
  }
  if constexpr (requires { d.set != nullptr; }) {
    if constexpr (!std::is_null_pointer_v<decltype(D::set)>) {
      static_assert(isMemberOf<At<X, I>::info.set>(d.name, "", "Is"),
                    "name the mutator of the row's own attribute: that of \"dscp\" is dscpIs");
    }
  }
  return true;
}

template <class X, std::size_t... I>
constexpr bool checkRows(std::index_sequence<I...>) {
  return (checkRow<X, I>() && ...);
}

/// The list of value type `X` is whole and each row speaks of one attribute.
template <class X>
constexpr bool checkAttributes() {
  static_assert(checkRows<X>(std::make_index_sequence<attributeCount<X>>()));
  if constexpr (Transparent<X>) {
    static_assert(std::is_sorted(fieldPlaces<X>.begin(), fieldPlaces<X>.end()),
                  "put the rows into the order of the fields in the class");
    static_assert(coversAllFields<X>(std::make_index_sequence<sizeof(X)>()),
                  "give each field of the class a row in the attribute list");
  } else {
    static_assert(sizeOfFields<X>(StoredPositions<X>()) == sizeof(X),
                  "give each field of the class a row in the attribute list, in the order of the fields");
  }
  return true;
}

}  // namespace Kro::detail
