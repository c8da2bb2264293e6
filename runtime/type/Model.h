// The types of a model: one list, in the order of their registration, from which everything is made that concerns each
// of them: registration, the tree of types, the names in the library's file.
//
// The namespace of the types has a function `kroModel(void const*)`, declared only, whose result is the list.
#pragma once

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

using Registration = void (*)();

template <class X, Registration registration, class... Types>
constexpr Registration registrationIn(TypesOf<registration, Types...>) {
  return (std::is_same_v<X, Types> || ...) ? registration : nullptr;
}
template <class X, class... Sources>
constexpr Registration registrationIn(Model<Sources...>) {
  Registration found = nullptr;
  ((found = found != nullptr ? found : registrationIn<X>(Sources())), ...);
  return found;
}

}  // namespace detail

/// The registration function of the source that declares `X`; null for a type of no model.
template <class X>
constexpr auto registrationOf() -> void (*)() {
  if constexpr (requires { kroModel(static_cast<X*>(nullptr)); }) {
    using All = decltype(kroModel(static_cast<X*>(nullptr)));
    constexpr auto found = detail::registrationIn<typename detail::Listed<X>::Type>(All());
    static_assert(found != nullptr, "name this type in the list of the model's types that kroModel returns");
    return found;
  } else {
    return nullptr;
  }
}

}  // namespace Kro
