// The types of a model: one list, in the order of their registration, from which everything is made that concerns each
// of them: registration, the tree of types, the names in the library's file.
//
// The namespace of the types has a function `kroModel(void const*)`, declared only, whose result is the list.
#pragma once

#include <tuple>
#include <type_traits>

namespace Kro {

/// The types that one source of a model declares, in the order of their registration, and the function that does it.
/// Types nested in others are not named.
template <void (*registration)(), class... Types>
struct TypesOf {};

/// The sources of a model, in the order in which they are loaded.
template <class... Sources>
struct Model {};

namespace detail {

/// The type under whose name `X` is registered: itself, or the one that it is nested in.
template <class X>
struct Listed {
  using Type = X;
};
template <class X>
requires requires { typename X::Attributes::Within; }
struct Listed<X> {
  using Type = typename X::Attributes::Within;
};

/// Where a type is listed, if it is. Kept beside the function, since g++ with its sanitizer of undefined behaviour does
/// not compare the address of a function with null in a constant.
struct Source {
  bool isListed = false;
  void (*registration)() = nullptr;
};

template <class X, void (*registration)(), class... Types>
constexpr Source sourceIn(TypesOf<registration, Types...>) {
  return (std::is_same_v<X, Types> || ...) ? Source{true, registration} : Source{};
}
template <class X, class... Sources>
constexpr Source sourceIn(Model<Sources...>) {
  Source found;
  ((found = found.isListed ? found : sourceIn<X>(Sources())), ...);
  return found;
}

template <class Base, void (*registration)(), class... X>
auto derivedIn(TypesOf<registration, X...>) -> decltype(std::tuple_cat(
    std::conditional_t<std::is_base_of_v<Base, X>, std::tuple<std::type_identity<X>>, std::tuple<>>()...));
template <class Base, class... Sources>
auto derivedIn(Model<Sources...>) -> decltype(std::tuple_cat(derivedIn<Base>(Sources())...));

}  // namespace detail

/// Those types of a model that derive from `Base`, in the order of their registration, as a tuple of
/// `std::type_identity`. All classes of the model must be complete.
template <class Base, class AllTypes>
using DerivedTypes = decltype(detail::derivedIn<Base>(AllTypes()));

/// The registration function of the source that declares `X`; null for a type of no model.
template <class X>
constexpr auto registrationOf() -> void (*)() {
  if constexpr (requires { kroModel(static_cast<X*>(nullptr)); }) {
    using All = decltype(kroModel(static_cast<X*>(nullptr)));
    constexpr auto found = detail::sourceIn<typename detail::Listed<X>::Type>(All());
    static_assert(found.isListed, "name this type in the list of the model's types that kroModel returns");
    return found.registration;
  } else {
    return nullptr;
  }
}

}  // namespace Kro
