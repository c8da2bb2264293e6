// Reflection of entities, derived from their attribute lists: the reflection object of a live entity, its type object,
// and text that refers to an entity.
#pragma once

#include <memory>
#include <utility>

#include "runtime/entity/EntityOps.h"
#include "runtime/log/EntityType.h"
#include "runtime/reflection/Activity.h"
#include "runtime/reflection/Register.h"

namespace Kro {

/// The text of a reference to an entity: its path in quotes, `null` without one.
VORNACL_API String8 valueToStrepOfRawPtr(Entity const* entity, std::type_info const& type);

/// While one lives, text that refers to entities is read from this root on. Without one only `null` reads.
class VORNACL_API EntityTextScope {
 public:
  explicit EntityTextScope(Ptr<Entity> root);
  ~EntityTextScope();
  EntityTextScope(EntityTextScope const&) = delete;
  EntityTextScope& operator=(EntityTextScope const&) = delete;

 private:
  Ptr<Entity> root_;
  EntityTextScope const* outer_;
  friend VORNACL_API Ptr<Entity> sequenceToValueOfPtr(String8::IteratorConst& it, String8::IteratorConst const& end,
                                                      Entity*);
};

/// Reads a reference to an entity: a quoted path from the root of the scope, or `null`. Throws `RangeException`.
VORNACL_API Ptr<Entity> sequenceToValueOfPtr(String8::IteratorConst& it, String8::IteratorConst const& end, Entity*);

/// Reads a reference to an `X`; throws `ConversionException` for an entity of another type.
template <std::derived_from<Entity> X>
Ptr<X> sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, Ptr<X>*) {
  Ptr<Entity> const entity = sequenceToValueOfPtr(it, end, nullptr);
  Ptr<X> const typed = ptrCast<X>(entity);
  if (entity && !typed) {
    cannotConvert(it, end, typeid(X));
  }
  return typed;
}

/// Reads a whole text; throws for text that is left.
template <class P>
requires std::derived_from<std::remove_reference_t<decltype(*std::declval<P>())>, Entity> P
strepToValue(String8 const& text, P* = nullptr) {
  String8::IteratorConst it = text.begin();
  P entity = sequenceToValue(it, text.end(), static_cast<P*>(nullptr));
  if (!(it == text.end())) {
    throwJunk(it, text);
  }
  return entity;
}

/// The reflection object of an entity, or of none.
class VORNACL_API GenericIfEntity : public GenericIf {
 public:
  ~GenericIfEntity() override;

  /// The entity, null where this reflects none.
  Entity* rawEntity() const { return entity_.get(); }
  String8 strRep() const override { return valueToStrepOfRawPtr(rawEntity(), typeid(Entity)); }

  /// Defers the telling of changed collections until the scheduler is stepped; null tells them at once again.
  void activitySchedulerIs(ActivityScheduler* scheduler);
  ActivityConfig* activityPtr() const override { return activity_.get(); }
  ActivitySm* actsm() override { return activity_ ? &activity_->actsm() : nullptr; }
  using PtrInterface::Notifiee::name;

 protected:
  GenericIfEntity(Ptr<Entity> entity, bool isConst) : GenericIf(isConst), entity_(std::move(entity)) {}
  /// Throws where there is no entity.
  void requireEntity() const;
  void pendingIs(AttributeId id);
  AttributeId takePending() { return std::exchange(pending_, ActivityConfig::nothing); }

 private:
  Ptr<Entity> entity_;
  std::unique_ptr<ActivityConfig> activity_;
  AttributeId pending_ = ActivityConfig::nothing;
};

namespace detail {

template <class M, std::size_t... I>
auto takeParameters(GenericIf const* list, std::string_view attribute, std::index_sequence<I...>) {
  LinkedQueue<GenericIf> queue = argumentQueue(list);
  std::tuple<typename EntityAttributeType<M, I>::Type...> taken{
      Argument<typename EntityAttributeType<M, I>::Type>::as(queue.deq().get(), entityAttribute<M, I>.name)...};
  if (!queue.empty()) {
    throwUnknownArgException(String8(attribute));
  }
  return taken;
}

/// The number of collection attributes of `X` before id `id`: the place of an observer's deferred-delivery state.
template <class X>
constexpr std::size_t keyedBefore(AttributeId id) {
  std::size_t n = 0;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    n += D::id < id && (D::kind == AttributeKind::values || D::kind == AttributeKind::members ||
                        D::kind == AttributeKind::references)
             ? 1U
             : 0U;
  });
  return n;
}

/// The name of a collection's key: that of the member's parameter which it is.
template <class D>
constexpr std::string_view keyNameOf() {
  if constexpr (D::kind == AttributeKind::values) {
    return "kro_index";
  } else {
    std::string_view found;
    forEachEntityAttribute<std::remove_const_t<typename D::Element>>([&](auto const& d) {
      using P = std::remove_cvref_t<decltype(d)>;
      if constexpr (P::kind == AttributeKind::parameter) {
        if constexpr (std::is_same_v<typename P::Type, typename D::Key>) {
          found = found.empty() ? d.name : found;
        }
      }
    });
    return found;
  }
}

}  // namespace detail

/// A reflection object of an entity or of none.
template <class X>
Ptr<GenericIf> reflectEntity(Ptr<X> const& entity, bool isConst) {
  return fwkTypeOf<std::remove_const_t<X>>()->genericIf_(const_cast<std::remove_const_t<X>*>(entity.get()), isConst);
}

/// Reflection of entity type `X`; the type's own `GenericIf_` adds the observer whose handlers have names.
template <class X>
class EntityGenericIfOf : public GenericIfEntity {
 public:
  Ptr<X> obj() const { return share(entity()); }
  X* entity() const { return static_cast<X*>(rawEntity()); }

