// The ordered map: the typed shell over `RbTreeMapGeneric`. It descends and compares keys inline, holds one counted
// reference for each member record, and defines the iterators that stand the map's changes.
#pragma once

#include <cstddef>
#include <iterator>
#include <type_traits>

#include "runtime/collection/RbTreeMapGeneric.h"

namespace Kro {

/// Key and value of a member record. The key never changes; a value is overwritten in place, which no iterator notices.
template <class Key, class Value>
class RbRecord : public PtrInterface {
 public:
  RbRecord(Key const& key, Value const& value) : key_(key), value_(value) {}

  Key const& key() const { return key_; }
  Value const& value() const { return value_; }
  void valueIs(Value const& value) { value_ = value; }

 private:
  Key key_;
  Value value_;
};

/// Base of the member records of an `RbTreeMap`: key, value, then the link block. A record stands in one map at most.
template <class Key, class Value>
class RbTreeNode : public RbRecord<Key, Value>, public RbLink {
 public:
  using RbRecord<Key, Value>::RbRecord;
};

/// An ordered map of counted member records. `Node` derives from `RbTreeNode<Key, Value>`; `Key` has `==` and a strict
/// weak order `<`. Not locked: one thread at a time. The constness of a map is that of its structure.
template <class Node, class Key, class Value>
class RbTreeMap : public RbTreeMapGeneric {
  static_assert(
      requires(Key const& a) { a == a&& a < a; }, "give the key of an ordered map an order: == and <");

 public:
  class Place;
  class Walk;
  class IteratorConstBase;
  class IteratorConst;
  class Iterator;
  class TIterator;

  RbTreeMap() = default;
  ~RbTreeMap() override { deleteAll(); }

  /// The member with that key, or null.
  Node* find(Key const& key) const { return descend(key).equal; }
  /// The member with that key, or null.
  Ptr<Node> operator[](Key const& key) const { return share(find(key)); }
  /// The member at the first key not less than `key`, or null.
  Ptr<Node> startAt(Key const& key) const { return share(firstNotBefore(key)); }
  /// Whether this very record is in this map; null is not.
  bool isMember(Node const* member) const { return member != nullptr && isMemberG(member); }

  /// Where `key` is or belongs. Good until the map's structure changes.
  Place locate(Key const& key) const { return locate(key, node(last())); }
  /// The same, looking first between the member `hint` and the next one, where a run of ascending keys goes on. A
  /// hint that is null or detached is none; one of another map is a violated precondition.
  Place locate(Key const& key, Node const* hint) const;

  /// Inserts a detached record, or puts it in the place of the one that has its key. Returns the record that was
  /// replaced, detached, or null. A record that is linked already is a violated precondition.
  Ptr<Node> memberIs(Ptr<Node> const& record) { return memberIs(record, locate(record->key())); }
  /// The same at the place that `locate` gave for the record's key; a place that is no longer good is looked up again.
  Ptr<Node> memberIs(Ptr<Node> const& record, Place const& place);
  /// Inserts or replaces with a new record, and returns that. Nothing has changed when an exception leaves it.
  Ptr<Node> newMember(Key const& key, Value const& value) { return newMember(key, value, locate(key)); }
  Ptr<Node> newMember(Key const& key, Value const& value, Place const& place) {
    Ptr<Node> record = adopt(new Node(key, value));
    memberIs(record, place);
    return record;
  }
  /// Removes a member of this map and returns it, detached.
  Ptr<Node> memberDel(Node* member) {
    _memberDelG(member);
    return adopt(member);
  }
  /// Removes every member without telling anyone.
  void deleteAll() {
    _memberDelAllG([](RbLink* link) { node(link)->referencesDec(); });
  }

  /// A walk over the members in key order that counts nothing, for loops in which the map stands still.
  Walk begin() const { return Walk(first()); }
  Walk end() const { return Walk(nullptr); }

  void iteratorDelete(BaseCollection::StrepIterator& iterator) const override {
    delete static_cast<TIterator*>(&iterator);
  }
  BaseCollection::StrepIterator* iteratorSpaceCopy(BaseCollection::StrepIterator const& iterator) const override {
    return new TIterator(static_cast<IteratorConstBase const&>(iterator));
  }

  /// Number of broken invariants: tree, links, count, key order; at a level above 0 also those of the members, each
  /// asked at the next lower level.
  unsigned auditErrors(unsigned level) const;

