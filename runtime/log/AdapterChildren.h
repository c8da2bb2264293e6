// What the peer says about members and single children: the part of `AdapterOf` that creates and removes them. Included
// by that header.
#pragma once

#include <tuple>

#include "runtime/log/AdapterOf.h"

namespace Kro::NboAttrLog {

namespace detail {

template <class M, std::size_t... I>
auto readParameters(In& in, Demuxer& demuxer, std::index_sequence<I...>) {
  return std::tuple{nextLenient<typename EntityAttributeType<M, I>::Type>(in, demuxer)...};  // braces: in order
}

}  // namespace detail

// --- who decides ---

/// Whether this end's own word about a member is still on its way, or waits to be written.
template <class X>
template <class D>
bool AdapterOf<X>::isOvertaken(D const& d, typename D::Key const& key) {
  if (!isAnnouncer()) {
    return false;
  }
  auto& keys = flow().keys(d);
  std::uint64_t const known = streamDemuxer()->peerApplied();
  keys.forgetRemovals(known);
  auto const isKey = [&](auto const& removal) { return removal.first == key; };
  auto* const mark = keys.dirty.find(key);
  if (std::any_of(keys.removals.begin(), keys.removals.end(), isKey) ||
      (mark != nullptr && mark->value().removalOwed)) {
    return true;
  }
  auto* const member = (entity().*(d.field)).find(key);
  if (member == nullptr) {
    return false;
  }
  Ptr<KroNboAttrLogSa> const adapter = childAdapter(d, *member);  // a mark of one that is announced says nothing more
  return !adapter || adapter->is(noIdBit) || adapter->announcedAt() > known;
}

template <class X>
template <class D>
bool AdapterOf<X>::isChildOvertaken(D const& d) {
  if (!isAnnouncer()) {
    return false;
  }
  if (flow().bit(d) || flow().keys(d).lastWord > streamDemuxer()->peerApplied()) {
    return true;
  }
  auto const& child = entity().*(d.field);
  Ptr<KroNboAttrLogSa> const adapter = child ? childAdapter(d, *child) : nullptr;
  return child && (!adapter || adapter->is(noIdBit));
}

// --- creating and removing ---

/// Gives the child that is being created its adapter and the id that the peer chose. Nothing is written.
template <class X>
void AdapterOf<X>::bindChild(Entity& child) {
  rawEntity().kroCountRead();
  if (Ptr<KroNboAttrLogSa> const other = child.kroNboAttrLogSa(Ptr<Out const>(nboAttrLogOut()))) {
    other->retire();
  }
  Ptr<KroNboAttrLogSa> const adapter =
      child.kroNboAttrLogSaIs(Kro_BitSet(flagWord() & inheritedBits), inheritedBits, nboAttrLogOut(), this);
  adapter->flowOutIs(FlowOut::nothing);
  adapter->doEntityIdIs(std::exchange(pendingChildId_, nullEntityId), *streamDemuxer());
  streamDemuxer()->announced(child);
}

/// `creation` has find(), mustGoFirst(child), isOvertaken(), voidOwn(), create(), remove() and
/// refuseOther(child), which throws for other parameters of an object that the peer announces again.
template <class X>
template <class D, class Case>
void AdapterOf<X>::applyCreation(D const& d, EntityId id, In& in, Case const& creation) {
  Demuxer& demuxer = *streamDemuxer();
  auto const isBoundElsewhere = [&](Entity* child) { return demuxer.checkEphemeralEntityDeletion(child, id, true); };
  if (auto* const existing = creation.find()) {
    Ptr<KroNboAttrLogSa> const adapter = childAdapter(d, *existing);
    if (adapter && adapter->entityId() == id) {
      creation.refuseOther(*existing);
      startApplying(in);
      creation.voidOwn();
      creation.create();  // finds it again
      return;
    }
  }
  demuxer.idSpent(id);
  demuxer.requireRoomForEntity(this);
  startApplying(in, false);
  if (creation.isOvertaken()) {
    ++demuxer.stats().droppedChanges;
    return;
  }
  pendingChildId_ = id;
  detail::HeldBack thrown;
  constexpr int patience = 8;
  int rounds = 0;
  for (auto* existing = creation.find();
       existing != nullptr && creation.mustGoFirst(*existing, isBoundElsewhere(existing)); existing = creation.find()) {
    if (++rounds > patience) {
      demuxer.failureIs("observers make an entity again and again that a creation replaces");
      break;
    }
    thrown.run([&] { creation.remove(); });
    if (!isRegistered()) {
      thrown.release();
      return;
    }
    stateIs(applyingBit, true);
  }
  if (rounds <= patience) {
    // Not before: what observers say about the key while the old object goes is overruled, too.
    creation.voidOwn();
    demuxer.messageApplied();
    thrown.run([&] { creation.create(); });
    if (isRegistered() && is(applyingBit) && !(pendingChildId_ == nullEntityId)) {
      if (auto* const kept = creation.find()) {
        bindChild(*kept);
      }
    }
  }
  thrown.release();
}

template <class X>
template <class D>
void AdapterOf<X>::deserializeMember(D const& d, bool removal, In& in, bool given) {
  using M = typename D::Element;
  using Key = typename D::Key;
  if (removal) {
    auto const key = nextValue<Key>(in);
    skipRestOfList(in);
    startApplying(in);
    if (given) {
      handleKey(d, key);
    } else if (isOvertaken(d, key)) {
      ++streamDemuxer()->stats().droppedChanges;
    } else {
      peerWroteKey(d, key);
      Ptr<M> const gone = share((entity().*(d.field)).find(key));
      detail::HeldBack thrown;
      thrown.run([&] { (entity().*(d.del))(key); });
      if (gone && isRegistered()) {
        streamDemuxer()->removedByPeer(*gone);
      }
      thrown.release();
    }
    return;
  }
  auto const parameters =
      detail::readParameters<M>(in, *streamDemuxer(), PositionsOfKind<M, AttributeKind::parameter>());
  Key const key = std::get<0>(parameters);
  skipRestOfList(in);
  EntityId const id = in.nextEntityId();
  if (given) {
    startApplying(in);
    handleKey(d, key);
    return;
  }
  struct Case {
    AdapterOf& self;
    D const& d;
    decltype(parameters)& all;
    Key const& key;

    M* find() const { return (self.entity().*(d.field)).find(key); }
    bool mustGoFirst(M const& member, bool boundElsewhere) const {
      return boundElsewhere ||
             !std::apply([&](auto const&, auto const&... rest) { return haveSameParameters(member, rest...); }, all);
    }
    void refuseOther(M const& member) const {
      std::apply([&](auto const&, auto const&... rest) { requireSameParameters(member, rest...); }, all);
    }
    bool isOvertaken() const { return self.isOvertaken(d, key); }
    void voidOwn() const { self.peerWroteKey(d, key); }
    void create() const {
      std::apply([&](auto const&... all_) { (self.entity().*(d.create))(all_...); }, all);
    }
    void remove() const { (self.entity().*(d.del))(key); }
  };
  applyCreation(d, id, in, Case{*this, d, parameters, key});
}

template <class X>
template <class D>
void AdapterOf<X>::deserializeChild(D const& d, bool removal, In& in, bool given) {
  using C = typename D::Type;
  if (removal) {
    skipRestOfList(in);
    startApplying(in);
    if (given) {
      handleChild(d);
    } else if (isChildOvertaken(d)) {
      ++streamDemuxer()->stats().droppedChanges;
    } else {
      takeBit(d);
      flow().removalOwedIs(d, false);
      (entity().*(d.del))();
    }
    return;
  }
  Name const name = nextValue<Name>(in);
  skipRestOfList(in);
  EntityId const id = in.nextEntityId();
  if (given) {
    startApplying(in);
    handleChild(d);
    return;
  }
  struct Case {
    AdapterOf& self;
    D const& d;
    Name const& name;

    C* find() const { return (self.entity().*(d.field)).get(); }
    /// A child of another name is replaced by the mutator itself, which is told once.
    bool mustGoFirst(C const& child, bool boundElsewhere) const { return boundElsewhere && child.name() == name; }
    void refuseOther(C const& child) const {
      if (!(child.name() == name)) {
        ::Kro::detail::throwNameInUse(child.name(), "name", valueToStrep(name), valueToStrep(child.name()));
      }
    }
    bool isOvertaken() const { return self.isChildOvertaken(d); }
    void voidOwn() const {
      self.takeBit(d);
      self.flow().removalOwedIs(d, false);
    }
    void create() const {
      // What the end of a replaced child sets off must not meet this message half applied.
      Ptr<C> const replaced = self.entity().*(d.field);
      (self.entity().*(d.set))(name);
    }
    void remove() const { (self.entity().*(d.del))(); }
  };
  applyCreation(d, id, in, Case{*this, d, name});
}

}  // namespace Kro::NboAttrLog
