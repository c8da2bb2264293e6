// What an adapter of entity type `X` still has to write: one bit for each attribute that is told, and for each keyed
// attribute the set of dirty keys. Derived from the type's attribute list.
//
// The word `kroDirtyBitSet0`: bit 0 is never used; then, in id order, a dirty bit for each scalar and single child and
// a has-synced bit for each collection. So a scalar waits while its bit is set, a collection while its bit is clear.
#pragma once

#include <bit>
#include <list>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

#include "runtime/entity/EntityAttributes.h"
#include "runtime/entity/StreamAdapter.h"

namespace Kro::NboAttrLog {

/// The mark of one dirty key.
struct DirtyMark {
  bool removalOwed = false;  ///< the peer must be told of a removal before it is told of anything new under the key
};

/// The state of one keyed attribute.
template <class D>
class KeyedFlowOut {
 public:
  using Key = typename D::Key;
  class Dirty final : public RbTreeNode<Key, DirtyMark> {
   public:
    using RbTreeNode<Key, DirtyMark>::RbTreeNode;
  };
  using DirtyMap = RbTreeMap<Dirty, Key, DirtyMark>;

  DirtyMap dirty;
  std::optional<Key> bookmark;  ///< where an interrupted transfer goes on
  /// Keys that this end wrote into an entity of the peer's and that the peer has not written since, with the number of
  /// the message: no transfer marks them that the peer may have begun without knowing of it.
  std::map<Key, std::uint64_t> exempt;
  bool isConfirmed = false;  ///< a transfer of the peer's has swept what this end merely kept
  bool isMarked = false;     ///< entries may carry the mark of such a transfer
  unsigned begins = 0;       ///< transfers of the peer's that have begun since the last one that ended
  /// Removals that this end wrote, with the number of the message, until the peer has applied them.
  std::list<std::pair<Key, std::uint64_t>> removals;
  void forgetRemovals(std::uint64_t known) {
    while (!removals.empty() && removals.front().second <= known) {
      removals.pop_front();
    }
  }
  /// References: the keys of the last targets that went off the stream. The peer's word about one may cross that.
  std::list<std::pair<EntityId, Key>> goneTargets;
};

/// The state of one single child: the number of this end's last message about it.
struct ChildFlowOut {
  std::uint64_t lastWord = 0;
};

/// The state of any attribute.
template <class D, bool keyed = isKeyed<D>>
struct AttributeFlowOut {
  static constexpr AttributeId id = D::id;
  ChildFlowOut keys;
};
template <class D>
struct AttributeFlowOut<D, true> {
  static constexpr AttributeId id = D::id;
  KeyedFlowOut<D> keys;
};

namespace detail {

template <class X, class Sequence>
struct FlowOutTuple;
template <class X, std::size_t... I>
struct FlowOutTuple<X, std::index_sequence<I...>> {
  using Type = std::tuple<AttributeFlowOut<EntityAttributeType<X, I>>...>;
};

/// The number of told attributes of `X` before id `id`.
template <class X>
constexpr unsigned toldBefore(AttributeId id) {
  unsigned n = 0;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    n += isTold<D> && D::id < id ? 1U : 0U;
  });
  return n;
}

}  // namespace detail

/// Calls `f(descriptor)` for each keyed attribute of `X`, in id order.
template <class X, class F>
void forEachKeyed(F const& f) {
  forEachEntityAttribute<X>([&](auto const& d) {
    if constexpr (isKeyed<std::remove_cvref_t<decltype(d)>>) {
      f(d);
    }
  });
}

/// Calls `f(descriptor)` for the keyed attribute of `X` with this id, if there is one.
template <class X, class F>
void withKeyed(AttributeId id, F const& f) {
  forEachKeyed<X>([&](auto const& d) {
    if (d.id == id) {
      f(d);
    }
  });
}