 private:
  /// Where a descent from the root ended.
  struct Descent {
    Node* equal = nullptr;     ///< the member that has the key
    Node* lastLeft = nullptr;  ///< the last one at which the descent went left: the smallest of the greater ones passed
    RbLink* parent = nullptr;  ///< the last one passed
    bool isLeft = true;        ///< where the descent went from there
  };

  static Node* node(RbLink* link) { return static_cast<Node*>(link); }
  static void fetch(RbLink const* child, RbLink const* parent);
  Descent descend(Key const& key) const;
  Node* firstNotBefore(Key const& key) const {
    Descent const end = descend(key);
    return end.equal != nullptr ? end.equal : end.lastLeft;
  }
  Node* firstAfter(Key const& key) const;
  Place between(Node* before, Node* after) const;
};

/// What `locate` found out about a key.
template <class Node, class Key, class Value>
class RbTreeMap<Node, Key, Value>::Place {
 public:
  /// The member that has the key, or null.
  Node* member() const { return member_; }

 private:
  friend class RbTreeMap;
  Place(std::uint32_t version, Node* member, RbLink* parent, bool isLeft)
      : version_(version), isLeft_(isLeft), member_(member), parent_(parent) {}

  std::uint32_t version_;
  bool isLeft_;
  Node* member_;
  RbLink* parent_;  ///< without a member: below this record is room, null in an empty map
};

/// A forward iterator over the members that holds no reference.
template <class Node, class Key, class Value>
class RbTreeMap<Node, Key, Value>::Walk {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = Node;
  using difference_type = std::ptrdiff_t;
  using pointer = Node*;
  using reference = Node&;

  Walk() = default;
  Node& operator*() const { return *node(at_); }
  Node* operator->() const { return node(at_); }
  Walk& operator++() {
    at_ = successor(at_);
    return *this;
  }
  Walk operator++(int) {
    Walk const before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(Walk, Walk) = default;

 private:
  friend class RbTreeMap;
  explicit Walk(RbLink* at) : at_(at) {}

  RbLink* at_ = nullptr;
};

/// What the map's iterators have in common. They hold the map by plain pointer, so the map must outlive every
/// `advance`, and their member by a counted one.
template <class Node, class Key, class Value>
class RbTreeMap<Node, Key, Value>::IteratorConstBase : public BaseIteratorConst<Node, true> {
 public:
  /// The current member's key; precondition: not at the end.
  Key const& key() const { return this->current()->key(); }
  /// The current member's value; precondition: not at the end.
  Value const& value() const { return this->current()->value(); }
  /// Whether there is a current member whose key differs from the default key.
  bool hasBookmark() const { return *this && !(key() == Key()); }
  RbTreeMap const* map() const { return map_; }
  /// The map's version when the iterator last moved.
  std::uint32_t version() const { return version_; }

  /// Moves to the member with the smallest key greater than the current one, whatever became of the current member;
  /// without one, to the end, and stays there.
  void advance() {
    Node* const current = this->current();
    if (current == nullptr) {
      return;
    }
    bool const isSame = version_ == map_->version();
    version_ = map_->version();
    this->currentIs(isSame ? node(successor(current)) : map_->firstAfter(current->key()));
  }

 protected:
  IteratorConstBase() = default;
  IteratorConstBase(RbTreeMap const& map, Node* first)
      : BaseIteratorConst<Node, true>(first), map_(&map), version_(map.version()) {}

 private:
  RbTreeMap const* map_ = nullptr;
  std::uint32_t version_ = 0;
};

/// Reads the members in key order.
template <class Node, class Key, class Value>
class RbTreeMap<Node, Key, Value>::IteratorConst : public IteratorConstBase {
 public:
  IteratorConst() = default;
  /// Starts at the first member.
  explicit IteratorConst(RbTreeMap const& map) : IteratorConstBase(map, node(map.first())) {}
  /// Starts at the first key not less than `key`.
  IteratorConst(RbTreeMap const& map, Key const& key) : IteratorConstBase(map, map.firstNotBefore(key)) {}
  IteratorConst& operator++() {
    this->advance();
    return *this;
  }

 protected:
  explicit IteratorConst(IteratorConstBase const& other) : IteratorConstBase(other) {}
};

/// Also yields members that can be changed; what removers take.
template <class Node, class Key, class Value>
class RbTreeMap<Node, Key, Value>::Iterator : public IteratorConst {
 public:
  using IteratorConst::IteratorConst;
  Iterator() = default;
  Ptr<Node> member() const { return share(this->current()); }
  Node* operator->() const { return this->current(); }
  Node& operator*() const { return *this->current(); }
  Iterator& operator++() {
    this->advance();
    return *this;
  }
};

/// The form that lives on the heap on behalf of a tool, made by `iteratorSpaceCopy`.
template <class Node, class Key, class Value>
class RbTreeMap<Node, Key, Value>::TIterator : public Iterator {
 public:
  using Iterator::Iterator;
  TIterator() = default;

