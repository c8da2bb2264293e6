// The operations of `EntityGenericIfOf`. Included by that header.
#pragma once

#include "runtime/reflection/EntityReflection.h"

namespace Kro {

template <class X>
void* EntityGenericIfOf<X>::voidPtrIs(Ptr<KroType const> const& wanted) const {
  if (wanted == fwkTypeOf<X>()) {
    return entity();
  }
  if (wanted == entityBaseType()) {
    return rawEntity();
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

/// Calls an entity's function; one that yields nothing yields a null pointer.
template <class C, class R, class Object, class... A>
Ptr<GenericIf> callEntity(R (C::*call)(A...), Object& object, GenericIf const* list,
                          std::array<std::string_view, sizeof...(A)> const& names, std::string_view function, bool) {
  auto const arguments =
      takeArguments<std::tuple<std::remove_cvref_t<A>...>>(list, names, function, std::index_sequence_for<A...>());
  std::apply([&](auto const&... a) { (object.*call)(a...); }, arguments);
  return nullptr;
}
template <class C, class R, class Object, class... A>
Ptr<GenericIf> callEntity(R (C::*call)(A...) const, Object& object, GenericIf const* list,
                          std::array<std::string_view, sizeof...(A)> const& names, std::string_view function,
                          bool isConst) {
  return callWith(call, object, list, names, function, isConst);
}

}  // namespace detail

/// Reads, writes, creates, removes or calls an attribute without key.
template <class X>
template <class D>
Ptr<GenericIf> EntityGenericIfOf<X>::plain(D const& d, AttributeOp const& op, Ptr<GenericIf> const& arg) {
  X& object = *entity();
  if constexpr (D::kind == AttributeKind::function) {
    if (op.opId == AttributeOp::read) {
      constexpr bool modifies = !requires { detail::callWith(d.call, object, nullptr, d.arguments, d.name, true); };
      if (modifies && isConst()) {
        throwConstException("attempting to modify a const instance");
      }
      return detail::callEntity(d.call, object, arg.get(), d.arguments, d.name, isConst());
    }
  } else if constexpr (D::kind == AttributeKind::child) {
    if (op.opId == AttributeOp::read) {
      return reflectEntity((object.*(d.get))(), isConst());
    }
    if (op.opId == AttributeOp::write) {
      return reflectEntity((object.*(d.set))(detail::takeName(arg.get(), d.name)), isConst());
    }
    if (op.opId == AttributeOp::del) {
      return reflectEntity((object.*(d.del))(), isConst());
    }
  } else {
    if (op.opId == AttributeOp::read) {
      return genericIfOf<typename D::Type>((object.*(d.get))(), isConst());
    }
    if constexpr (D::kind != AttributeKind::parameter) {
      if (op.opId == AttributeOp::write) {
        (object.*(d.set))(detail::Argument<typename D::Type>::as(arg.get(), d.name));
        return nullptr;
      }
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
        detail::argumentOf(index.get(), fwkTypeOf<typename D::Key>(), detail::keyNameOf<D>()));
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
        detail::argumentOf(index.get(), fwkTypeOf<typename D::Key>(), detail::keyNameOf<D>()));
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
      throwOpNotSupportedException(String8(d.name), op.opId, true);
  }
}

template <class X>
template <class D>
bool EntityGenericIfOf<X>::tryAttribute(D const& d, AttributeOp const& op, Ptr<GenericIf const> const& index,
                                        Ptr<GenericIf> const& arg, Ptr<GenericIf>& result) {
  if (D::id != static_cast<AttributeId>(op.attributeId)) {
    return false;
  }
  Ptr<KroType const> const own = type();
  ReflectionPlace const place(own->fullName(), d.name, op.opId);
  constexpr bool isCollection =
      D::kind == AttributeKind::values || D::kind == AttributeKind::members || D::kind == AttributeKind::references;
  if (!isCollection && index) {
    throwBadIndexAttrException(String8(d.name));
  }
  requireEntity();
  if constexpr (isCollection) {
    result = keyed(d, op, index, arg);
  } else {
    result = plain(d, op, arg);
  }
  return true;
}

template <class X>
Ptr<GenericIf> EntityGenericIfOf<X>::attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                                 Ptr<GenericIf> const& arg) {
  requireModifiable(op);
  Ptr<GenericIf> result;
  if (std::apply([&](auto const&... d) { return (tryAttribute(d, op, index, arg, result) || ...); },
                 X::Attributes::all)) {
    return result;
  }
  if (op.opId == AttributeOp::read && static_cast<AttributeId>(op.attributeId) == kroHasAttrLogInterfaceId) {
    requireEntity();
    return genericIfOf(entity()->kroHasAttrLogInterface(), isConst());
  }
  if constexpr (requires { typename X::KroHashLink; }) {
    if (op.opId == AttributeOp::read && op.attributeId == 0) {
      requireEntity();
      return genericIfOf((entity()->*(entityAttribute<X, 0>.get))(), isConst());
    }
  }
  return GenericIfEntity::attributeOp(op, index, arg);
}

