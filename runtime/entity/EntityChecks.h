// What the compiler finds in the list of an entity type: a slip is an error that says what to do. `EntityOf` checks the
// list of each type where the type is made whole.
#pragma once

#include <concepts>

#include "runtime/entity/EntityAttributes.h"
#include "runtime/entity/NotifieeOf.h"
#include "runtime/value/AttributeChecks.h"

namespace Kro::detail {

/// An entity that is never made: it has addresses alone.
template <class X>
union Nowhere {
  constexpr Nowhere() : nothing() {}
  constexpr ~Nowhere() {}
  char nothing;
  X entity;
};
template <class X>
inline constinit Nowhere<X> const nowhere;

/// Whether row I stores its field behind that of an earlier row; only fields of one type can be compared.
template <class X, std::size_t I, std::size_t Before>
constexpr bool standsBehind() {
  if constexpr (requires(EntityAttributeType<X, Before> d) { d.field; }) {
    if constexpr (std::is_same_v<decltype(EntityAttributeType<X, I>::field),
                                 decltype(EntityAttributeType<X, Before>::field)>) {
      return &(nowhere<X>.entity.*(entityAttribute<X, I>.field)) >
             &(nowhere<X>.entity.*(entityAttribute<X, Before>.field));
    }
  }
  return true;
}
template <class X, std::size_t I, std::size_t... Before>
constexpr bool standsBehindAll(std::index_sequence<Before...>) {
  return (standsBehind<X, I, Before>() && ...);
}

/// Each operation that a row names is the one of its attribute.
template <class X, std::size_t I>
constexpr bool checkOperations() {
  constexpr auto& d = entityAttribute<X, I>;
  if constexpr (requires { d.get; }) {
    static_assert(isMemberOf<entityAttribute<X, I>.get>(d.name, "", ""),
                  "name the accessor of the row's own attribute");
  }
  if constexpr (requires { d.set; }) {
    static_assert(isMemberOf<entityAttribute<X, I>.set>(d.name, "", "Is"),
                  "name the mutator of the row's own attribute: that of \"active\" is activeIs");
  }
  if constexpr (requires { d.del; }) {
    static_assert(isMemberOf<entityAttribute<X, I>.del>(d.name, "", "Del"),
                  "name the remover of the row's own attribute");
  }
  if constexpr (requires { d.notify; }) {
    static_assert(isMemberOf<entityAttribute<X, I>.delAt>(d.name, "", "Del"),
                  "name the iterator remover of the row's own attribute");
    static_assert(isMemberOf<entityAttribute<X, I>.notify>(d.name, "", "Notify"),
                  "name the notifying operation of the row's own attribute");
  }
  if constexpr (requires { d.handler; }) {
    static_assert(isMemberOf<entityAttribute<X, I>.handler>(d.name, "on", ""),
                  "name the handler of the row's own attribute: that of \"active\" is onActive");
  }
  return true;
}

template <class X, std::size_t I>
constexpr bool checkEntityRow() {
  constexpr auto& d = entityAttribute<X, I>;
  using D = EntityAttributeType<X, I>;
  static_assert(D::id == firstEntityAttributeId + static_cast<AttributeId>(I),
                "number the attributes from 258 on without gaps, in the order of the list");
  if constexpr (requires { d.field; }) {
    static_assert(isMemberOf<entityAttribute<X, I>.field>(d.name, "", "_"),
                  "name the field of the row's own attribute: that of \"active\" is active_");
    static_assert(standsBehindAll<X, I>(std::make_index_sequence<I>()),
                  "put the rows into the order of the fields in the class");
  }
  return checkOperations<X, I>();
}

template <class X, std::size_t... I>
constexpr bool checkEntityRows(std::index_sequence<I...>) {
  static_assert((isTold<EntityAttributeType<X, I>> + ... + 0) <= mostToldAttributes,
                "give an entity type at most 31 attributes that are told: a stream has a bit for each in one word");
  return (checkEntityRow<X, I>() && ...);
}

/// The list of entity type `X` is whole and each row speaks of one attribute.
template <class X>
constexpr bool checkEntity() {
  static_assert(std::derived_from<typename X::NotifieeConst, NotifieeOf<X>>,
                "derive the class NotifieeConst of an entity type from Kro::NotifieeOf of that type");
  return checkEntityRows<X>(std::make_index_sequence<entityAttributeCount<X>>());
}

}  // namespace Kro::detail
