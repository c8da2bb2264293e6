// The reading half of `AdapterOf`: how a message is dispatched, and what it says about scalars, values and references.
// Included by that header.
//
// Every field of a message is read, and nothing may be left over, before anything is applied. User code runs while a
// change is applied: it may retire this very adapter, so its registration is asked again after each mutator.
#pragma once

#include <cmath>

#include "runtime/log/AdapterOf.h"

namespace Kro::NboAttrLog {

/// What a payload that came through an attribute list holds beyond what is known here. The id of a child stands behind.
template <class X>
void AdapterOf<X>::skipRestOfList(In& in) {
  if (listEnd_ > in.offset()) {
    in.nextBytes(listEnd_ - in.offset());
  }
}

template <class X>
void AdapterOf<X>::startApplying(In& in, bool counts) {
  if (in.remaining() != 0) {
    throw AttrLogEntityException(
        format("%lld bytes left over at the end of the message", static_cast<long long>(in.remaining())));
  }
  if (streamDemuxer() != nullptr) {
    streamDemuxer()->applyingIs(true);
    if (counts) {
      streamDemuxer()->messageApplied();
    }
  }
}

template <class X>
bool AdapterOf<X>::knowsAttribute(AttributeId id) const {
  AttributeId const own = attributeOf(id);
  bool known = id == syncModeAttributeId || own == attributeListId;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    known = known || (isTold<D> && D::id == own && (id > 0 || isKeyed<D> || D::kind == AttributeKind::child));
  });
  return known;
}

template <class X>
void AdapterOf<X>::handleAttrDeserialization(AttributeId id, DeserializationOptions, unsigned, Ptr<In> const& given) {
  struct ListEnd {
    ~ListEnd() { end = 0; }
    std::size_t& end;
  } const listEnd{listEnd_};
  if (given) {
    dispatchMessage(resolveList(id, *given), *given, true);
    return;
  }
  Ptr<In> const in = nboAttrLogOut() ? nboAttrLogOut()->reverseLog() : nullptr;
  if (!in) {
    return;
  }
  if (is(applyingBit)) {
    throwInternalException("entity reactor is already active");
  }
  struct Applying {
    explicit Applying(AdapterOf& a) : adapter(a) { adapter.stateIs(applyingBit, true); }
    ~Applying() {
      adapter.stateIs(applyingBit, false);
      adapter.pendingChildId_ = nullEntityId;
    }
    AdapterOf& adapter;
  } const applying(*this);
  AttributeId const resolved = resolveList(id, *in);
  if (is(readOnlyRemoteBit) && !readOnlyRemoteOk(resolved) && !convertedToWritable(false)) {
    throw AttrLogEntityException("write-update from readonly proxy: " + rawEntity().fullName() +
                                 " peerName: " + nboAttrLogOut()->peerName());
  }
  dispatchMessage(resolved, *in, false);
}

/// Attribute ids 144 and -144 carry a list of ids; the first one that names a child attribute takes their place.
template <class X>
AttributeId AdapterOf<X>::resolveList(AttributeId id, In& in) {
  constexpr bool hasChildren =
      PositionsOfKind<X, AttributeKind::child>::size() != 0 || PositionsOfKind<X, AttributeKind::members>::size() != 0;
  if (!hasChildren || (id != attributeListId && id != -attributeListId)) {
    return id;
  }
  std::size_t const listBytes = in.nextU16();
  std::size_t const payloadBytes = in.nextU16();
  std::size_t const listEnd = in.offset() + listBytes;
  AttributeId found = id;
  while (found == id && in.offset() < listEnd) {
    AttributeId const listed = in.nextint();
    forEachEntityAttribute<X>([&](auto const& d) {
      using D = std::remove_cvref_t<decltype(d)>;
      if ((D::kind == AttributeKind::child || D::kind == AttributeKind::members) &&
          (listed == D::id || listed == -D::id)) {
        found = listed;
      }
    });
  }
  if (in.offset() < listEnd) {
    in.nextBytes(listEnd - in.offset());
  }
  if (found > 0) {
    in.nextU32();
  }
  listEnd_ = in.offset() + payloadBytes;
  return found;
}

template <class X>
void AdapterOf<X>::dispatchMessage(AttributeId id, In& in, bool given) {
  if (id == syncModeAttributeId) {
    deserializeSyncMode(in);
    return;
  }
  bool known = false;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (isTold<D>) {
      if (!known && (id == D::id || id == -D::id)) {
        known = true;
        deserialize(d, id < 0, in, given);
      }
    }
  });
  if (!known && streamDemuxer() != nullptr) {
    ++streamDemuxer()->stats().skippedMessages;
  }
}