// --- iteration ---

template <class X>
template <class D>
class EntityGenericIfOf<X>::IteratorState final : public AttributeIteratorConst::State {
 public:
  using Iterator = typename D::MapType::Iterator;
  explicit IteratorState(Iterator const& at) : at_(at) {}

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
  std::unique_ptr<State> clone() const override { return std::make_unique<IteratorState>(at_); }

 private:
  Iterator at_;
};

template <class X>
GenericIf::AttributeIteratorConst EntityGenericIfOf<X>::iterator(AttributeId id, GenericIf const* key) const {
  requireEntity();
  std::unique_ptr<AttributeIteratorConst::State> state;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (D::kind == AttributeKind::values || D::kind == AttributeKind::members ||
                  D::kind == AttributeKind::references) {
      if (D::id != id) {
        return;
      }
      using Iterator = typename D::MapType::Iterator;
      auto const& map = entity()->*(d.field);
      state = std::make_unique<IteratorState<D>>(
          key == nullptr ? Iterator(map)
                         : Iterator(map, *static_cast<typename D::Key const*>(detail::argumentOf(
                                             key, fwkTypeOf<typename D::Key>(), detail::keyNameOf<D>()))));
    }
  });
  return state ? AttributeIteratorConst(share<GenericIf const>(this), id, std::move(state))
               : GenericIf::attributeIteratorConst(id);
}

// --- notification ---

template <class X>
template <class D, class Adapter>
void EntityGenericIfOf<X>::onKey(D const&, Adapter& adapter, typename D::Key const& key) {
  constexpr std::size_t position = detail::keyedBefore<X>(D::id);
  auto& pending = adapter.template pending<position>();
  pending.lastKey = key;
  if (kroOnAttribute(D::id, &pending.count)) {
    pendingIs(D::id);
    return;
  }
  onAttribute(D::id, genericIfOf<typename D::Key>(key));
}

template <class X>
template <class D>
void EntityGenericIfOf<X>::deliver(D const&, bool inBulk) {
  if constexpr (D::kind == AttributeKind::values || D::kind == AttributeKind::members ||
                D::kind == AttributeKind::references) {
    auto& pending = adapter_->template pending<detail::keyedBefore<X>(D::id)>();
    unsigned const count = std::exchange(pending.count, std::uint8_t{0});
    if (inBulk || count > 1) {
      onAttribute(D::id);  // the single keys are no longer known
    } else if (count == 1) {
      onAttribute(D::id, genericIfOf<typename D::Key>(pending.lastKey));
    }
  } else if constexpr (D::kind != AttributeKind::parameter && D::kind != AttributeKind::function) {
    if (inBulk) {
      onAttribute(D::id);
    }
  }
}

template <class X>
void EntityGenericIfOf<X>::handleNotification(ActivityConfig* config) {
  AttributeId const pending = takePending();
  ActivitySm* const machine = actsm();
  bool const all = pending == ActivityConfig::several || pending == ActivityConfig::bulk;
  bool known = all;
  if (all) {
    GenericIfEntity::handleNotification(config);
    redispatch(machine);
  }
  bool first = true;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if (!all && D::id != pending) {
      return;
    }
    known = true;
    if (all && !std::exchange(first, false)) {
      redispatch(machine);
    }
    if (adapter_) {
      deliver(d, pending == ActivityConfig::bulk);
    }
  });
  if (!known) {
    pendingIs(pending);
    GenericIfEntity::handleNotification(config);
  }
}

template <class X>
void EntityGenericIfOf<X>::kroDoZombieReactors(bool zombie) {
  if (zombie == kroMarkedForDeletion()) {
    return;
  }
  if (adapter_) {
    static_cast<typename X::GenericIf_::GenericIf_Adapter_&>(*adapter_).kroDoZombieReactors(zombie);
  }
  GenericIfEntity::kroDoZombieReactors(zombie);
}

// --- creation from a list ---

template <class X>
Ptr<GenericIf> ReflectedEntityType<X>::genericIf(GenericIf const* list, bool) const {
  ReflectionPlace const place(this->fullName(), {}, -1);
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
