// The hash map: the typed shell over `HashMapGeneric`. Its members are counted objects that carry their own chain link,
// so that adopting one allocates nothing.
#pragma once

#include <concepts>
#include <cstddef>
#include <iterator>
#include <type_traits>

#include "runtime/collection/BaseCollection.h"
#include "runtime/collection/HashMapGeneric.h"

namespace Kro {

/// The hash of a key: a number is its own.
template <class Key>
requires std::integral<Key> std::uint32_t hashOfKey(Key key) { return static_cast<std::uint32_t>(key); }
/// The hash of a key: what its type says.
template <class Key>
requires requires(Key const& key) {
  { key.hash() } -> std::convertible_to<std::uint32_t>;
}
std::uint32_t hashOfKey(Key const& key) { return key.hash(); }

/// What a member type must have: `struct KroHashLink`, public and nested, with the static functions
/// `key(Member const&)` (the key, by value or by reference), `next(Member&)` (the chain link, a `Ptr<Member>&` that
/// nothing else touches) and `nextChanged(Member&)` (adds 1 to the member's mutation counter where it has one).
template <class Member, class Key>
concept HashChained = requires(Member& member, Member const& constMember) {
  { Member::KroHashLink::key(constMember) } -> std::convertible_to<Key const&>;
  { Member::KroHashLink::next(member) } -> std::same_as<Ptr<Member>&>;
  Member::KroHashLink::nextChanged(member);
};

/// Answers the core's questions for one member type.
template <class Member, class Key>
class HashMapVTable final : public HashMapVTableGeneric {
 public:
  /// The one that all maps of this instantiation share.
  static HashMapVTable const& instance() {
    static constinit HashMapVTable const shared;
    return shared;
  }
  constexpr HashMapVTable() : HashMapVTableGeneric(&nextOf) {}

  std::uint32_t hash(PtrInterface const* member) const override { return bitReverse(hashOfKey<Key>(keyOf(member))); }
  bool keyEquals(void const* key, PtrInterface const* member) const override {
    return *static_cast<Key const*>(key) == keyOf(member);
  }
  bool keyLessThan(void const* key, PtrInterface const* a, PtrInterface const* b) const override {
    if (b != nullptr) {
      return keyOf(b) < keyOf(a);
    }
    return key == nullptr || *static_cast<Key const*>(key) < keyOf(a);
  }
  void setNext(PtrInterface* member, PtrInterface* next) const override {
    auto& typed = static_cast<Member&>(*member);
    Link::next(typed) = Ptr<Member>(static_cast<Member*>(next), Share{});
    Link::nextChanged(typed);
  }

 private:
  using Link = typename Member::KroHashLink;
  static decltype(auto) keyOf(PtrInterface const* member) { return Link::key(static_cast<Member const&>(*member)); }
  static PtrInterface* nextOf(PtrInterface const* member) {
    return Link::next(const_cast<Member&>(static_cast<Member const&>(*member))).get();
  }
};

/// A hash map of counted members (entities, or small records), one for each key. `Value` is what the collection is said
/// to hold: the member itself, or what it refers to. `Key` has `==`, `<`, and a hash. Not locked: one thread at a time.
/// Users must not rely on the order.
template <class Member, class Key, class Value>
class HashMap : public HashMapGeneric {
  static_assert(
      requires(Key const& a) { a == a&& a < a; }, "give the key of a hash map an order: == and <");
  static_assert(
      requires(Key const& a) { hashOfKey(a); }, "give the key of a hash map a hash: hash() const");

 public:
  using Element = Value;
  class Walk;
  class IteratorConst;
  class Iterator;

  /// `initialSize`: the number of members for which room is made at once.
  explicit HashMap(unsigned initialSize) : HashMapGeneric(initialSize, HashMapVTable<Member, Key>::instance()) {
    static_assert(HashChained<Member, Key>, "the member type must have a nested KroHashLink, see HashChained");
  }

  /// The member with that key, or null.
  Member* find(Key const& key) const {
    auto* at = static_cast<Member*>(head(bucketOf(bitReverse(hashOfKey(key)))));
    while (at != nullptr && !(key == Member::KroHashLink::key(*at))) {
      at = Member::KroHashLink::next(*at).get();
    }
    return at;
  }
  /// The member with that key, or null.
  Ptr<Member> operator[](Key const& key) const { return share(find(key)); }
  /// Whether this very member is in this map; null is not.
  bool isMember(Member const* member) const { return member != nullptr && isMemberG(member); }
  /// Inserts a member that is in no map and whose key no member has.
  void newMember(Ptr<Member> const& member) {
    decltype(auto) key = Member::KroHashLink::key(*member);
    Key const& typedKey = key;
    newMemberG(member, &typedKey);
  }
  /// Removes a member of this map.
  void memberDel(Ptr<Member> const& member) { deleteMember(member); }