template <class X>
class FlowOutOf : public FlowOut {
 public:
  /// Attributes from `from` on start dirty, collections not synced; those before it clean and synced.
  explicit FlowOutOf(AttributeId from) {
    forEachEntityAttribute<X>([&](auto const& d) {
      using D = std::remove_cvref_t<decltype(d)>;
      if constexpr (isTold<D>) {
        bitIs(d, (D::id >= from) != isKeyed<D>);
      }
    });
  }

  std::uint32_t kroDirtyBitSet0() const { return bits_; }

  template <class D>
  static constexpr std::uint32_t bitOf() {
    static_assert(detail::toldBefore<X>(D::id) < mostToldAttributes);
    return 2U << detail::toldBefore<X>(D::id);
  }
  /// Sets or clears the dirty bit of a scalar or child, or the has-synced bit of a collection.
  template <class D>
  void bitIs(D const&, bool on) {
    bits_ = on ? bits_ | bitOf<D>() : bits_ & ~bitOf<D>();
  }
  /// Sets the dirty bit of a scalar or child that changed; true where it was not set.
  template <class D>
  bool mark(D const&) {
    std::uint32_t const isNew = bitOf<D>() & ~bits_;
    bits_ |= isNew;
    marks_ |= isNew;
    return isNew != 0;
  }
  /// Clears the dirty bit of a scalar or child; true where a change had set it.
  template <class D>
  bool unmark(D const&) {
    bool const wasMarked = (marks_ & bitOf<D>()) != 0;
    bits_ &= ~bitOf<D>();
    marks_ &= ~bitOf<D>();
    return wasMarked;
  }
  template <class D>
  bool bit(D const&) const {
    return (bits_ & bitOf<D>()) != 0;
  }
  /// A single child was removed while nothing could be written: its removal goes before its creation.
  template <class D>
  void removalOwedIs(D const&, bool owed) {
    owed_ = owed ? owed_ | bitOf<D>() : owed_ & ~bitOf<D>();
  }
  template <class D>
  bool removalOwed(D const&) const {
    return (owed_ & bitOf<D>()) != 0;
  }

  template <class D>
  auto& keys(D const&) {
    return std::get<AttributeFlowOut<D>>(attributes_).keys;
  }
  template <class D>
  auto const& keys(D const&) const {
    return std::get<AttributeFlowOut<D>>(attributes_).keys;
  }

  bool hasDirtyAttributes() const override {
    bool dirty = FlowOut::hasDirtyAttributes();
    forEachEntityAttribute<X>([&](auto const& d) {
      using D = std::remove_cvref_t<decltype(d)>;
      if constexpr (isKeyed<D>) {
        dirty = dirty || !bit(d) || keys(d).dirty.size() != 0;
      } else if constexpr (isTold<D>) {
        dirty = dirty || bit(d);
      }
    });
    return dirty;
  }

  /// Number of keys and attributes that changed and wait.
  std::uint64_t dirtyMarks() const {
    auto n = static_cast<std::uint64_t>(std::popcount(marks_));
    forEachKeyed<X>([&](auto const& d) { n += keys(d).dirty.size(); });
    return n;
  }

 private:
  std::uint32_t bits_ = 0;
  std::uint32_t marks_ = 0;  ///< of them, those of scalars and children that a change has set
  std::uint32_t owed_ = 0;
  typename detail::FlowOutTuple<X, std::make_index_sequence<entityAttributeCount<X>>>::Type attributes_;
};

/// Saves the key at which a transfer goes on. Precondition: none is saved.
template <class K, class D>
void kroFlowOutBookmarkEnq(KeyedFlowOut<D>& flowOut, K const& key) {
  if (flowOut.bookmark) {
    throwInternalException("!rsc->bookmark()");
  }
  flowOut.bookmark = key;
}

/// Takes the saved key; the default key where none is saved.
template <class K, class D>
K kroFlowOutBookmarkDeq(KeyedFlowOut<D>& flowOut) {
  return std::exchange(flowOut.bookmark, std::nullopt).value_or(K());
}

}  // namespace Kro::NboAttrLog
