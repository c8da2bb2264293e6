// Reflection of entities, derived from their attribute lists: the reflection object of a live entity, its type object,
// and text that refers to an entity.
#pragma once

#include <memory>
#include <utility>

#include "runtime/entity/EntityOps.h"
#include "runtime/log/EntityType.h"
#include "runtime/reflection/Activity.h"
#include "runtime/reflection/EntityOf.h"
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
  String8::IteratorConst const start = it;
  Ptr<Entity> const entity = sequenceToValueOfPtr(it, end, nullptr);
  Ptr<X> const typed = ptrCast<X>(entity);
  if constexpr (requires { X::Attributes::typeName; }) {
    if (entity && !typed) {
      cannotConvert(start, X::Attributes::typeName);
    }
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
  /// The entity's name, empty where this reflects none.
  String8 name() const override;
  Ptr<GenericIf> attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                             Ptr<GenericIf> const& arg) override;

  /// Defers the telling of changed collections until the scheduler is stepped; null tells them at once again. What
  /// waits goes over to the new scheduler, or is told. Other attributes are always told at once.
  void activitySchedulerIs(ActivityScheduler* scheduler);
  /// Every attribute may have changed, any number of times: at the next step (at once without a scheduler) each is
  /// told by `onAttribute(id)`.
  void pendingBulkIs();
  ActivityConfig* activityPtr() const override { return activity_.get(); }
  ActivitySm* actsm() override { return activity_ ? &activity_->actsm() : nullptr; }

 protected:
  GenericIfEntity(Ptr<Entity> entity, bool isConst) : GenericIf(isConst), entity_(std::move(entity)) {}
  void entityIs(Ptr<Entity> entity) { entity_ = std::move(entity); }
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

template <class X, std::size_t... I>
constexpr auto parameterNames(std::index_sequence<I...>) {
  if constexpr (X::Attributes::isNamed) {
    return std::array<std::string_view, sizeof...(I) + 1>{"name", entityAttribute<X, I>.name...};
  } else {
    return std::array<std::string_view, sizeof...(I)>{entityAttribute<X, I>.name...};
  }
}
/// The names of the constructor parameters of entity type `X`, in order.
template <class X>
inline constexpr auto entityParameterNames = parameterNames<X>(PositionsOfKind<X, AttributeKind::parameter>());

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

template <class X>
class ReflectionAdapter;

/// Reflection of entity type `X`. Derive from it and override `onAttribute` to hear changes. Instantiated in the .cpp
/// file of the type's source. The object holds its entity. Switching its notification or its registration off and on
/// silences the observer.
template <class X>
class VORNACL_API EntityGenericIfOf : public GenericIfEntity {
 public:
  using GenericIf_ = EntityGenericIfOf;

  EntityGenericIfOf(Ptr<X> const& entity, bool isConst);
  ~EntityGenericIfOf() override;

  static Ptr<EntityGenericIfOf> GenericIf_Is(Ptr<X> const& entity, bool isConst) {
    return adopt(new EntityGenericIfOf(entity, isConst));
  }
  /// A reflection object of a new entity, made from its constructor's parameters in order.
  static Ptr<GenericIf> genericIfListConstructor(Ptr<GenericIf const> const& list) {
    return fwkTypeOf<X>()->genericIf(list.get(), false);
  }

  Ptr<X> obj() const { return share(entity()); }
  X* entity() const { return static_cast<X*>(rawEntity()); }

  Ptr<KroType const> type() const override { return fwkTypeOf<X>(); }
  void* voidPtrIs(Ptr<KroType const> const& wanted) const override;
  Ptr<GenericIf> clone() override { return reflectEntity(obj(), isConst()); }
  using GenericIf::clone;
  Ptr<GenericIf> attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                             Ptr<GenericIf> const& arg) override;
  AttributeIteratorConst attributeIteratorConst(AttributeId id) const override { return iterator(id, nullptr); }
  AttributeIteratorConst attributeIteratorKeyConst(AttributeId id, Ptr<GenericIf const> const& key) const override {
    return iterator(id, &key);
  }
  void notifierIs(Ptr<PtrInterface const> const& entity) override;
  void isRegisteredNotifieeIs(bool registered) const override;
  void handleNotification(ActivityConfig* config) override;
  void kroDoZombieReactors(bool zombie) override;

  /// An attribute changed, told by the adapter; `key` points to the key of a keyed one.
  void onChange(AttributeId id, void const* key);
  using GenericIf::onAttribute;

 private:
  template <class D>
  class IteratorState;
  using Operation = Ptr<GenericIf> (*)(EntityGenericIfOf&, AttributeOp const&, Ptr<GenericIf const> const&,
                                       Ptr<GenericIf> const&);
  /// Does `op` on the I-th attribute.
  template <std::size_t I>
  static Ptr<GenericIf> attributeAt(EntityGenericIfOf& self, AttributeOp const& op, Ptr<GenericIf const> const& index,
                                    Ptr<GenericIf> const& arg);
  /// The same for all but the common case, a read that cannot fail: errors can name the place.
  template <std::size_t I>
  [[gnu::noinline]] Ptr<GenericIf> placedOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                            Ptr<GenericIf> const& arg);
  template <std::size_t... I>
  static constexpr auto operationTable(std::index_sequence<I...>);
  Ptr<GenericIf> baseAttributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg);
  template <class D>
  Ptr<GenericIf> readPlain(D const& d);
  template <class D>
  Ptr<GenericIf> plain(D const& d, AttributeOp const& op, Ptr<GenericIf> const& arg);
  template <class D>
  Ptr<GenericIf> keyed(D const& d, AttributeOp const& op, Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg);
  template <class D>
  Ptr<GenericIf> create(D const& d, Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg);
  AttributeIteratorConst iterator(AttributeId id, Ptr<GenericIf const> const* key) const;
  template <class D>
  void deliver(D const& d, bool inBulk);

  Ptr<ReflectionAdapter<X>> adapter_;
};

