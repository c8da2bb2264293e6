// The algorithms behind every entity type's members: compare, store, count, tell. Each stands once and takes the entity
// and the descriptor of the attribute. Included by the entity types' .cpp files.
//
// An observer may do anything to anything: after a dispatch nothing of the entity is touched, and nothing holds an
// uncounted reference across one. What a dispatch needs is reserved before a change is stored.
#pragma once

#include <tuple>
#include <utility>

#include "runtime/entity/EntityTell.h"
#include "runtime/entity/NotifieeOf.h"
#include "runtime/entity/StreamAdapter.h"
#include "runtime/value/Value.h"

namespace Kro {

/// A member that is changed or removed is no longer one that a transfer has yet to repeat. One that is set to what it
/// is stays so: nobody is told of that, so the end that sends the transfer does not learn of it.
inline void clearSweepMark(PtrInterface const& member) {
  if (member.kroMarkedForDeletion()) [[unlikely]] {
    member.kroMarkedForDeletionIs(false);
  }
}

// --- scalars ---

/// Stores a scalar, counts and tells.
template <class X, class D>
void storeScalar(X& entity, D const& d, typename D::Type const& value) {
  entity.kroObservers().reserveDispatch();
  entity.*(d.field) = value;
  entity.kroCountMutation();
  tellChange(entity, d);
}

/// The same, but an equal value changes nothing.
template <class X, class D>
void setScalar(X& entity, D const& d, typename D::Type const& value) {
  if (!(value == entity.*(d.field))) {
    storeScalar(entity, d, value);
  }
}

/// Adds to a counter and returns the new value; it wraps and leaves the mutation counter alone.
template <class X, class D>
typename D::Type incrementCounter(X& entity, D const& d, typename D::Type by) {
  auto const old = (entity.*(d.get))();
  auto const value = static_cast<typename D::Type>(old + by);
  if (value != old) {
    entity.kroObservers().reserveDispatch();
    entity.*(d.field) = value;
    tellChange(entity, d);
  }
  return value;
}

// --- collections of values ---

/// The stored value, or the default for an absent key; one read counted.
template <class X, class D>
typename D::Element valueAt(X const& entity, D const& d, typename D::Key const& key) {
  entity.kroCountRead();
  auto const* const record = (entity.*(d.field)).find(key);
  return record != nullptr ? record->value() : typename D::Element();
}

/// Sets one value: in place where the key is present, else in a new record. An equal value changes nothing; storing the
/// default value at an absent key is a change.
template <class X, class D>
void setMember(X& entity, D const& d, typename D::Key const& key, typename D::Element const& value) {
  auto& map = entity.*(d.field);
  auto const place = map.locate(key);
  if (auto* const record = place.member()) {
    if (value == record->value()) {
      return;
    }
    entity.kroObservers().reserveDispatch();
    clearSweepMark(*record);
    record->valueIs(value);
  } else {
    entity.kroObservers().reserveDispatch();
    map.newMember(key, value, place);
  }
  entity.kroCountMutation();
  (entity.*(d.notify))(key);
}

/// Whether `other` has as many values, and the same one for each key that is here; what is absent there counts as the
/// default. Each size and each value looked up counts one read.
template <class X, class D>
bool haveEqualValues(X const& entity, X const& other, D const& d) {
  auto const sizeOf = [&](X const& of) { return of.kroCountRead(), (of.*(d.field)).size(); };
  if (sizeOf(entity) != sizeOf(other)) {
    return false;
  }
  for (auto const& record : entity.*(d.field)) {
    if (!(record.value() == valueAt(other, d, record.key()))) {
      return false;
    }
  }
  return true;
}

/// Removes a record that stands in the map and returns its value.
template <class X, class D, class Record>
typename D::Element removeRecord(X& entity, D const& d, Record* record) {
  entity.kroObservers().reserveDispatch();
  auto const held = (entity.*(d.field)).memberDel(record);
  clearSweepMark(*held);
  entity.kroCountMutation();
  (entity.*(d.notify))(held->key());
  return held->value();
}

/// Removes one value and returns it; an absent key yields the default.
template <class X, class D>
typename D::Element removeMember(X& entity, D const& d, typename D::Key const& key) {
  auto* const record = (entity.*(d.field)).find(key);
  return record != nullptr ? removeRecord(entity, d, record) : typename D::Element();
}

/// Removes the value that an iterator stands on; one that is at the end or stands on a detached record does nothing.
template <class X, class D>
typename D::Element removeAt(X& entity, D const& d, typename D::MapType::Iterator& iterator) {
  auto const record = iterator.member();
  return (entity.*(d.field)).isMember(record.get()) ? removeRecord(entity, d, record.get()) : typename D::Element();
}

/// Removes everything, one by one in iteration order, each through the type's own iterator remover. A key that a
/// handler adds ahead of the walk goes too, one behind it stays.
template <class X, class D>
void removeAll(X& entity, D const& d) {
  Ptr<X> const held = share(&entity);
  for (typename D::MapType::Iterator it(entity.*(d.field)); it; it.advance()) {
    (entity.*(d.delAt))(it);
  }
}

/// The same for a destructor: what an observer's report throws, or a lack of memory, ends that one dispatch only, and
/// members that a handler added behind the walk go without being told.
template <class X, class D>
void removeAllFinally(X& entity, D const& d) noexcept {
  auto& map = entity.*(d.field);
  for (typename D::MapType::Iterator it(map); it; it.advance()) {
    auto const member = it.member();
    try {
      (entity.*(d.delAt))(it);
    } catch (...) {
      if (map.isMember(member.get())) {
        map.memberDel(member);
        member->parentIs(nullptr);
      }
    }
  }
  while (!map.empty()) {
    auto const member = typename D::MapType::Iterator(map).member();
    map.memberDel(member);
    member->parentIs(nullptr);
  }
}

// --- collections of entities ---

namespace detail {

[[noreturn]] VORNACL_API void throwNameInUse(Name const& entity, std::string_view parameter, String8 const& requested,
                                             String8 const& current);

template <class M, std::size_t I, class Value>
void requireSameParameter(M const& member, Value const& requested) {
  constexpr auto& d = entityAttribute<M, I>;
  if (auto const current = (member.*(d.get))(); !(current == requested)) {
    throwNameInUse(member.name(), d.name, valueToStrep(requested), valueToStrep((member.*(d.get))()));
  }
}

template <class M, class Tuple, std::size_t... I>
void requireSameParameters(M const& member, Tuple const& requested, std::index_sequence<I...>) {
  (requireSameParameter<M, I + 1>(member, std::get<I>(requested)), ...);
}

template <class M, class Tuple, std::size_t... I>
bool haveSameParameters(M const& member, Tuple const& requested, std::index_sequence<I...>) {
  return ((member.*(entityAttribute<M, I + 1>.field) == std::get<I>(requested)) && ...);
}

}  // namespace detail

/// Throws the name-in-use error where a constructor parameter behind the key differs from the requested one; each
/// comparison counts a read on the member.
template <class M, class... P>
void requireSameParameters(M const& member, P const&... requested) {
  detail::requireSameParameters(member, std::tie(requested...), std::index_sequence_for<P...>());
}

/// Whether all constructor parameters behind the key are the requested ones; counts nothing.
template <class M, class... P>
bool haveSameParameters(M const& member, P const&... requested) {
  return detail::haveSameParameters(member, std::tie(requested...), std::index_sequence_for<P...>());
}

/// Adopts a new member: parent attribute, insertion, parent. The key must be absent.
template <class X, class D>
void adoptMember(X& entity, D const& d, Ptr<typename D::Element> const& member) {
  auto& map = entity.*(d.field);
  if (map.find(D::Element::KroHashLink::key(*member)) != nullptr) {
    throwInternalException("a member is created under a key that is present, in " + String8(d.name));
  }
  member->parentAttrIdIs(D::id);
  map.newMember(member);
  member->parentIs(share<Entity>(&entity));
}

/// Finds a member or creates it with `create()`. A present member with equal parameters counts one mutation and tells
/// nobody; one with other parameters throws the name-in-use error and changes nothing.
template <class X, class D, class Create, class... P>
Ptr<typename D::Element> getOrCreate(X& entity, D const& d, typename D::Key const& key, Create const& create,
                                     P const&... parameters) {
  if (Ptr<typename D::Element> const member = (entity.*(d.field))[key]) {
    requireSameParameters(*member, parameters...);
    entity.kroCountMutation();
    return member;
  }
  entity.kroObservers().reserveDispatch();
  Ptr<typename D::Element> member = create();
  entity.kroCountMutation();
  (entity.*(d.notify))(key);
  if (!member) {
    throwRangeException("null ValidPtr");
  }
  return member;
}

/// Removes a member that stands in the map: out of the map, count, parent, tell.
template <class X, class D>
Ptr<typename D::Element> removeEntity(X& entity, D const& d, Ptr<typename D::Element> member) {
  entity.kroObservers().reserveDispatch();
  (entity.*(d.field)).memberDel(member);
  clearSweepMark(*member);
  entity.kroCountMutation();
  member->parentIs(nullptr);
  typename D::Key const key = D::Element::KroHashLink::key(*member);
  (entity.*(d.notify))(key);
  return member;
}

template <class X, class D>
Ptr<typename D::Element> removeEntityByKey(X& entity, D const& d, typename D::Key const& key) {
  Ptr<typename D::Element> member = (entity.*(d.field))[key];
  return member ? removeEntity(entity, d, std::move(member)) : member;
}

template <class X, class D>
Ptr<typename D::Element> removeEntityAt(X& entity, D const& d, typename D::MapType::Iterator& iterator) {
  Ptr<typename D::Element> member = iterator.member();
  return (entity.*(d.field)).isMember(member.get()) ? removeEntity(entity, d, std::move(member)) : nullptr;
}

// --- collections of references ---

namespace detail {

[[noreturn]] VORNACL_API void throwNullReference(std::string_view typeName, std::string_view attribute);
[[noreturn]] VORNACL_API void throwNullNewReference(std::string_view typeName, std::string_view attribute);

}  // namespace detail

/// The referenced entity, or null for an absent key; one read counted.
template <class X, class D>
Ptr<typename D::Element const> referenceAt(X const& entity, D const& d, typename D::Key const& key) {
  entity.kroCountRead();
  auto const* const record = (entity.*(d.field)).find(key);
  return record != nullptr ? record->referenced() : nullptr;
}

/// Makes a record without counting or telling it. The target's key must be absent.
template <class X, class D>
Ptr<typename D::Record> newReference(X& entity, D const& d, Ptr<typename D::Element const> const& target) {
  if (!target) {
    detail::throwNullNewReference(X::Attributes::typeName, d.name);
  }
  auto record = adopt(new typename D::Record(target));
  (entity.*(d.field)).newMember(record);
  return record;
}

/// Refers to `target` under its key; one that is referred to already changes nothing.
template <class X, class D>
void setReference(X& entity, D const& d, Ptr<typename D::Element const> const& target) {
  if (!target) {
    detail::throwNullReference(X::Attributes::typeName, d.name);
  }
  typename D::Key const key = D::Record::KroHashLink::keyOfReferenced(*target);
  Ptr<X> const held = share(&entity);  // the old one's end tells observers, who may drop this entity
  if (auto* const record = (entity.*(d.field)).find(key)) {
    if (record->referenced() == target) {
      return;
    }
    entity.kroObservers().reserveDispatch();
    clearSweepMark(*record);
    auto spare = std::exchange(entity.kroObservers().spare(), {});  // they may change it, which must not use this up
    record->referencedIs(target);
    entity.kroObservers().spare() = std::move(spare);
  } else {
    entity.kroObservers().reserveDispatch();
    newReference(entity, d, target);
  }
  entity.kroCountMutation();
  (entity.*(d.notify))(key);
}

/// Removes a record that stands in the map and returns its target.
template <class X, class D>
Ptr<typename D::Element const> removeReference(X& entity, D const& d, Ptr<typename D::Record> const& record,
                                               typename D::Key const& key) {
  entity.kroObservers().reserveDispatch();
  Ptr<typename D::Element const> target = record->referenced();
  (entity.*(d.field)).memberDel(record);
  clearSweepMark(*record);
  entity.kroCountMutation();
  (entity.*(d.notify))(key);
  return target;
}

template <class X, class D>
Ptr<typename D::Element const> removeReferenceByKey(X& entity, D const& d, typename D::Key const& key) {
  auto const record = (entity.*(d.field))[key];
  return record ? removeReference(entity, d, record, key) : nullptr;
}

template <class X, class D>
Ptr<typename D::Element const> removeReferenceAt(X& entity, D const& d, typename D::MapType::Iterator& iterator) {
  auto const record = iterator.member();
  return (entity.*(d.field)).isMember(record.get())
             ? removeReference(entity, d, record, D::Record::KroHashLink::key(*record))
             : nullptr;
}

// --- single children ---

/// Gets or creates the single child of a name. The same name counts one mutation and tells nobody; another one replaces
/// the child, which counts two and tells once. Where observers replace the new child at once, the one that stands then
/// is returned: what is done to the other would be lost.
template <class X, class D>
Ptr<typename D::Type> setChild(X& entity, D const& d, Name const& name) {
  auto& field = entity.*(d.field);
  if (field && field->name() == name) {
    entity.kroCountMutation();
    return field;
  }
  entity.kroObservers().reserveDispatch();
  Ptr<typename D::Type> created = (entity.*(d.create))(name);  // first: where it fails, nothing has changed
  if (!created) {
    throwRangeException("null ValidPtr");
  }
  Ptr<X> const held = share(&entity);  // the old child's end tells observers, who may drop this entity
  auto spare = std::exchange(entity.kroObservers().spare(), {});  // or change it, which must not use this up
  if (field) {
    entity.kroCountMutation();
    field->parentIs(nullptr);
  }
  field = created;
  entity.kroCountMutation();
  entity.kroObservers().spare() = std::move(spare);
  if (field == created) {  // whoever replaced it has told so
    tellChange(entity, d);
  }
  return field ? field : created;
}

/// Makes a child of the entity without storing it.
template <class X, class D>
Ptr<typename D::Type> newChild(X& entity, D const&, Name const& name) {
  Ptr<typename D::Type> created = adopt(new typename D::Type(name));
  created->parentAttrIdIs(D::id);
  created->parentIs(share<Entity>(&entity));
  return created;
}

/// Removes the single child and returns it, or null.
template <class X, class D>
Ptr<typename D::Type> removeChild(X& entity, D const& d) {
  auto& field = entity.*(d.field);
  if (!field) {
    return nullptr;
  }
  entity.kroObservers().reserveDispatch();
  Ptr<typename D::Type> removed = std::move(field);
  entity.kroCountMutation();
  removed->parentIs(nullptr);
  tellChange(entity, d);
  return removed;
}

/// The same for a destructor; see `removeAllFinally`.
template <class X, class D>
void removeChildFinally(X& entity, D const& d) noexcept {
  try {
    removeChild(entity, d);
  } catch (...) {
  }
}

/// Lets go of a child that a handler created while the entity died, without telling it.
template <class X, class D>
void dropChild(X& entity, D const& d) noexcept {
  while (auto const dropped = std::exchange(entity.*(d.field), nullptr)) {
    dropped->parentIs(nullptr);
  }
}

// --- what is asked of every entity type ---

/// What the destructor of an entity type does: members and children go, each told, then the observers are forgotten.
template <class X>
void endEntity(X& entity) noexcept {
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (D::kind == AttributeKind::members) {
      removeAllFinally(entity, d);
    } else if constexpr (D::kind == AttributeKind::child) {
      removeChildFinally(entity, d);
    }
  });
  forEachEntityAttribute<X>([&](auto const& d) {
    if constexpr (std::remove_cvref_t<decltype(d)>::kind == AttributeKind::child) {
      dropChild(entity, d);
    }
  });
  forgetObservers(entity.kroObservers());
}