  /// A walk over the members in the map's order that counts nothing, for loops in which the map stands still.
  Walk begin() const {
    int bucket = -1;
    auto* const first = static_cast<Member*>(findNextBucket(&bucket));
    return Walk(this, first, bucket);
  }
  Walk end() const { return Walk(); }

  /// Number of broken invariants; at a level above 0 also those of the members, each asked at the next lower level.
  unsigned auditErrors(unsigned level) const {
    unsigned errors = structureErrors();
    if (level > 0) {
      for (Member const& at : *this) {
        errors += at.auditErrors(level - 1);
      }
    }
    return errors;
  }
};

/// A forward iterator over the members that holds no reference.
template <class Member, class Key, class Value>
class HashMap<Member, Key, Value>::Walk {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = Member;
  using difference_type = std::ptrdiff_t;
  using pointer = Member*;
  using reference = Member&;

  Walk() = default;
  Member& operator*() const { return *at_; }
  Member* operator->() const { return at_; }
  Walk& operator++() {
    at_ = Member::KroHashLink::next(*at_).get();
    if (at_ == nullptr) {
      at_ = static_cast<Member*>(map_->findNextBucket(&bucket_));
    }
    return *this;
  }
  Walk operator++(int) {
    Walk const before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(Walk const& a, Walk const& b) { return a.at_ == b.at_; }

 private:
  friend class HashMap;
  Walk(HashMap const* map, Member* at, int bucket) : map_(map), at_(at), bucket_(bucket) {}

  HashMap const* map_ = nullptr;
  Member* at_ = nullptr;
  int bucket_ = -1;
};

/// Reads the members in the map's order. Holds the map by plain pointer, so the map must outlive every `advance`, and
/// the current member by a counted one.
template <class Member, class Key, class Value>
class HashMap<Member, Key, Value>::IteratorConst : public BaseIteratorConst<Member, true> {
 public:
  IteratorConst() = default;
  /// Starts at the first member.
  explicit IteratorConst(HashMap const& map) : map_(&map) {
    PtrInterface* const first = map.findNextG(nullptr, &bucket_);
    standAt(first);
  }
  /// Starts at the member that has `key`, or else at the next one in the map's order.
  IteratorConst(HashMap const& map, Key const& key) : map_(&map) {
    PtrInterface* const first = map.startAtHash(&key, bitReverse(hashOfKey(key)), &bucket_);
    standAt(first);
  }

  HashMap const* map() const { return map_; }
  /// The map's version when the iterator last moved, 0 at the end.
  std::uint32_t version() const { return version_; }
  /// The bucket of the current member, -1 at the end.
  int bucket() const { return bucket_; }

  /// Moves to the next member in the map's order, whatever became of the current one; without one, to the end, and
  /// stays there.
  void advance() {
    Member* const current = this->current();
    if (current == nullptr) {
      return;
    }
    if (version_ != map_->version()) {
      standAt(map_->findNextG(current, &bucket_));
    } else if (Member* const next = Member::KroHashLink::next(*current).get(); next != nullptr) {
      standAt(next);
    } else {
      standAt(map_->findNextBucket(&bucket_));
    }
  }
  IteratorConst& operator++() {
    advance();
    return *this;
  }

 private:
  void standAt(PtrInterface* member) {
    version_ = member != nullptr ? map_->version() : 0;
    bucket_ = member != nullptr ? bucket_ : -1;
    this->currentIs(static_cast<Member*>(member));
  }

  std::uint32_t version_ = 0;
  int bucket_ = -1;
  HashMap const* map_ = nullptr;
};

/// Also yields members that can be changed; what removers take.
template <class Member, class Key, class Value>
class HashMap<Member, Key, Value>::Iterator : public IteratorConst {
 public:
  using IteratorConst::IteratorConst;
  Iterator() = default;
  Ptr<Member> member() const { return share(this->current()); }
  Member* operator->() const { return this->current(); }
  Member& operator*() const { return *this->current(); }
  Iterator& operator++() {
    this->advance();
    return *this;
  }
};

}  // namespace Kro
