// The operations on attributes of `EntityGenericIfOf`, iteration and creation. Included by the .cpp files of the types'
// sources, which instantiate them.
#pragma once

#include <span>

#include "runtime/reflection/EntityDelivery.h"

namespace Kro {

template <class X>
void* EntityGenericIfOf<X>::voidPtrIs(Ptr<KroType const> const& wanted) const {
  if (wanted == fwkTypeOf<X>()) {
    return entity();
  }
  if (wanted == entityBaseType()) {
    return rawEntity();
  }
  if (wanted == ptrInterfaceType()) {
    return static_cast<PtrInterface*>(rawEntity());
  }
  throwTypeException(type()->name().string(), wanted ? wanted->fullName() : String8(), type()->fullName());
}

// --- operations on attributes ---

namespace detail {

/// The parameters of a child that is created by its name, or of an entity made from a list.
inline Name takeName(GenericIf const* list, std::string_view attribute) {
  LinkedQueue<GenericIf> queue = argumentQueue(list);
  Name const name = Argument<Name>::as(queue.deq().get(), "name");
  if (!queue.empty()) {
    throwUnknownArgException(String8(attribute));
  }
  return name;
}

/// Calls a function that changes the entity; it yields nothing.
template <class C, class R, class Object, class... A>
Ptr<GenericIf> callWith(R (C::*call)(A...), Object& object, GenericIf const* list,
                        std::array<std::string_view, sizeof...(A)> const& names, std::string_view function,
                        bool isConst) {
  static_assert(std::is_void_v<R>, "a function that changes the entity yields nothing");
  if (isConst) {
    throwConstException("attempting to modify a const instance");
  }
  auto const arguments =
      takeArguments<std::tuple<std::remove_cvref_t<A>...>>(list, names, function, std::index_sequence_for<A...>());
  std::apply([&](auto const&... a) { (object.*call)(a...); }, arguments);
  return genericIfOf<void*>(nullptr, isConst);
}

/// The operations that an attribute has.
template <class D>
constexpr std::string_view operationsOf() {
  switch (D::kind) {
    case AttributeKind::parameter:
    case AttributeKind::function:
      return "0";
    case AttributeKind::scalar:
    case AttributeKind::counter:
      return "0 or 128";
    case AttributeKind::child:
      return "0, 128 or 129";
    default:
      return "0 to 3, 128 or 129";
  }
}

inline constexpr std::string_view childParameters[] = {"name"};
template <class D>
inline constexpr std::string_view referenceParameters[] = {keyNameOf<D>()};

/// The parameters that an attribute takes in an argument list.
template <class D>
constexpr std::span<std::string_view const> parametersOf(D const& d) {
  if constexpr (D::kind == AttributeKind::function) {
    return d.arguments;
  } else if constexpr (D::kind == AttributeKind::child) {
    return childParameters;
  } else if constexpr (D::kind == AttributeKind::members) {
    return entityParameterNames<typename D::Element>;
  } else if constexpr (D::kind == AttributeKind::references) {
    return referenceParameters<D>;
  } else {
    return {};
  }
}

}  // namespace detail

template <class X>
template <class D>
Ptr<GenericIf> EntityGenericIfOf<X>::readPlain(D const& d) {
  X const& object = *entity();
  object.kroCountRead();
  if constexpr (D::kind == AttributeKind::child) {
    return reflectEntity(object.*(d.field), isConst());
  } else {
    return genericIfOf<typename D::Type>(object.*(d.field), isConst());
  }
}

/// Reads, writes, creates, removes or calls an attribute without key.
template <class X>
template <class D>
Ptr<GenericIf> EntityGenericIfOf<X>::plain(D const& d, AttributeOp const& op, Ptr<GenericIf> const& arg) {
  X& object = *entity();
  if constexpr (D::kind == AttributeKind::function) {
    if (op.opId == AttributeOp::read) {
      return detail::callWith(d.call, object, arg.get(), d.arguments, d.name, isConst());
    }
  } else if constexpr (D::kind == AttributeKind::child) {
    if (op.opId == AttributeOp::write) {
      return reflectEntity((object.*(d.set))(detail::takeName(arg.get(), d.name)), isConst());
    }
    if (op.opId == AttributeOp::del) {
      return reflectEntity((object.*(d.del))(), isConst());
    }
  } else if constexpr (D::kind != AttributeKind::parameter) {
    if (op.opId == AttributeOp::write) {
      (object.*(d.set))(detail::Argument<typename D::Type>::as(arg.get(), d.name));
      return nullptr;
    }
  }
  throwOpNotSupportedException(String8(d.name), op.opId, false);
}

template <class X>
template <class D>
Ptr<GenericIf> EntityGenericIfOf<X>::create(D const& d, Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg) {
  using Element = std::remove_const_t<typename D::Element>;
  X& object = *entity();
  if constexpr (D::kind == AttributeKind::values) {
    auto const& key = *static_cast<typename D::Key const*>(
        argumentOf(index.get(), fwkTypeOf<typename D::Key>(), detail::keyNameOf<D>()));
    (object.*(d.set))(key, detail::Argument<Element>::as(arg.get(), d.name));
    return nullptr;
  } else {
    if (index) {
      throwBadIndexAttrException(String8(d.name));
    }
    if constexpr (D::kind == AttributeKind::members) {
      auto const parameters =
          detail::takeParameters<Element>(arg.get(), d.name, PositionsOfKind<Element, AttributeKind::parameter>());
      return std::apply([&](auto const&... p) { return reflectEntity((object.*(d.create))(p...), isConst()); },
                        parameters);
    } else {
      LinkedQueue<GenericIf> queue = argumentQueue(arg.get());
      auto const target = detail::Argument<Ptr<Element const>>::as(queue.deq().get(), detail::keyNameOf<D>());
      if (!target) {
        throwTypeException(String8(detail::keyNameOf<D>()), fwkTypeOf<Element>()->fullName(), "null");
      }
      if (!queue.empty()) {
        throwUnknownArgException(String8(d.name));
      }
      (object.*(d.set))(target);
      return reflectEntity(target, isConst());
    }
  }
}

/// Reads, counts, tests, creates or removes in a collection.
template <class X>
template <class D>
Ptr<GenericIf> EntityGenericIfOf<X>::keyed(D const& d, AttributeOp const& op, Ptr<GenericIf const> const& index,
                                           Ptr<GenericIf> const& arg) {
  X& object = *entity();
  auto const& map = object.*(d.field);
  auto const key = [&]() -> typename D::Key const& {
    return *static_cast<typename D::Key const*>(
        argumentOf(index.get(), fwkTypeOf<typename D::Key>(), detail::keyNameOf<D>()));
  };
  switch (op.opId) {
    case AttributeOp::read:
      if constexpr (D::kind == AttributeKind::values) {
        return genericIfOf(valueAt(object, d, key()), isConst());
      } else {
        auto* const record = map.find(key());
        object.kroCountRead();
        if constexpr (D::kind == AttributeKind::members) {
          return reflectEntity(share(record), isConst());
        } else {
          return reflectEntity(record != nullptr ? record->referenced() : nullptr, isConst());
        }
      }
    case AttributeOp::size:
      object.kroCountRead();
      return genericIfOf<std::uint32_t>(map.size(), isConst());
    case AttributeOp::version:
      return genericIfOf<std::uint32_t>(map.version(), isConst());
    case AttributeOp::has:
      return genericIfOf(map.find(key()) != nullptr, isConst());
    case AttributeOp::write:
      return create(d, index, arg);
    case AttributeOp::del:
      if constexpr (D::kind == AttributeKind::values) {
        return genericIfOf((object.*(d.del))(key()), isConst());
      } else {
        return reflectEntity((object.*(d.del))(key()), isConst());
      }
    default:
      throwOpNotSupportedException(String8(d.name), op.opId, false);
  }
}

template <class X>
template <std::size_t I>
Ptr<GenericIf> EntityGenericIfOf<X>::attributeAt(EntityGenericIfOf& self, AttributeOp const& op,
                                                 Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg) {
  if constexpr (requires { typename EntityAttributeType<X, I>::Type; }) {  // neither a collection nor a function
    if (op.opId == AttributeOp::read && !index && self.entity() != nullptr) {
      return self.readPlain(entityAttribute<X, I>);
    }
  }
  return self.placedOp<I>(op, index, arg);
}

template <class X>
template <std::size_t I>
Ptr<GenericIf> EntityGenericIfOf<X>::placedOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                              Ptr<GenericIf> const& arg) {
  constexpr auto& d = entityAttribute<X, I>;
  using D = EntityAttributeType<X, I>;
  constexpr bool isCollection = isKeyed<D>;
  Ptr<GenericIf> const held = share<GenericIf>(this);  // an observer of the change may drop the last handle
  Ptr<KroType const> const own = type();
  ReflectionPlace const place(*own, D::id, d.name, op.opId, detail::operationsOf<D>(), detail::parametersOf(d));
  if (!isCollection && index) {
    throwBadIndexAttrException(String8(d.name));
  }
  requireEntity();
  if constexpr (isCollection) {
    return keyed(d, op, index, arg);
  } else {
    return plain(d, op, arg);
  }
}

