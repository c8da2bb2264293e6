// What happens to the list of a model's types when the library is loaded, and the list as data in the library's file.
// Included by the one .cpp file that loads the model; all its types are complete there.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

#include "runtime/reflection/EntityReflection.h"
#include "runtime/reflection/Register.h"

namespace Kro {

namespace detail {

/// The types of a source as they are placed: those nested in others first, then the listed ones. Calls `f<T>()`.
template <class X, class F, std::size_t... I>
constexpr void forEachNested(F const& f, std::index_sequence<I...>) {
  (
      [&] {
        using T = typename At<X, I>::Type;
        if constexpr (isNestedIn<X, T> && At<X, I>::Descriptor::isStored) {
          f.template operator()<T>();
        }
      }(),
      ...);
}
template <class X, class F>
constexpr void forEachNested(F const& f) {
  if constexpr (!Enumeration<X> && !std::is_base_of_v<Entity, X>) {
    forEachNested<X>(f, std::make_index_sequence<attributeCount<X>>());
  }
}
template <class F, void (*registration)(), class... Types>
constexpr void forEachPlaced(TypesOf<registration, Types...>, F const& f) {
  static_assert((requires { sizeof(Types); } && ...), "include the headers of all listed types in the file that loads");
  (forEachNested<Types>(f), ...);
  (f.template operator()<Types>(), ...);
}

template <class T>
void place() {
  if constexpr (std::is_base_of_v<Entity, T>) {
    placeEntityType<T>();
  } else {
    placeType<T>();
  }
}

template <class T>
constexpr std::string_view fullNameOf() {
  if constexpr (Enumeration<T>) {
    return kroEnumerators(T{}).typeName;
  } else {
    return T::Attributes::typeName;
  }
}

template <class Source>
constexpr std::size_t namesSize(Source source) {
  std::size_t sum = 0;
  forEachPlaced(source, [&]<class T>() { sum += fullNameOf<T>().size() + 1; });
  return sum;
}

template <void (*registration)(), class... Types>
void loadSource(TypesOf<registration, Types...> types) {
  forEachPlaced(types, []<class T>() { place<T>(); });
  registration();
  registrationSource<registration>().initialised = true;
}

}  // namespace detail

/// Places and registers all types of a model.
template <class... Sources>
void loadModel(Model<Sources...>) {
  (detail::loadSource(Sources()), ...);
}

/// The full names of a model's types, each with a NUL behind it; of each source from the last placed type to the first.
template <class... Sources>
constexpr auto typeNamesOf(Model<Sources...>) {
  std::array<char, (detail::namesSize(Sources()) + ...)> all{};
  std::size_t end = 0;
  auto const add = [&](auto source) {
    std::size_t at = end += detail::namesSize(source);
    detail::forEachPlaced(source, [&]<class T>() {
      constexpr std::string_view name = detail::fullNameOf<T>();
      at -= name.size() + 1;
      std::copy(name.begin(), name.end(), all.begin() + at);
    });
  };
  (add(Sources()), ...);
  return all;
}

}  // namespace Kro
