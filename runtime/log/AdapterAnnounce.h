// The part of `AdapterOf` that announces entities to the peer, and what references to them wait for. Included by that
// header.
#pragma once

#include <utility>

#include "runtime/log/AdapterOf.h"

namespace Kro::NboAttrLog {

// --- announcing children ---

/// The adapter of a child, made where it has none. One that mirrors the child as a root of its own, or below another
/// entity, ends: the child has become a part of this tree.
template <class X>
Ptr<Entity::KroNboAttrLogSa> AdapterOf<X>::childAdapterIs(std::uint32_t flags, Entity& child) {
  if (Ptr<KroNboAttrLogSa> const adapter = child.kroNboAttrLogSa(Ptr<Out const>(nboAttrLogOut()))) {
    if (adapter->parentAdapter() == this) {
      adapter->flagWordIs((adapter->flagWord() & ~inheritedBits) | flags);
      return adapter;
    }
    adapter->retire();
  }
  Ptr<KroNboAttrLogSa> const made = child.kroNboAttrLogSaIs(Kro_BitSet(flags), inheritedBits, nboAttrLogOut(), this);
  made->kroOnInit();
  made->flowOutIs(firstEntityAttributeId);
  return made;
}

namespace detail {

/// Calls `f` with the constructor parameters of an entity, each read counted.
template <class M, class F, std::size_t... I>
decltype(auto) withParameters(M const& entity, F const& f, std::index_sequence<I...>) {
  return f((entity.*(entityAttribute<M, I>.get))()...);
}
template <class M, class F>
decltype(auto) withParameters(M const& entity, F const& f) {
  return withParameters(entity, f, PositionsOfKind<M, AttributeKind::parameter>());
}

}  // namespace detail

/// Writes the creation message of a child, unless that was written.
template <class X>
template <class D, class C>
void AdapterOf<X>::announce(D const&, C& child) {
  Expect const expect(Exception::childStreamId);
  Ptr<KroNboAttrLogSa> const adapter = childAdapterIs(flagWord() & inheritedBits, child);
  if (adapter->is(announcedBit) || !adapter->isAnnouncer()) {
    return;
  }
  bool const isNew = adapter->is(noIdBit);
  adapter->doAssignEntityId();
  MsgHeader const header = headerOf(D::id, true, 0, childCreationCode);
  try {
    if constexpr (D::kind == AttributeKind::child) {
      write(header, child.name(), adapter->entityId());
    } else {
      detail::withParameters(child,
                             [&](auto const&... parameters) { write(header, parameters..., adapter->entityId()); });
    }
  } catch (...) {
    if (isNew) {
      adapter->retire();
    }
    throw;
  }
  adapter->stateIs(announcedBit, true);
  adapter->announcedAtIs(streamDemuxer()->sent());
  if (isNew) {
    streamDemuxer()->queue().mark(*adapter);
    yieldToChild();
  }
  streamDemuxer()->announced(child);
}

template <class X>
template <class D, class C>
Ptr<Entity::KroNboAttrLogSa> AdapterOf<X>::introduce(D const& d, std::uint32_t flags, C& child) {
  Ptr<KroNboAttrLogSa> const known = childAdapter(d, child);
  if (!known || known->parentAdapter() != this || (!known->is(announcedBit) && known->isAnnouncer())) {
    bool isHere;
    if constexpr (D::kind == AttributeKind::child) {
      isHere = (entity().*(d.field)).get() == &child;
    } else {
      isHere = (entity().*(d.field)).find(keyOf<D>(child)) == &child;
    }
    if (!isHere) {
      return nullptr;
    }
    if constexpr (D::kind == AttributeKind::child) {
      handleChild(d);
    } else {
      handleKey(d, keyOf<D>(child));
    }
  }
  Ptr<KroNboAttrLogSa> const adapter = childAdapterIs(flags, child);
  adapter->keepUntilAnnounced();
  return adapter;
}

template <class X>
Ptr<Entity::KroNboAttrLogSa> AdapterOf<X>::childAdapterIs(Entity& child) {
  Ptr<KroNboAttrLogSa> adapter;
  withEntityAttribute<X>(child.parentAttrId(), [&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (D::kind == AttributeKind::child) {
      if (auto* const typed = dynamic_cast<typename D::Type*>(&child)) {
        adapter = announceChild(d, flagWord() & inheritedBits, *typed);
      }
    } else if constexpr (D::kind == AttributeKind::members) {
      if (auto* const typed = dynamic_cast<typename D::Element*>(&child)) {
        adapter = announceMember(d, flagWord() & inheritedBits, *typed);
      }
    }
  });
  return adapter;
}

template <class X>
void AdapterOf<X>::doSerializeOrphan() {
  Ptr<Out> const out = nboAttrLogOut();
  beforeMessage();
  out->nextHeaderIs(MsgHeader{rootCreationEntityId, rootCreationAttributeId, true, 0, 0, false});
  try {
    out << Out::TransactToken::begin;
    out->currentPayloadSectionIs(1);
    out << String8(X::Attributes::typeName);
    out->currentPayloadSectionIs(3);
    if constexpr (X::Attributes::isNamed) {
      out << entity().name();
    }
    detail::withParameters(entity(), [&](auto const&... parameters) { (void(out << parameters), ...); });
    out->currentPayloadSectionIs(4);
    out << entityId() << Out::TransactToken::end;
  } catch (...) {
    out->messageAbort();
    throw;
  }
  afterMessage();
  stateIs(announcedBit, true);
  announcedAtIs(streamDemuxer()->sent());
  streamDemuxer()->announced(entity());
}

// --- targets of references ---

template <class X>
void AdapterOf<X>::targetAnnounced(Entity const& target) {
  if (is(readOnlyBit)) {
    return;  // writes nothing
  }
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (D::kind == AttributeKind::references) {
      bool const isStillToCome = !flow().bit(d) && !flow().keys(d).bookmark;
      auto const* const typed = dynamic_cast<typename D::Element const*>(&target);
      if (typed == nullptr || isStillToCome) {
        return;
      }
      // Where the peer decides, what this end merely kept from before is for the transfer to repeat or to sweep, and an
      // entity of the peer's is no news to it.
      auto const& keys = flow().keys(d);
      bool const isNews = isAnnouncer() || (keys.isConfirmed && childAdapter(d, *typed)->isAnnouncer());
      auto const key = D::Record::KroHashLink::keyOfReferenced(*typed);
      auto const* const entry = (entity().*(d.field)).find(key);
      if (entry != nullptr && entry->referenced().get() == typed && (isNews || keys.exempt.count(key) != 0)) {
        markKey(d, key, false);
      }
    }
  });
}

template <class X>
void AdapterOf<X>::targetRetired(EntityId id, Entity const& target) {
  constexpr std::size_t most = 1024;  // more will not cross one message
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (D::kind == AttributeKind::references) {
      if (auto const* const typed = dynamic_cast<typename D::Element const*>(&target)) {
        auto& gone = flow().keys(d).goneTargets;
        gone.emplace_back(id, D::Record::KroHashLink::keyOfReferenced(*typed));
        if (gone.size() > most) {
          gone.pop_front();
        }
      }
    }
  });
}

}  // namespace Kro::NboAttrLog
