// How an entity type says what it has: one constexpr list of descriptors in its nested struct `Attributes`, in id
// order. Each names the storage, the public operations and the observers' handler; the algorithms of `EntityOps.h`, the
// attribute log and reflection take the entity and the descriptor. The id is part of the descriptor's type, so two
// collections of equal key and value are distinct.
#pragma once

#include <array>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "runtime/collection/HashMap.h"
#include "runtime/collection/RbTreeMap.h"
#include "runtime/core/AttributeId.h"
#include "runtime/core/Name.h"
#include "runtime/core/Ptr.h"

namespace Kro {

enum class AttributeKind { parameter, scalar, counter, child, values, members, references, function };

/// Whether an attribute is told to observers, and so written to the log.
template <class D>
inline constexpr bool isTold = D::kind != AttributeKind::parameter&& D::kind != AttributeKind::function;
/// As many as have a bit in the word of a stream's state.
inline constexpr int mostToldAttributes = 31;
/// Whether an attribute is a collection.
template <class D>
inline constexpr bool isKeyed =
    D::kind == AttributeKind::values || D::kind == AttributeKind::members || D::kind == AttributeKind::references;

/// The key of what a collection holds.
template <class D, class Record>
typename D::Key keyOf(Record const& record) {
  if constexpr (D::kind == AttributeKind::values) {
    return record.key();
  } else {
    return Record::KroHashLink::key(record);
  }
}

/// A constructor parameter: never changes. The first one of a collection member is its key.
template <AttributeId Id, class X, class F>
struct EntityParameter {
  static constexpr AttributeId id = Id;
  static constexpr AttributeKind kind = AttributeKind::parameter;
  using Type = F;
  std::string_view name;
  F X::*field;
  F (X::*get)() const;
};

/// A plain attribute, or a counter that can also be incremented.
template <AttributeId Id, AttributeKind Kind, class X, class F, class N, class Set>
struct EntityScalar {
  static constexpr AttributeId id = Id;
  static constexpr AttributeKind kind = Kind;
  using Type = F;
  std::string_view name;
  F X::*field;
  F (X::*get)() const;
  Set set;
  void (N::*handler)();
};

/// A single child, created by its name and owned by the entity.
template <AttributeId Id, class X, class C, class N>
struct EntityChild {
  static constexpr AttributeId id = Id;
  static constexpr AttributeKind kind = AttributeKind::child;
  using Type = C;
  std::string_view name;
  Ptr<C> X::*field;
  Ptr<C> (X::*get)() const;
  Ptr<C> (X::*create)(Name);
  Ptr<C> (X::*set)(Name);
  Ptr<C> (X::*del)();
  void (N::*handler)();
};

/// A collection of values in an ordered map.
template <AttributeId Id, class X, class Map, class K, class V, class N, class HandlerKey>
struct EntityValues {
  static constexpr AttributeId id = Id;
  static constexpr AttributeKind kind = AttributeKind::values;
  using Key = K;
  using Element = V;
  using MapType = Map;
  std::string_view name;
  Map X::*field;
  void (X::*set)(K const&, V const&);
  V (X::*del)(K const&);
  V (X::*delAt)(typename Map::Iterator&);
  void (X::*notify)(K const&);
  void (N::*handler)(HandlerKey);
};

/// A collection of entities that the entity creates, owns and parents, in a hash map.
template <AttributeId Id, class X, class M, class K, class N, class HandlerKey, class Create, class DelKey>
struct EntityMembers {
  static constexpr AttributeId id = Id;
  static constexpr AttributeKind kind = AttributeKind::members;
  using Key = K;
  using Element = M;
  using MapType = HashMap<M, K, M>;
  std::string_view name;
  MapType X::*field;
  Create create;  ///< finds or creates a member, from the member's constructor parameters in order
  Ptr<M> (X::*del)(DelKey);
  Ptr<M> (X::*delAt)(typename MapType::Iterator&);
  void (X::*notify)(DelKey);
  void (N::*handler)(HandlerKey);
};

/// A collection of references to entities that live elsewhere, in a hash map of records. The key is read from the
/// referenced entity.
template <AttributeId Id, class X, class R, class M, class K, class N, class HandlerKey, class DelKey>
struct EntityReferences {
  static constexpr AttributeId id = Id;
  static constexpr AttributeKind kind = AttributeKind::references;
  using Key = K;
  using Element = M;
  using Record = R;
  using MapType = HashMap<R, K, M const>;
  std::string_view name;
  MapType X::*field;
  void (X::*set)(Ptr<M const> const&);
  Ptr<M const> (X::*del)(DelKey);
  Ptr<M const> (X::*delAt)(typename MapType::Iterator&);
  void (X::*notify)(DelKey);
  void (N::*handler)(HandlerKey);
};

/// A member function with its argument names.
template <AttributeId Id, class Call, std::size_t n>
struct EntityFunction {
  static constexpr AttributeId id = Id;
  static constexpr AttributeKind kind = AttributeKind::function;
  std::string_view name;
  Call call;
  std::array<std::string_view, n> arguments;
};

namespace detail {

/// Whether an operation takes one `F`, by value or as a constant reference.
template <class Operation, class F>
inline constexpr bool takes = false;
template <class C, class R, class F>
inline constexpr bool takes<R (C::*)(F), F> = true;
template <class C, class R, class F>
inline constexpr bool takes<R (C::*)(F const&), F> = true;

template <class...>
inline constexpr bool never = false;

/// Whether a type is one that a stream, a text and reflection know: a class has an attribute list or codecs of its own.
template <class V>
concept HasList = !std::is_class_v<V> || requires {
  V::Attributes::all;
}
|| requires { V::logMaxSize; };

}  // namespace detail

template <AttributeId Id, class X, class F>
constexpr auto parameter(std::string_view name, F X::*field, std::type_identity_t<F (X::*)() const> get) {
  return EntityParameter<Id, X, F>{name, field, get};
}
template <AttributeId Id, class X, class F, class Set, class N>
constexpr auto scalar(std::string_view name, F X::*field, std::type_identity_t<F (X::*)() const> get, Set set,
                      void (N::*handler)()) {
  static_assert(detail::takes<Set, F>, "let the mutator take the attribute's own type");
  return EntityScalar<Id, AttributeKind::scalar, X, F, N, Set>{name, field, get, set, handler};
}
template <AttributeId Id, class X, class F, class Set, class N>
constexpr auto counter(std::string_view name, F X::*field, std::type_identity_t<F (X::*)() const> get, Set set,
                       void (N::*handler)()) {
  static_assert(detail::takes<Set, F>, "let the mutator take the attribute's own type");
  return EntityScalar<Id, AttributeKind::counter, X, F, N, Set>{name, field, get, set, handler};
}
template <AttributeId Id, class X, class C, class N>
constexpr auto child(std::string_view name, Ptr<C> X::*field, std::type_identity_t<Ptr<C> (X::*)() const> get,
                     Ptr<C> (X::*create)(Name), Ptr<C> (X::*set)(Name), Ptr<C> (X::*del)(), void (N::*handler)()) {
  return EntityChild<Id, X, C, N>{name, field, get, create, set, del, handler};
}
template <AttributeId Id, class X, class Node, class K, class V, class N, class HandlerKey>
constexpr auto values(std::string_view name, RbTreeMap<Node, K, V> X::*field, void (X::*set)(K const&, V const&),
                      V (X::*del)(K const&),
                      std::type_identity_t<V (X::*)(typename RbTreeMap<Node, K, V>::Iterator&)> delAt,
                      void (X::*notify)(K const&), void (N::*handler)(HandlerKey)) {
  static_assert(detail::HasList<K>, "give the key of a collection a struct Attributes: derive it from Kro::Value");
  static_assert(detail::HasList<V>, "give the value of a collection a struct Attributes: derive it from Kro::Value");
  static_assert(std::is_same_v<std::remove_cvref_t<HandlerKey>, K>, "let the handler take the collection's key");
  return EntityValues<Id, X, RbTreeMap<Node, K, V>, K, V, N, HandlerKey>{name, field, set, del, delAt, notify, handler};
}
template <AttributeId Id, class X, class M, class K, class N, class HandlerKey, class Create, class DelKey>
constexpr auto members(std::string_view name, HashMap<M, K, M> X::*field, Create create,
                       std::type_identity_t<Ptr<M> (X::*)(DelKey)> del,
                       std::type_identity_t<Ptr<M> (X::*)(typename HashMap<M, K, M>::Iterator&)> delAt,
                       void (X::*notify)(DelKey), void (N::*handler)(HandlerKey)) {
  static_assert(std::is_same_v<std::remove_cvref_t<HandlerKey>, K>, "let the handler take the collection's key");
  return EntityMembers<Id, X, M, K, N, HandlerKey, Create, DelKey>{name, field, create, del, delAt, notify, handler};
}
template <AttributeId Id, class X, class Record, class M, class K, class N, class HandlerKey, class DelKey>
constexpr auto references(
    std::string_view name, HashMap<Record, K, M const> X::*field, void (X::*set)(Ptr<M const> const&),
    std::type_identity_t<Ptr<M const> (X::*)(DelKey)> del,
    std::type_identity_t<Ptr<M const> (X::*)(typename HashMap<Record, K, M const>::Iterator&)> delAt,
    void (X::*notify)(DelKey), void (N::*handler)(HandlerKey)) {
  static_assert(std::is_same_v<std::remove_cvref_t<HandlerKey>, K>, "let the handler take the collection's key");
  return EntityReferences<Id, X, Record, M, K, N, HandlerKey, DelKey>{name, field, set, del, delAt, notify, handler};
}
// Where the parts of a row are others, or one is missing.
template <AttributeId Id, class... A>
constexpr auto parameter(std::string_view, A...) {
  static_assert(detail::never<A...>, "name of a parameter its field and its accessor");
}
template <AttributeId Id, class... A>
constexpr auto scalar(std::string_view, A...) {
  static_assert(detail::never<A...>, "name of a scalar its field, accessor and mutator and the observers' handler");
}
template <AttributeId Id, class... A>
constexpr auto counter(std::string_view, A...) {
  static_assert(detail::never<A...>, "name of a counter its field, accessor and mutator and the observers' handler");
}
template <AttributeId Id, class... A>
constexpr auto child(std::string_view, A...) {
  static_assert(detail::never<A...>,
                "name of a child its field, accessor, creator, mutator and remover and the observers' handler");
}
template <AttributeId Id, class... A>
constexpr auto values(std::string_view, A...) {
  static_assert(detail::never<A...>,
                "name of values their map, the setter, both removers and the notifier, and the "
                "observers' handler");
}
template <AttributeId Id, class... A>
constexpr auto members(std::string_view, A...) {
  static_assert(detail::never<A...>,
                "name of members their map, the creator, both removers and the notifier, and the "
                "observers' handler");
}
template <AttributeId Id, class... A>
constexpr auto references(std::string_view, A...) {
  static_assert(detail::never<A...>,
                "name of references their map, the setter, both removers and the notifier, and "
                "the observers' handler");
}

template <AttributeId Id, class Call, class... Names>
constexpr auto operation(std::string_view name, Call call, Names... arguments) {
  return EntityFunction<Id, Call, sizeof...(Names)>{name, call, {std::string_view(arguments)...}};
}

/// Number of attributes in the list of entity type `X`.
template <class X>
inline constexpr std::size_t entityAttributeCount =
    std::tuple_size_v<std::remove_cvref_t<decltype(X::Attributes::all)>>;

/// The I-th descriptor of entity type `X`.
template <class X, std::size_t I>
inline constexpr auto entityAttribute = std::get<I>(X::Attributes::all);
template <class X, std::size_t I>
using EntityAttributeType = std::remove_cv_t<decltype(entityAttribute<X, I>)>;

namespace detail {

template <class X, auto field, std::size_t I>
constexpr bool stores() {
  constexpr auto& d = entityAttribute<X, I>;
  if constexpr (requires {
                  requires std::is_same_v < std::remove_cvref_t<decltype(d.field)>,
                  decltype(field) > ;
                }) {
    return d.field == field;
  } else {
    return false;
  }
}
template <class X, auto field, std::size_t... I>
constexpr std::size_t positionOfField(std::index_sequence<I...>) {
  std::size_t at = sizeof...(I);
  ((at = stores<X, field, I>() ? I : at), ...);
  return at;
}

template <class X, AttributeKind kind, std::size_t I = 0, std::size_t... found>
constexpr auto positionsOfKind() {
  if constexpr (I == entityAttributeCount<X>) {
    return std::index_sequence<found...>();
  } else if constexpr (EntityAttributeType<X, I>::kind == kind) {
    return positionsOfKind<X, kind, I + 1, found..., I>();
  } else {
    return positionsOfKind<X, kind, I + 1, found...>();
  }
}

}  // namespace detail

/// The descriptor of the attribute of `X` that `field` stores.
template <class X, auto field>
inline constexpr auto entityRow = [] {
  constexpr std::size_t at = detail::positionOfField<X, field>(std::make_index_sequence<entityAttributeCount<X>>());
  static_assert(at < entityAttributeCount<X>, "give this field a row in the attribute list of its entity type");
  return std::get<at>(X::Attributes::all);
}();

/// Positions of the attributes of one kind, in id order.
template <class X, AttributeKind kind>
using PositionsOfKind = decltype(detail::positionsOfKind<X, kind>());

/// Calls `f(descriptor)` for every attribute of `X`, in id order.
template <class X, class F>
constexpr void forEachEntityAttribute(F&& f) {
  std::apply([&](auto const&... d) { (f(d), ...); }, X::Attributes::all);
}

/// Calls `f(descriptor)` for the attribute of `X` with this id; false where there is none.
template <class X, class F>
constexpr bool withEntityAttribute(AttributeId id, F&& f) {
  return std::apply([&](auto const&... d) { return ((d.id == id && (f(d), true)) || ...); }, X::Attributes::all);
}

}  // namespace Kro
