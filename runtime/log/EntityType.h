// Type objects of entity types, found by their full name when a root arrives.
#pragma once

#include <span>

#include "runtime/entity/EntityAttributes.h"
#include "runtime/entity/StreamAdapter.h"
#include "runtime/type/KroType.h"
#include "runtime/value/Codec.h"

namespace Kro {

/// Describes one entity type: makes its entities from a root creation message.
class VORNACL_API EntityType : public KroType {
 public:
  explicit EntityType(String8 fullName);
  ~EntityType() override;

  /// The entity type of that full name, or null.
  static EntityType const* find(String8 const& fullName);
  /// The first entity type; the others follow through `next()`.
  static EntityType const* first();
  EntityType const* next() const { return next_; }

  /// Reads the constructor parameters and makes an entity without parent.
  virtual Ptr<Entity> newEntity(NboAttrLog::In& in, Entity::Kro_BitSet flags, unsigned n,
                                PtrInterface* parent) const = 0;
  /// Makes an entity without parent from its name alone, null where the type's constructor takes more. The directory
  /// that it would stand in is not looked at.
  virtual Ptr<Entity> newEntity(Name const& name, Ptr<Entity> const& directory) const = 0;
  /// Reads the constructor parameters and yields the first of the offered entities that is of this type and has them,
  /// else a new entity.
  virtual Ptr<Entity> boundOrNew(NboAttrLog::In& in, std::span<Ptr<Entity> const> offered) const = 0;

 private:
  EntityType const* next_ = nullptr;
};

/// The type object of entity type `X`, derived from its attribute list.
template <class X>
class EntityTypeOf : public EntityType {
 public:
  EntityTypeOf() : EntityType(String8(X::Attributes::typeName)) {}

  Ptr<Entity> newEntity(NboAttrLog::In& in, Entity::Kro_BitSet, unsigned, PtrInterface*) const override {
    return make(readAll(in));
  }
  Ptr<Entity> newEntity(Name const& name, Ptr<Entity> const&) const override {
    if constexpr (std::is_constructible_v<X, Name>) {
      return adopt(new X(name));
    } else {
      return nullptr;
    }
  }
  Ptr<Entity> boundOrNew(NboAttrLog::In& in, std::span<Ptr<Entity> const> offered) const override {
    auto const all = readAll(in);
    for (Ptr<Entity> const& candidate : offered) {
      if (auto* const entity = dynamic_cast<X*>(candidate.get()); entity != nullptr && hasAll(*entity, all)) {
        return candidate;
      }
    }
    return make(all);
  }

 private:
  using Positions = PositionsOfKind<X, AttributeKind::parameter>;

  template <std::size_t... I>
  static auto readAll(NboAttrLog::In& in, std::index_sequence<I...>) {
    if constexpr (X::Attributes::isNamed) {
      return std::tuple{NboAttrLog::nextValue<Name>(in),
                        NboAttrLog::nextValue<typename EntityAttributeType<X, I>::Type>(in)...};
    } else {
      return std::tuple{NboAttrLog::nextValue<typename EntityAttributeType<X, I>::Type>(in)...};
    }
  }
  static auto readAll(NboAttrLog::In& in) { return readAll(in, Positions()); }

  template <class Tuple>
  static Ptr<Entity> make(Tuple const& all) {
    return std::apply([](auto const&... p) -> Ptr<Entity> { return adopt(new X(p...)); }, all);
  }

  template <class Tuple, std::size_t... I>
  static bool hasAll(X const& entity, Tuple const& all, std::index_sequence<I...>) {
    constexpr std::size_t shift = X::Attributes::isNamed ? 1 : 0;
    if constexpr (X::Attributes::isNamed) {
      if (!(entity.name() == std::get<0>(all))) {
        return false;
      }
    }
    return ((entity.*(entityAttribute<X, I>.field) == std::get<I + shift>(all)) && ...);
  }
  template <class Tuple>
  static bool hasAll(X const& entity, Tuple const& all) {
    return hasAll(entity, all, Positions());
  }
};

/// Finds or makes the adapter of an entity for a stream: what every entity type's `kroNboAttrLogSaIs` does.
template <class X>
Ptr<Entity::KroNboAttrLogSa> adapterIs(X& entity, Entity::Kro_BitSet flags, unsigned mask,
                                       Ptr<NboAttrLog::Out> const& out, PtrInterface* parent) {
  if (!out) {
    throwRangeException("null ValidPtr");
  }
  if (Ptr<Entity::KroNboAttrLogSa> adapter =
          static_cast<Entity&>(entity).kroNboAttrLogSa(Ptr<NboAttrLog::Out const>(out))) {
    if (dynamic_cast<typename X::KroNboAttrLogSa*>(adapter.get()) != nullptr) {
      adapter->flagWordIs((adapter->flagWord() & ~mask) | (flags.word() & mask));
      return adapter;
    }
    entity.kroNboAttrLogSaDel(Ptr<NboAttrLog::Out const>(out));
  }
  if (out->demuxer() == nullptr) {
    throwInternalException("a stream without demultiplexer mirrors no entity");
  }
  Ptr<Entity::KroNboAttrLogSa> made = adopt(new typename X::KroNboAttrLogSa(flags, entity, out, parent));
  made->flowOutIs(NboAttrLog::FlowOut::nothing);  // whatever is marked has a place from the first moment on
  made->hasNotificationActiveIs(true);
  return made;
}

}  // namespace Kro
