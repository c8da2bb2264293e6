// Registration of types, derived from their declarations: nothing is named, numbered or typed a second time here.
#pragma once

#include <tuple>
#include <utility>

#include "runtime/entity/Entity.h"
#include "runtime/entity/EntityAttributes.h"
#include "runtime/reflection/IntrospectionReactor.h"
#include "runtime/reflection/ValueReflection.h"
#include "runtime/type/Model.h"

namespace Kro {

/// The type object of `Kro::Entity`, with the attributes that every entity has.
VORNACL_API Ptr<KroType const> entityBaseType();
/// The type object of `Kro::PtrInterface`, the base of every counted object.
VORNACL_API Ptr<KroType const> ptrInterfaceType();

/// Attributes of entities that no type lists: the key of a collection's member, under id 0, and those of the base.
inline constexpr AttributeId fwkKeyId = 0;
inline constexpr std::string_view fwkKeyName = "fwkKey";
inline constexpr std::string_view kroHasAttrLogInterfaceName = "kroHasAttrLogInterface";
inline constexpr std::string_view kroNboAttrLogSaForMsgChannelName = "kroNboAttrLogSaForMsgChannel";

/// An entity type whose entities are members of a collection, under a key that is their first parameter.
template <class X>
concept KeyedEntity = requires {
  typename X::KroHashLink;
};

namespace detail {

/// The flag words of each kind of attribute.
struct FlagsOf {
  static constexpr KroAttr::AttrFlags fixed{0x220109, 0x40000400};  ///< stored, given at construction
  static constexpr KroAttr::AttrFlags settable{0x22010f, 0x400};    ///< stored, with a mutator
  static constexpr KroAttr::AttrFlags bitsOnly{0x22010d, 0x400};    ///< stored, changed bit by bit
  static constexpr KroAttr::AttrFlags computed{0x220007, 0x400};    ///< computed, with a mutator
  static constexpr KroAttr::AttrFlags constant{0x220001, 0x40000410};
  static constexpr KroAttr::AttrFlags operation{0x20001, 0x400};
  static constexpr KroAttr::AttrFlags enumerator{0x20001, 0x40200400};
};
inline constexpr KroAttr::KroAttrIntrospectionFlags introspectStored = 2;
inline constexpr KroAttr::KroAttrIntrospectionFlags introspectOperation = 8;
inline constexpr KroAttr::KroAttrIntrospectionFlags introspectNothing = 0;

/// The type object of a type that is being registered, to be filled.
template <class T>
KroType& openType() {
  return const_cast<KroType&>(*fwkTypeOf<T>());
}

template <class Argument>
String8 argumentTypeName() {
  return fwkTypeOf<Reflected<Argument>>()->fullName();
}

/// Registers an operation with its arguments; one without arguments like any attribute.
template <class Call>
struct OperationRegistrar;
template <class C, class R, class... A>
struct OperationRegistrar<R (C::*)(A...) const> {
  static void run(IntrospectionReactor& reactor, KroType& type, std::string_view name, AttributeId id,
                  std::array<std::string_view, sizeof...(A)> const& arguments) {
    Ptr<KroType const> const result = fwkTypeOf<Reflected<R>>();
    if constexpr (sizeof...(A) == 0) {
      reactor
          .defNoninstantiatingAttr(type, String8(name), result, nullptr, FlagsOf::operation, introspectOperation, id)
          ->toolKindIs("function");
    } else {
      type.attrDel(String8(name));
      Ptr<KroAttr> const attribute = type.attrIs(String8(name), result, nullptr, nullptr, FlagsOf::operation, id);
      std::size_t n = 0;
      (attribute->argumentEnq(String8(arguments[n++]), argumentTypeName<A>()), ...);
      attribute->introspectionFlagsIs(introspectOperation);
      attribute->toolKindIs("function");
      type.attributeQEnq(attribute);
      reactor.handleAttr(attribute);
      reactor.handleAttrContextExit();
    }
  }
};
template <class C, class R, class... A>
struct OperationRegistrar<R (C::*)(A...)> : OperationRegistrar<R (C::*)(A...) const> {};

template <class X>
void registerValue(IntrospectionReactor& reactor);

template <class X, class T>
inline constexpr bool isNestedIn = !std::is_same_v<X, T> && std::is_same_v<typename Listed<T>::Type, X>;

/// A type nested in `X` is registered just before the first attribute that needs it.
template <class X, class T>
void registerNested(IntrospectionReactor& reactor) {
  if constexpr (isNestedIn<X, T>) {
    registerValue<T>(reactor);
  }
}

template <class X, std::size_t... I>
constexpr bool hasBits(std::index_sequence<I...>) {
  return ((At<X, I>::Descriptor::isText && !At<X, I>::Descriptor::isStored) || ...);
}

template <class X, std::size_t I>
void registerAttribute(IntrospectionReactor& reactor, KroType& type) {
  constexpr auto& d = At<X, I>::info;
  using D = typename At<X, I>::Descriptor;
  if constexpr (requires { d.call; }) {
    OperationRegistrar<std::remove_cv_t<decltype(d.call)>>::run(reactor, type, d.name, d.id, d.arguments);
  } else {
    using F = typename D::Type;
    registerNested<X, F>(reactor);
    constexpr bool isSettable = requires(X & x) { (x.*(d.set))(std::declval<F>()); };
    auto const define = [&](KroAttr::AttrFlags const& flags, KroAttr::KroAttrIntrospectionFlags introspection,
                            char const* kind) {
      reactor.defNoninstantiatingAttr(type, String8(d.name), fwkTypeOf<F>(), nullptr, flags, introspection, d.id)
          ->toolKindIs(kind);
    };
    if constexpr (D::isStored) {
      constexpr bool changesByBits = hasBits<X>(std::make_index_sequence<attributeCount<X>>());
      define(isSettable      ? FlagsOf::settable
             : changesByBits ? FlagsOf::bitsOnly
                             : FlagsOf::fixed,
             introspectStored, "stored");
    } else if constexpr (D::isText) {
      define(FlagsOf::computed, introspectStored, "computed");
    } else if constexpr (requires { d.get; }) {
      define(FlagsOf::computed, introspectNothing, "computed");
    } else {
      define(FlagsOf::constant, introspectNothing, "constant");
    }
  }
}

template <class X, std::size_t I>
void registerParameter(KroType& type) {
  type.constructorArgNameQEnq(String8(At<X, I>::info.name));
  type.constructorArgTypeQEnq(fwkTypeOf<typename At<X, I>::Type>()->fullName());
}

/// A value type.
template <class X>
void registerValue(IntrospectionReactor& reactor) {
  KroType& type = openType<X>();
  reactor.handleType(share<KroType const>(&type), nullptr);
  type.sizeIs(sizeof(X));
  type.isValueIs(true);
  type.hasGenericIfSupportIs(true);
  if constexpr (hasFieldConstructor<X>) {
    [&]<std::size_t... I>(std::index_sequence<I...>) { (registerParameter<X, I>(type), ...); }
    (StoredPositions<X>());
  }
  [&]<std::size_t... I>(std::index_sequence<I...>) { (registerAttribute<X, I>(reactor, type), ...); }
  (std::make_index_sequence<attributeCount<X>>());
  if constexpr (StoredPositions<X>::size() == 1) {
    type.valAttrIs(type.attr("value").get());
  }
  type.freeze();
  reactor.handleScopeExit();
}

/// An enumeration: a constant for each enumerator.
template <Enumeration E>
void registerEnumeration(IntrospectionReactor& reactor) {
  KroType& type = openType<E>();
  reactor.handleType(share<KroType const>(&type), nullptr);
  type.sizeIs(sizeof(E));
  type.isValueIs(true);
  type.hasGenericIfSupportIs(true);
  for (auto const& enumerator : kroEnumerators(E{}).all) {
    reactor
        .defNoninstantiatingAttr(type, String8(enumerator.name), fwkTypeOf<E>(), nullptr, FlagsOf::enumerator,
                                 introspectNothing, static_cast<AttributeId>(enumerator.value))
        ->toolKindIs("enumerator");
  }
  type.valAttrIs(nullptr);
  type.freeze();
  reactor.handleScopeExit();
}

template <class D>
constexpr char const* kindName() {
  switch (D::kind) {
    case AttributeKind::parameter:
      return "parameter";
    case AttributeKind::scalar:
      return "scalar";
    case AttributeKind::counter:
      return "counter";
    case AttributeKind::child:
      return "child";
    case AttributeKind::values:
      return "values";
    case AttributeKind::members:
      return "members";
    case AttributeKind::references:
      return "references";
    case AttributeKind::function:
      break;
  }
  return "function";
}

template <class D>
void registerEntityAttribute(IntrospectionReactor& reactor, KroType& type, D const& d) {
  auto const define = [&](Ptr<KroType const> const& attrType, KroAttr::AttrFlags const& flags) {
    Ptr<KroAttr> const attribute =
        reactor.defNoninstantiatingAttr(type, String8(d.name), attrType, nullptr, flags, introspectStored, D::id);
    attribute->toolKindIs(kindName<D>());
    return attribute;
  };
  if constexpr (D::kind == AttributeKind::function) {
    OperationRegistrar<std::remove_cv_t<decltype(d.call)>>::run(reactor, type, d.name, D::id, d.arguments);
  } else if constexpr (D::kind == AttributeKind::parameter) {
    define(fwkTypeOf<typename D::Type>(), FlagsOf::fixed);
  } else if constexpr (D::kind == AttributeKind::scalar || D::kind == AttributeKind::counter) {
    define(fwkTypeOf<typename D::Type>(), FlagsOf::settable);
  } else if constexpr (D::kind == AttributeKind::child) {
    define(fwkTypeOf<typename D::Type>(), FlagsOf::settable);
  } else {
    define(fwkTypeOf<std::remove_const_t<typename D::Element>>(), FlagsOf::settable)
        ->toolKeyTypeIs(fwkTypeOf<typename D::Key>());
  }
}

template <class X, std::size_t... I>
void registerEntityParameters(KroType& type, std::index_sequence<I...>) {
  auto const enqueue = [&](std::string_view name, Ptr<KroType const> const& argument) {
    type.constructorArgNameQEnq(String8(name));
    type.constructorArgTypeQEnq(argument->fullName());
  };
  if constexpr (X::Attributes::isNamed) {
    enqueue("name", fwkTypeOf<Name>());
  }
  (enqueue(entityAttribute<X, I>.name, fwkTypeOf<typename EntityAttributeType<X, I>::Type>()), ...);
}

/// An entity type: the base's attributes, the key where it has one, then its own.
template <class X>
void registerEntity(IntrospectionReactor& reactor) {
  KroType& type = openType<X>();
  Ptr<KroType const> const base = entityBaseType();
  reactor.handleType(share<KroType const>(&type), base);
  type.sizeIs(sizeof(X));
  type.isEntityIs(true);
  type.hasGenericIfSupportIs(true);
  registerEntityParameters<X>(type, PositionsOfKind<X, AttributeKind::parameter>());
  for (Ptr<KroAttr> const& attribute : base->attributeQ()) {
    type.attributeQEnq(attribute);
    reactor.handleAttr(attribute);
    reactor.handleAttrContextExit();
  }
  if constexpr (KeyedEntity<X>) {
    reactor
        .defNoninstantiatingAttr(type, String8(fwkKeyName), fwkTypeOf<typename EntityAttributeType<X, 0>::Type>(),
                                 nullptr, FlagsOf::fixed, introspectStored, fwkKeyId)
        ->toolKindIs("key");
  }
  OperationRegistrar<bool (X::*)() const>::run(reactor, type, kroHasAttrLogInterfaceName, kroHasAttrLogInterfaceId, {});
  std::apply([&](auto const&... d) { (registerEntityAttribute(reactor, type, d), ...); }, X::Attributes::all);
  type.freeze();
  reactor.handleScopeExit();
}

template <class T>
void registerType(IntrospectionReactor& reactor) {
  if constexpr (Enumeration<T>) {
    registerEnumeration<T>(reactor);
  } else if constexpr (std::is_base_of_v<Entity, T>) {
    registerEntity<T>(reactor);
  } else {
    registerValue<T>(reactor);
  }
}

}  // namespace detail

/// One model source: what its registration function and its load-time initialiser keep. Internal to the library.
struct RegistrationSource {
  bool done = false;         ///< the types were registered
  bool initialised = false;  ///< the load-time initialiser has run
};

/// What the source with this registration function keeps.
template <void (*registration)()>
RegistrationSource& registrationSource() {
  static RegistrationSource source;
  return source;
}

/// What every registration function does: registers the types of its source, once, unless the reactor is not ready yet.
template <void (*registration)(), class... Types>
void registerSource(TypesOf<registration, Types...>, char const* nameSpace) {
  RegistryLock const lock;
  RegistrationSource& source = registrationSource<registration>();
  if (source.done) {
    return;
  }
  Ptr<IntrospectionReactor> const reactor = IntrospectionReactor::global();
  if (!reactor->isReady()) {
    return;
  }
  source.done = true;  // first, so that fetching the type objects does not register again
  (void(fwkTypeOf<Types>()), ...);
  reactor->handleNameSpace(nameSpace);
  (detail::registerType<Types>(*reactor), ...);
  reactor->handleScopeExit();
}

/// Places a type in the tree of types.
template <class T>
void placeType() {
  Ptr<KroType const> const type = fwkTypeOf<T>();
  KroType::typeNodeIs(type.get(), type->fullName());
}

}  // namespace Kro