template <class X>
template <std::size_t... I>
constexpr auto EntityGenericIfOf<X>::operationTable(std::index_sequence<I...>) {
  return std::array<Operation, sizeof...(I)>{&EntityGenericIfOf::attributeAt<I>...};
}

template <class X>
Ptr<GenericIf> EntityGenericIfOf<X>::attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                                 Ptr<GenericIf> const& arg) {
  static constexpr auto table = operationTable(std::make_index_sequence<entityAttributeCount<X>>());
  requireModifiable(op);
  auto const position = op.attributeId - std::uint32_t{firstEntityAttributeId};  // ids run without gaps
  return position < table.size() ? table[position](*this, op, index, arg) : baseAttributeOp(op, index, arg);
}

/// The key of a member, and the attribute that tells whether the entity can be mirrored.
template <class X>
Ptr<GenericIf> EntityGenericIfOf<X>::baseAttributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                                     Ptr<GenericIf> const& arg) {
  auto const id = static_cast<AttributeId>(op.attributeId);
  bool const isKey = KeyedEntity<X> && id == fwkKeyId;
  if (!isKey && id != kroHasAttrLogInterfaceId) {
    return GenericIfEntity::attributeOp(op, index, arg);
  }
  std::string_view const name = isKey ? fwkKeyName : kroHasAttrLogInterfaceName;
  Ptr<KroType const> const own = type();
  ReflectionPlace const place(*own, id, name, op.opId, "0");
  if (index) {
    throwBadIndexAttrException(String8(name));
  }
  requireEntity();
  if (op.opId != AttributeOp::read) {
    throwOpNotSupportedException(String8(name), op.opId, false);
  }
  if constexpr (KeyedEntity<X>) {
    if (isKey) {
      return genericIfOf((entity()->*(entityAttribute<X, 0>.get))(), isConst());
    }
  }
  return detail::callWith(&X::kroHasAttrLogInterface, *entity(), arg.get(), {}, name, isConst());
}