 private:
  friend class RbTreeMap;
  explicit TIterator(IteratorConstBase const& other) : Iterator(other) {}
};

/// Asks for both ends of a child early: a record is longer than a cache line, the key is in front, the links are
/// behind.
template <class Node, class Key, class Value>
inline void RbTreeMap<Node, Key, Value>::fetch(RbLink const* child, RbLink const* parent) {
#if defined(__GNUC__)
  // As numbers, since the child may be null.
  auto const address = reinterpret_cast<std::uintptr_t>(child);
  auto const keyToLinks = reinterpret_cast<std::uintptr_t>(parent) -
                          reinterpret_cast<std::uintptr_t>(&static_cast<Node const&>(*parent).key());
  __builtin_prefetch(reinterpret_cast<void const*>(address - keyToLinks));
  __builtin_prefetch(child);
#endif
}

template <class Node, class Key, class Value>
inline typename RbTreeMap<Node, Key, Value>::Descent RbTreeMap<Node, Key, Value>::descend(Key const& key) const {
  constexpr std::uint32_t mostInCache = 4096;  // of a smaller map, fetching ahead costs more than it saves
  bool const isLarge = size() > mostInCache;
  Descent end;
  RbLink* link = root();
  while (link != nullptr) {
    Node& at = static_cast<Node&>(*link);
    if (isLarge) {
      fetch(left(link), link);
      fetch(right(link), link);
    }
    if (key == at.key()) {
      end.equal = &at;
      return end;
    }
    end.parent = link;
    end.isLeft = key < at.key();
    end.lastLeft = end.isLeft ? &at : end.lastLeft;
    link = end.isLeft ? left(link) : right(link);
  }
  return end;
}

template <class Node, class Key, class Value>
Node* RbTreeMap<Node, Key, Value>::firstAfter(Key const& key) const {
  Descent const end = descend(key);
  bool const isBelow = end.equal != nullptr && right(end.equal) != nullptr;
  return isBelow ? node(leftmost(right(end.equal))) : end.lastLeft;
}

/// The free place between two neighbours, the second of which may be null.
template <class Node, class Key, class Value>
typename RbTreeMap<Node, Key, Value>::Place RbTreeMap<Node, Key, Value>::between(Node* before, Node* after) const {
  bool const isLeft = right(before) != nullptr;  // then the next record has no left child
  return Place(version(), nullptr, isLeft ? after : before, isLeft);
}

template <class Node, class Key, class Value>
typename RbTreeMap<Node, Key, Value>::Place RbTreeMap<Node, Key, Value>::locate(Key const& key,
                                                                                Node const* hint) const {
  if (hint != nullptr && hint->isLinked() && hint->key() < key) {
    Node* const after = hint == last() ? nullptr : node(successor(hint));  // no climb to learn that nothing follows
    if (after != nullptr && key == after->key()) {
      return Place(version(), after, nullptr, false);
    }
    if (after == nullptr || key < after->key()) {
      return between(const_cast<Node*>(hint), after);
    }
  }
  Descent const end = descend(key);
  return Place(version(), end.equal, end.parent, end.isLeft);
}

template <class Node, class Key, class Value>
Ptr<Node> RbTreeMap<Node, Key, Value>::memberIs(Ptr<Node> const& record, Place const& place) {
  if (place.version_ != version()) {
    return memberIs(record);
  }
  if (place.member_ != nullptr) {
    memberReplace(place.member_, record.get());
  } else {
    memberNewChild(place.parent_, record.get(), place.isLeft_);
  }
  record->referencesInc();
  return adopt(place.member_);
}

template <class Node, class Key, class Value>
unsigned RbTreeMap<Node, Key, Value>::auditErrors(unsigned level) const {
  unsigned errors = structureErrors();
  Node const* previous = nullptr;
  for (Node const& at : *this) {
    errors += previous != nullptr && !(previous->key() < at.key()) ? 1U : 0U;
    errors += level > 0 ? at.auditErrors(level - 1) : 0;
    previous = &at;
  }
  return errors;
}

}  // namespace Kro
