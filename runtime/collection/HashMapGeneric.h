// The part of the hash map that knows neither members nor keys: buckets of chained members in one total order. It is
// compiled once; `HashMap` is the typed shell that looks up inline.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "runtime/core/Hash.h"
#include "runtime/core/Ptr.h"

namespace Kro {

/// What the core asks of a member type; `HashMapVTable` answers.
class VORNACL_API HashMapVTableGeneric {
 public:
  /// The bit-reversed hash of the member's key.
  virtual std::uint32_t hash(PtrInterface const* member) const = 0;
  /// Whether `key` equals the member's key.
  virtual bool keyEquals(void const* key, PtrInterface const* member) const = 0;
  /// With `b`: whether b's key is less than a's. Else with `key`: whether that is less than a's key. With neither:
  /// true.
  virtual bool keyLessThan(void const* key, PtrInterface const* a, PtrInterface const* b) const = 0;
  /// Counted assignment of the member's chain link, then adds 1 to the member's mutation counter where it has one, also
  /// when the link did not change.
  virtual void setNext(PtrInterface* member, PtrInterface* next) const = 0;
  /// The member's chain link.
  PtrInterface* next(PtrInterface const* member) const { return next_(member); }

 protected:
  using Next = PtrInterface* (*)(PtrInterface const* member);
  constexpr explicit HashMapVTableGeneric(Next nextOf) : next_(nextOf) {}
  ~HashMapVTableGeneric() = default;

 private:
  Next next_;
};

/// Buckets, chains and growth; holds these invariants:
/// 1. there are 2^k buckets; a member is in that of the top k bits of its key's bit-reversed hash (bucket 0 for k = 0);
/// 2. within a chain, and so over all buckets, members stand in one total order: reversed hash, then key. Growth splits
///    each bucket into two neighbours and keeps the order. So the member after one that was removed can be told from
///    its key, and a walk resumes at a key that is gone;
/// 3. the bucket holds one counted reference to the first of its chain, each member one to the next. A removed member
///    has no chain link;
/// 4. every insertion and removal changes the version, which is never 0: a finished iterator has 0.
/// An index of 2^k says that there is no member any more.
class VORNACL_API HashMapGeneric {
 public:
  HashMapGeneric(HashMapGeneric const&) = delete;
  HashMapGeneric& operator=(HashMapGeneric const&) = delete;

  /// Starts at 1; iterators compare it to learn that the map was changed.
  std::uint32_t version() const { return version_; }
  /// Number of members.
  std::uint32_t size() const { return count_; }
  bool empty() const { return count_ == 0; }
  /// The number of buckets is 2^k.
  unsigned k() const { return k_; }
  /// The bucket for a bit-reversed hash.
  int bucketOf(std::uint32_t hash) const { return k_ == 0 ? 0 : static_cast<int>(hash >> (32U - k_)); }

  /// Inserts a member that is in no map under its key, which no member has. Takes a reference of its own and may grow
  /// the array; when memory for that is lacking, chains get longer instead, so that an insertion never fails.
  void newMemberG(Ptr<PtrInterface> const& member, void const* key);
  /// Removes a member of this map and gives the map's reference back.
  void deleteMember(Ptr<PtrInterface> const& member);
  /// The member after `member` in the total order, whether or not that is still here; the first one after null. Null at
  /// the end. Writes the bucket's index if asked to.
  PtrInterface* findNextG(PtrInterface const* member, int* bucket) const;
  /// The first of the first non-empty bucket after the index given, which is updated. Null at the end.
  PtrInterface* findNextBucket(int* bucket) const;
  /// The member that has `key`, whose bit-reversed hash is `hash`, or the next one in the total order. Null at the end.
  /// Writes the bucket's index if asked to.
  PtrInterface* startAtHash(void const* key, std::uint32_t hash, int* bucket) const;
  /// Drops every member without telling anyone, one at a time, so that a member's destructor finds a whole map.
  void emptyAllBuckets();

 protected:
  /// `initialSize` is the number of members for which the first bucket array is made: as many buckets, rounded up to a
  /// power of two. It is no limit and no promise of a bucket count; 0 and 1 give k = 0.
  HashMapGeneric(unsigned initialSize, HashMapVTableGeneric const& vtable);
  ~HashMapGeneric();

  /// The first member of a bucket, or null.
  PtrInterface* head(int bucket) const { return buckets_[static_cast<std::size_t>(bucket)].get(); }
  /// Whether this very member is in this map.
  bool isMemberG(PtrInterface const* member) const;
  /// Number of members in a wrong bucket or out of order, plus 1 if the count is wrong.
  unsigned structureErrors() const;

 private:
  /// A place in a chain: the member there, null behind the last one, and the one before it, null at the front.
  struct Position {
    int bucket;
    PtrInterface* before;
    PtrInterface* at;
  };

  int bucketCount() const { return 1 << k_; }
  Ptr<PtrInterface>& headLink(int bucket) { return buckets_[static_cast<std::size_t>(bucket)]; }
  void changed() { version_ += version_ + 1 == 0 ? 2 : 1; }
  bool grow();
  void split(Ptr<PtrInterface>& chain, Ptr<PtrInterface>& low, Ptr<PtrInterface>& high) const;
  void linkAt(Position const& position, PtrInterface* next);
  void unlink(Position const& position);
  template <class IsBefore>
  Position skip(int bucket, IsBefore isBefore) const;
  Position positionOf(void const* key, std::uint32_t hash) const;
  bool isBeforeKey(PtrInterface const* member, void const* key, std::uint32_t hash) const;
  bool isNotAfter(PtrInterface const* member, PtrInterface const* other, std::uint32_t otherHash) const;
  PtrInterface* orNextBucket(Position const& position, int* bucket) const;

  std::uint32_t version_ = 1;
  std::uint32_t count_ = 0;
  HashMapVTableGeneric const* vtable_;
  std::uint8_t k_;
  std::unique_ptr<Ptr<PtrInterface>[]> buckets_;
};

}  // namespace Kro