// --- iteration ---

template <class X>
template <class D>
class EntityGenericIfOf<X>::IteratorState final : public AttributeIteratorConst::State {
 public:
  using Iterator = typename D::MapType::Iterator;
  IteratorState(Ptr<X> entity, Iterator const& at) : entity_(std::move(entity)), at_(at) {}

  bool nonNull() const override { return static_cast<bool>(at_); }
  void advance() override { at_.advance(); }
  Ptr<GenericIf> object(bool isConst) const override {
    if constexpr (D::kind == AttributeKind::values) {
      return genericIfOf(at_->value(), isConst);
    } else if constexpr (D::kind == AttributeKind::members) {
      return reflectEntity(at_.member(), isConst);
    } else {
      return reflectEntity(at_->referenced(), isConst);
    }
  }
  Ptr<GenericIf> key() const override {
    if constexpr (D::kind == AttributeKind::values) {
      return genericIfOf(at_->key());
    } else {
      return genericIfOf<typename D::Key>(std::remove_reference_t<decltype(*at_)>::KroHashLink::key(*at_));
    }
  }
  std::unique_ptr<State> clone() const override { return std::make_unique<IteratorState>(entity_, at_); }

 private:
  Ptr<X> entity_;  // owns the map that the iterator points to
  Iterator at_;
};

template <class X>
GenericIf::AttributeIteratorConst EntityGenericIfOf<X>::iterator(AttributeId id,
                                                                 Ptr<GenericIf const> const* key) const {
  requireEntity();
  std::unique_ptr<AttributeIteratorConst::State> state;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (isKeyed<D>) {
      if (D::id != id) {
        return;
      }
      using Iterator = typename D::MapType::Iterator;
      auto const& map = entity()->*(d.field);
      state = std::make_unique<IteratorState<D>>(
          obj(), key == nullptr
                     ? Iterator(map)
                     : Iterator(map, *static_cast<typename D::Key const*>(argumentOf(
                                         key->get(), fwkTypeOf<typename D::Key>(), detail::keyNameOf<D>()))));
    }
  });
  return state ? AttributeIteratorConst(share<GenericIf const>(this), id, std::move(state))
               : GenericIf::attributeIteratorConst(id);
}

// --- creation from a list ---

template <class X>
Ptr<GenericIf> ReflectedEntityType<X>::genericIf(GenericIf const* list, bool) const {
  ReflectionPlace const place(*this, detail::entityParameterNames<X>);
  LinkedQueue<GenericIf> queue = argumentQueue(list);
  auto const make = [&]<std::size_t... I>(std::index_sequence<I...>)->Ptr<X> {
    if constexpr (X::Attributes::isNamed) {
      std::tuple<Name, typename EntityAttributeType<X, I>::Type...> const all{
          detail::Argument<Name>::as(queue.deq().get(), "name"),
          detail::Argument<typename EntityAttributeType<X, I>::Type>::as(queue.deq().get(),
                                                                         entityAttribute<X, I>.name)...};
      return queue.empty() ? std::apply([](auto const&... p) { return adopt(new X(p...)); }, all) : nullptr;
    } else {
      std::tuple<typename EntityAttributeType<X, I>::Type...> const all{
          detail::Argument<typename EntityAttributeType<X, I>::Type>::as(queue.deq().get(),
                                                                         entityAttribute<X, I>.name)...};
      return queue.empty() ? std::apply([](auto const&... p) { return adopt(new X(p...)); }, all) : nullptr;
    }
  };
  Ptr<X> const made = make(PositionsOfKind<X, AttributeKind::parameter>());
  if (!made) {
    throwUnknownArgException(this->name().string());
  }
  return genericIf_(made.get(), false);
}

}  // namespace Kro