  Ptr<KroType const> type() const override { return fwkTypeOf<X>(); }
  void* voidPtrIs(Ptr<KroType const> const& wanted) const override;
  Ptr<GenericIf> clone() override { return reflectEntity(obj(), isConst()); }
  Ptr<GenericIf> attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                             Ptr<GenericIf> const& arg) override;
  AttributeIteratorConst attributeIteratorConst(AttributeId id) const override { return iterator(id, nullptr); }
  AttributeIteratorConst attributeIteratorKeyConst(AttributeId id, Ptr<GenericIf const> const& key) const override {
    return iterator(id, key.get());
  }
  void handleNotification(ActivityConfig* config) override;
  void kroDoZombieReactors(bool zombie) override;

  ~EntityGenericIfOf() override {
    if (adapter_) {
      adapter_->notifierIs(nullptr);
    }
  }

  /// A keyed attribute changed, told by the adapter.
  template <class D, class Adapter>
  void onKey(D const& d, Adapter& adapter, typename D::Key const& key);
  using GenericIf::onAttribute;

 protected:
  EntityGenericIfOf(Ptr<X> const& entity, bool isConst) : GenericIfEntity(entity, isConst) {}
  /// Links the object to its entity through an observer of the type.
  void adapterIs(Ptr<typename X::Notifiee> const& adapter) {
    adapter_ = adapter;
    adapter->isRegisteredNotifieeIs(true);
    adapter->notifierIs(Ptr<PtrInterface const>(obj()));
    adapter->isWeakReferenceIs(true);
    notifierIs(Ptr<PtrInterface const>(obj()));
  }

 private:
  template <class D>
  class IteratorState;
  template <class D>
  bool tryAttribute(D const& d, AttributeOp const& op, Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg,
                    Ptr<GenericIf>& result);
  template <class D>
  Ptr<GenericIf> plain(D const& d, AttributeOp const& op, Ptr<GenericIf> const& arg);
  template <class D>
  Ptr<GenericIf> keyed(D const& d, AttributeOp const& op, Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg);
  template <class D>
  Ptr<GenericIf> create(D const& d, Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg);
  AttributeIteratorConst iterator(AttributeId id, GenericIf const* key) const;
  template <class D>
  void deliver(D const& d, bool inBulk);

  Ptr<typename X::Notifiee> adapter_;
};

/// The base of `X::GenericIf_::GenericIf_Adapter_`: an observer of `X` on behalf of a reflection object.
template <class X>
class ReflectionAdapter : public X::Notifiee {
 public:
  using Owner = typename X::GenericIf_;
  explicit ReflectionAdapter(Owner* owner) : owner_(owner) {}

  Ptr<PtrInterface::NotifieeConst> kroReactor() const override { return share<PtrInterface::NotifieeConst>(owner_); }
  PtrInterface::NotifieeConst* kroRawReactor() const override { return owner_; }
  void onNotificationException(AttributeId id) override { owner_->onNotificationException(id); }
  void onZeroReferences() override { owner_->onZeroReferences(); }
  void kroDoZombieReactors(bool zombie) {
    if (zombie == this->kroMarkedForDeletion()) {
      return;
    }
    if (this->notifier() != nullptr) {
      this->hasNotificationActiveIs(!zombie);
    }
    this->kroMarkedForDeletionIs(zombie);
  }

 protected:
  Owner& owner() const { return *owner_; }

 private:
  Owner* owner_;
};

/// The type object of entity type `X`, with reflection.
template <class X>
class ReflectedEntityType final : public EntityTypeOf<X> {
 public:
  using EntityTypeOf<X>::genericIf;

  Ptr<GenericIf> genericIf(void const* entity, bool isConst) const override {
    return genericIf_(const_cast<X*>(static_cast<X const*>(entity)), isConst);
  }
  Ptr<GenericIf> genericIf(String8 const& text, bool isConst) const override {
    return genericIf_(strepToValue<Ptr<X>>(text).get(), isConst);
  }
  Ptr<GenericIf> genericIf(GenericIf const* list, bool isConst) const override;
  Ptr<GenericIf> genericIf_(PtrInterface* object, bool isConst) const override {
    return Ptr<GenericIf>(new typename X::GenericIf_(share(dynamic_cast<X*>(object)), isConst), Adopt{});
  }
};

namespace detail {

/// The type object of entity type `X`; `registration` is the function of the source that declares it.
template <class X>
Ptr<KroType const> entityTypeOf(void (*registration)()) {
  return slottedType<X, ReflectedEntityType<X>>(registration);
}

}  // namespace detail

/// The attributes of an entity type, looked up by name when the library is loaded and kept for its life; null where
/// they are not registered yet.
template <class X>
std::vector<Ptr<KroAttr>>& attributeHandles() {
  static auto* const handles = new std::vector<Ptr<KroAttr>>;
  return *handles;
}
template <class X>
void placeEntityType() {
  placeType<X>();
  Ptr<KroType const> const type = fwkTypeOf<X>();
  auto& handles = attributeHandles<X>();
  auto const look = [&](std::string_view name) { handles.push_back(type->attr(String8(name))); };
  look("kroNboAttrLogSaForMsgChannel");
  look("kroHasAttrLogInterface");
  forEachEntityAttribute<X>([&](auto const& d) { look(d.name); });
  if constexpr (requires { typename X::KroHashLink; }) {
    look("fwkKey");
  }
}

}  // namespace Kro

#include "runtime/reflection/EntityReflectionOps.h"
