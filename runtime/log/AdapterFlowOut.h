// The part of `AdapterOf` that writes what waits: whole collections and dirty attributes, as long as there is room.
// Included by that header.
#pragma once

#include <tuple>

#include "runtime/log/AdapterOf.h"

namespace Kro::NboAttrLog {

/// The peer follows one transfer into an entity at a time. One that waits to go on when another begins, which a mark
/// without memory brings about, begins again when its turn comes.
template <class X>
void AdapterOf<X>::abortTransfer() {
  forEachKeyed<X>([&](auto const& d) {
    if (auto& bookmark = flow().keys(d).bookmark) {
      sendTransactionMarker(d.id, transactionAbort, 0);
      bookmark.reset();
    }
  });
}

template <class X>
void AdapterOf<X>::flowOutIs(AttributeId from) {
  Ptr<Flow> const made = adopt(new Flow(from));
  marksGone();
  flowOutStored(made);
  if (!is(noIdBit) && made->hasDirtyAttributes()) {
    queueFlowOut();
  }
}

template <class X>
template <class D>
void AdapterOf<X>::reannounceMembers(D const& d) {
  if constexpr (D::kind == AttributeKind::members) {
    for (auto& member : entity().*(d.field)) {
      if (Ptr<KroNboAttrLogSa> const adapter = childAdapter(d, member)) {
        adapter->stateIs(announcedBit, false);
      }
    }
  }
}

/// Sends the collection whole, from its first entry or from where it was interrupted.
template <class X>
template <class D>
bool AdapterOf<X>::walkWhole(D const& d) {
  using Iterator = typename D::MapType::Iterator;
  auto& keys = flow().keys(d);
  auto& map = entity().*(d.field);
  if (!keys.bookmark) {
    abortTransfer();
    reannounceMembers(d);
    sendTransactionMarker(D::id, transactionBegin, 0);
  }
  Iterator at = keys.bookmark ? Iterator(map, kroFlowOutBookmarkDeq<typename D::Key>(keys)) : Iterator(map);
  while (at) {
    typename D::Key const key = keyOf<D>(*at);
    if constexpr (D::kind == AttributeKind::values) {
      serializeValue(d, key, detail::elementOf<D>(*at));
    } else if constexpr (D::kind == AttributeKind::members) {
      serializeEntity(d, key, detail::elementOf<D>(*at));
    } else {
      serializeReference(d, key, detail::elementOf<D>(*at));
    }
    if (flow().suspended()) {
      kroFlowOutBookmarkEnq<typename D::Key>(keys, key);  // not written: it stays dirty and comes again
      return false;
    }
    at.advance();
    if (at && !continueFlowOut()) {
      kroFlowOutBookmarkEnq<typename D::Key>(keys, keyOf<D>(*at));
      return false;
    }
  }
  sendTransactionMarker(D::id, transactionEnd, 0);
  flow().bitIs(d, true);
  return true;
}

template <class X>
template <class D>
bool AdapterOf<X>::walkDirtyKeys(D const& d) {
  auto& dirty = flow().keys(d).dirty;
  while (dirty.size() != 0) {
    if (!continueFlowOut()) {
      return false;
    }
    typename D::Key const key = dirty.begin()->key();
    handleKey(d, key);
    if (flow().suspended()) {
      return false;
    }
  }
  return true;
}

template <class X>
template <class D>
bool AdapterOf<X>::writeCollection(D const& d) {
  return (flow().bit(d) || walkWhole(d)) && walkDirtyKeys(d);
}

/// Writes what waits of a collection. Outside a flow-out only where that may be written out of the queue's turn; what
/// is left is for the queue.
template <class X>
template <class D>
bool AdapterOf<X>::serializeCollection(D const& d) {
  if (is(flowingOutBit)) {
    return !mayWriteAtAll(D::id) || writeCollection(d);
  }
  switch (permissionToWrite(D::id)) {
    case Permission::ignore:
      return true;
    case Permission::mark:
      break;
    case Permission::write:
      FlowingOut const flowing(*this);
      flow().attrIdIs(D::id);
      writeCollection(d);
  }
  bool const isWritten = flow().bit(d) && flow().keys(d).dirty.size() == 0;
  if (flow().hasDirtyAttributes()) {
    queueFlowOut();
  }
  return isWritten;
}

template <class X>
template <class D>
bool AdapterOf<X>::flowOutAttribute(D const& d, AttributeId from, AttributeId& resumeAt) {
  if constexpr (isTold<D>) {
    if (D::id < from) {
      return true;
    }
    resumeAt = D::id;
    if (!continueFlowOut()) {
      return false;
    }
    flow().attrIdIs(D::id);
    if constexpr (isKeyed<D>) {
      if (!serializeCollection(d)) {
        return false;
      }
    } else if (flow().bit(d)) {
      if constexpr (D::kind == AttributeKind::child) {
        handleChild(d);
      } else {
        handleScalar(d);
      }
      if (flow().suspended()) {
        return false;
      }
    }
    resumeAt = 0;
  }
  return true;
}

template <class X>
AttributeId AdapterOf<X>::handleAttrFlowOut(AttributeId from) {
  if (flowOut() == nullptr || isSilent()) {
    return 0;
  }
  FlowingOut const flowing(*this);
  while (AttributeId const aborted = flow().pendingAbort()) {
    sendTransactionMarker(aborted, transactionAbort, 0);
    flow().pendingAbortDel(aborted);
  }
  AttributeId resumeAt = 0;
  std::apply([&](auto const&... d) { (void)(flowOutAttribute(d, from, resumeAt) && ...); }, X::Attributes::all);
  return resumeAt;
}

template <class X>
void AdapterOf<X>::freeResyncState(FlowOut& flowOut) {
  auto& typed = static_cast<Flow&>(flowOut);
  withKeyed<X>(typed.attrId(), [&](auto const& d) { typed.keys(d).bookmark.reset(); });
}

template <class X>
unsigned AdapterOf<X>::audit() const {
  unsigned errors = KroNboAttrLogSa::audit();
  if (flowOut() != nullptr) {
    forEachKeyed<X>([&](auto const& d) { errors += flow().keys(d).dirty.auditErrors(0); });
    // What is dirty must wait somewhere, but for an entity that is still to be announced.
    errors += flow().hasDirtyAttributes() && waiting().since == 0 && !is(noIdBit) ? 1U : 0U;
  }
  return errors;
}

template <class X>
void AdapterOf<X>::kroInstantiateSerialize() {
  KroNboAttrLogSa::kroInstantiateSerialize();
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (D::kind == AttributeKind::child) {
      handleChild(d);
    } else if constexpr (D::kind == AttributeKind::members) {
      serializeCollection(d);
    }
  });
}

}  // namespace Kro::NboAttrLog