namespace detail {

/// What deferred delivery has not told yet of an attribute.
template <class D, bool keyed = isKeyed<D>>
struct Pending {};
template <class D>
struct Pending<D, true> {
  typename D::Key lastKey{};
  std::uint8_t count = 0;
};

template <class X, std::size_t... I>
auto pendingOf(std::index_sequence<I...>) -> std::tuple<Pending<EntityAttributeType<X, I>>...>;

}  // namespace detail

/// An observer of `X` on behalf of a reflection object.
template <class X>
class ReflectionAdapter final : public ChangeObserver<X> {
 public:
  using Owner = EntityGenericIfOf<X>;
  explicit ReflectionAdapter(Owner* owner) : owner_(owner) {}

  Ptr<PtrInterface::NotifieeConst> kroReactor() const override { return share(kroRawReactor()); }
  PtrInterface::NotifieeConst* kroRawReactor() const override {
    return owner_ != nullptr ? owner_ : X::Notifiee::kroRawReactor();
  }
  void onNotificationException(AttributeId id) override {
    if (owner_ != nullptr) {
      owner_->onNotificationException(id);
    }
  }
  void onZeroReferences() override {
    if (owner_ != nullptr) {
      owner_->onZeroReferences();
    }
  }
  void kroDoZombieReactors(bool zombie) {
    if (zombie == this->kroMarkedForDeletion()) {
      return;
    }
    if (this->notifier() != nullptr) {
      this->hasNotificationActiveIs(!zombie);
    }
    this->kroMarkedForDeletionIs(zombie);
  }
  /// The reflection object goes: a dispatch that is under way may still call this observer.
  void ownerDel() { owner_ = nullptr; }

  void onChange(AttributeId id, void const* key) override {
    if (Ptr<Owner> const held = share(owner_)) {  // a handler may drop the reflection object
      held->onChange(id, key);
    }
  }
  /// The deferred-delivery state of a collection.
  template <class D>
  detail::Pending<D>& pending() {
    return std::get<detail::Pending<D>>(pending_);
  }

 private:
  Owner* owner_;
  decltype(detail::pendingOf<X>(std::make_index_sequence<entityAttributeCount<X>>())) pending_;
};

/// The type object of entity type `X`, with reflection.
template <class X>
class VORNACL_API ReflectedEntityType : public EntityTypeOf<X> {
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
    return X::GenericIf_::GenericIf_Is(share(dynamic_cast<X*>(object)), isConst);
  }
  /// Gives a child or member its own adapter on a stream that mirrors the `X` that holds it, and announces it there.
  /// `attribute` names the attribute that does. Null where the child is not that one's, and where its parent has no
  /// adapter on the stream.
  Ptr<Entity::KroNboAttrLogSa> childAttrLogIs(Name const& attribute, Ptr<Entity> const& child,
                                              Ptr<NboAttrLog::Out> const& out) const {
    Ptr<Entity> const parent = ptrCast<X>(child ? child->parent() : nullptr);
    auto const adapter = parent ? parent->kroNboAttrLogSa(Ptr<NboAttrLog::Out const>(out)) : nullptr;
    return adapter && child->parentAttr() == attribute.string() ? adapter->childAdapterIs(*child) : nullptr;
  }
};

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
  look(kroNboAttrLogSaForMsgChannelName);
  look(kroHasAttrLogInterfaceName);
  forEachEntityAttribute<X>([&](auto const& d) { look(d.name); });
  if constexpr (KeyedEntity<X>) {
    look(fwkKeyName);
  }
}

}  // namespace Kro