/// The name of an own attribute; any other id is answered by the base.
template <class X>
String8 attributeName(X const& entity, AttributeId id) {
  std::string_view found;
  forEachEntityAttribute<X>([&](auto const& d) { found = d.id == id ? d.name : found; });
  return found.empty() ? entity.Entity::attributeString(id) : String8(found);
}

namespace detail {

template <class X, class D>
unsigned auditAttribute(X const& entity, D const& d, unsigned level) {
  if constexpr (D::kind == AttributeKind::values || D::kind == AttributeKind::references) {
    return (entity.*(d.field)).auditErrors(0);
  } else if constexpr (D::kind == AttributeKind::members) {
    unsigned errors = (entity.*(d.field)).auditErrors(level);
    for (auto const& member : entity.*(d.field)) {
      errors += member.parent().get() != &entity || member.parentAttrId() != D::id ? 1U : 0U;
    }
    return errors;
  } else if constexpr (D::kind == AttributeKind::child) {
    auto const& held = entity.*(d.field);
    if (!held) {
      return 0;
    }
    return (held->parent().get() != &entity || held->parentAttrId() != D::id ? 1U : 0U) +
           (level > 0 ? held->auditErrors(level - 1) : 0U);
  } else {
    return 0;
  }
}

/// Every observer of a list must observe the entity in the way that the list is for.
template <class X>
unsigned auditObservers(X const& entity) {
  auto& list = entity.kroObservers();
  unsigned errors = list.auditErrors();
  if (errors != 0) {
    return errors;  // a broken chain may have no end
  }
  for (auto const* at = list.head(); at != nullptr; at = at->kroNext()) {
    errors += at->notifier() != &entity || !at->isRegisteredNotifiee() ? 1U : 0U;
  }
  for (auto const* at = list.silent().head(); at != nullptr; at = at->kroNext()) {
    errors += at->notifier() != &entity || at->isRegisteredNotifiee() || !at->isWeakReference() ? 1U : 0U;
  }
  return errors;
}

}  // namespace detail

/// Consistency errors in an entity and, as deep as `level` tells, below it.
template <class X>
unsigned auditEntity(X const& entity, unsigned level) {
  unsigned errors = detail::auditObservers(entity);
  forEachEntityAttribute<X>([&](auto const& d) { errors += detail::auditAttribute(entity, d, level); });
  for (auto const* adapter = entity.kroFirstAdapter(); adapter != nullptr; adapter = adapter->nextOfEntity()) {
    errors += adapter->audit();
  }
  return errors;
}

}  // namespace Kro