template <class X>
template <class D>
void AdapterOf<X>::deserialize(D const& d, bool removal, In& in, bool given) {
  if constexpr (D::kind == AttributeKind::values) {
    deserializeValue(d, removal, in, given);
  } else if constexpr (D::kind == AttributeKind::members) {
    deserializeMember(d, removal, in, given);
  } else if constexpr (D::kind == AttributeKind::references) {
    deserializeReference(d, removal, in, given);
  } else if constexpr (D::kind == AttributeKind::child) {
    deserializeChild(d, removal, in, given);
  } else if (!removal) {
    deserializeScalar(d, in, given);
  }
}

// --- who decides ---

/// The peer's word about a key stands here: it voids what this end had to say, unless this end decides.
template <class X>
template <class D>
void AdapterOf<X>::peerWroteKey(D const& d, typename D::Key const& key) {
  if (!isAnnouncer()) {
    takeKey(d, key);
    if (auto& exempt = flow().keys(d).exempt; !exempt.empty()) {
      exempt.erase(key);
    }
    repeated(d, key);
  }
}

/// Where this end decides and the peer wrote before it knew all, the value that stands is sent once more.
template <class X>
template <class D>
void AdapterOf<X>::confirmKey(D const& d, typename D::Key const& key) {
  if (isRegistered() && isAnnouncer() && peerIsBehind()) {
    markKey(d, key, false);
  }
}

// --- values, scalars, references ---

template <class X>
template <class D>
void AdapterOf<X>::deserializeScalar(D const& d, In& in, bool given) {
  auto const value = detail::nextLenient<typename D::Type>(in, *streamDemuxer());
  startApplying(in);
  if (given) {
    handleScalar(d);
    return;
  }
  if (!isAnnouncer()) {
    takeBit(d);
  }
  detail::HeldBack thrown;
  thrown.run([&] {
    if constexpr (std::is_floating_point_v<typename D::Type>) {
      auto const& stored = entity().*(d.field);
      if (value == stored && std::signbit(value) != std::signbit(stored)) {
        storeScalar(entity(), d, value);  // equal for the mutator, but the ends agree bit by bit
        return;
      }
    }
    (entity().*(d.set))(value);
  });
  if (isRegistered() && isAnnouncer() && peerIsBehind()) {
    markBit(d);
  }
  thrown.release();
}

template <class X>
template <class D>
void AdapterOf<X>::deserializeValue(D const& d, bool removal, In& in, bool given) {
  auto const key = nextValue<typename D::Key>(in);
  if (removal) {
    startApplying(in);
    takeWord(d, key, given, [&] { (entity().*(d.del))(key); });
  } else {
    auto const value = nextValue<typename D::Element>(in);
    startApplying(in);
    takeWord(d, key, given, [&] { (entity().*(d.set))(key, value); });
  }
}

/// Applies the peer's word about a key of values or references.
template <class X>
template <class D, class Change>
void AdapterOf<X>::takeWord(D const& d, typename D::Key const& key, bool given, Change const& change) {
  if (given) {
    handleKey(d, key);
    return;
  }
  peerWroteKey(d, key);
  detail::HeldBack thrown;
  thrown.run(change);
  confirmKey(d, key);
  thrown.release();
}

template <class X>
template <class D>
void AdapterOf<X>::deserializeReference(D const& d, bool removal, In& in, bool given) {
  if (removal) {
    auto const key = nextValue<typename D::Key>(in);
    startApplying(in);
    takeWord(d, key, given, [&] { (entity().*(d.del))(key); });
    return;
  }
  EntityId const id = in.peekEntityId();
  Ptr<typename D::Element> const target = in.nextEntity<typename D::Element>();
  startApplying(in);
  if (!target) {
    ++streamDemuxer()->stats().nullReferences;
    if (!given) {
      missReference(d, id);
    }
    return;
  }
  typename D::Key const key = D::Record::KroHashLink::keyOfReferenced(*target);
  takeWord(d, key, given, [&] {
    // What the end of a replaced target sets off must not meet this message half applied.
    auto const* const entry = (entity().*(d.field)).find(key);
    Ptr<typename D::Element const> const replaced = entry != nullptr ? entry->referenced() : nullptr;
    (entity().*(d.set))(target);
  });
}

/// The peer refers to an entity that has gone from here. What this end holds under that key stands no more, or, where
/// this end decides, is sent once more; all of it where the key is not known.
template <class X>
template <class D>
void AdapterOf<X>::missReference(D const& d, EntityId id) {
  auto const& gone = flow().keys(d).goneTargets;
  auto const found = std::find_if(gone.begin(), gone.end(), [&](auto const& target) { return target.first == id; });
  if (!isAnnouncer()) {
    if (found != gone.end()) {
      typename D::Key const key = found->second;
      peerWroteKey(d, key);
      (entity().*(d.del))(key);
    }
  } else if (found != gone.end()) {
    markKey(d, found->second, false);
  } else {
    for (auto const& entry : entity().*(d.field)) {
      markKey(d, keyOf<D>(entry), false);
    }
  }
}

}  // namespace Kro::NboAttrLog
