#include "runtime/collection/HashMapGeneric.h"

#include <new>

#include "runtime/core/Exception.h"

namespace Kro {

namespace {

constexpr std::uint8_t greatestK = 30;

constexpr std::uint8_t smallestK(unsigned initialSize) {
  std::uint8_t k = 0;
  while (k < greatestK && (1U << k) < initialSize) {
    ++k;
  }
  return k;
}

}  // namespace

HashMapGeneric::HashMapGeneric(unsigned initialSize, HashMapVTableGeneric const& vtable)
    : vtable_(&vtable), k_(smallestK(initialSize)), buckets_(new Ptr<PtrInterface>[std::size_t{1} << k_]) {}

HashMapGeneric::~HashMapGeneric() { emptyAllBuckets(); }

/// Where the members of the bucket end for which `isBefore` holds.
template <class IsBefore>
HashMapGeneric::Position HashMapGeneric::skip(int bucket, IsBefore isBefore) const {
  Position position{bucket, nullptr, head(bucket)};
  while (position.at != nullptr && isBefore(position.at)) {
    position.before = position.at;
    position.at = vtable_->next(position.at);
  }
  return position;
}

/// Where a member with that key is or belongs.
HashMapGeneric::Position HashMapGeneric::positionOf(void const* key, std::uint32_t hash) const {
  return skip(bucketOf(hash), [&](PtrInterface const* at) { return isBeforeKey(at, key, hash); });
}

bool HashMapGeneric::isBeforeKey(PtrInterface const* member, void const* key, std::uint32_t hash) const {
  std::uint32_t const memberHash = vtable_->hash(member);
  if (memberHash != hash) {
    return memberHash < hash;
  }
  return !vtable_->keyEquals(key, member) && !vtable_->keyLessThan(key, member, nullptr);
}

bool HashMapGeneric::isNotAfter(PtrInterface const* member, PtrInterface const* other, std::uint32_t otherHash) const {
  std::uint32_t const memberHash = vtable_->hash(member);
  return memberHash != otherHash ? memberHash < otherHash : !vtable_->keyLessThan(nullptr, member, other);
}

/// Makes `next` stand at the position, in place of what is there.
void HashMapGeneric::linkAt(Position const& position, PtrInterface* next) {
  if (position.before != nullptr) {
    vtable_->setNext(position.before, next);
  } else {
    headLink(position.bucket) = Ptr<PtrInterface>(next, Share{});
  }
}

void HashMapGeneric::newMemberG(Ptr<PtrInterface> const& member, void const* key) {
  std::uint32_t const hash = vtable_->hash(member.get());
  Position position = positionOf(key, hash);
  bool const isTaken = position.at != nullptr && vtable_->keyEquals(key, position.at);
  if (isTaken || vtable_->next(member.get()) != nullptr) {
    throwInternalException("Kro::HashMapGeneric::newMemberG: the key is taken or the member in a map already");
  }
  if (count_ >= static_cast<unsigned>(bucketCount()) && grow()) {
    position = positionOf(key, hash);
  }
  if (position.at != nullptr) {
    vtable_->setNext(member.get(), position.at);
  }
  linkAt(position, member.get());
  ++count_;
  changed();
}

void HashMapGeneric::deleteMember(Ptr<PtrInterface> const& member) {
  Ptr<PtrInterface> const held = member;  // the caller's pointer may be a link of this very chain
  int const bucket = bucketOf(vtable_->hash(held.get()));
  Position const position = skip(bucket, [&](PtrInterface const* at) { return at != held.get(); });
  if (position.at == nullptr) {
    throwInternalException("Kro::HashMapGeneric::deleteMember: the member is not in this map");
  }
  unlink(position);
}

/// The caller holds the member, so that nothing dies before the map is whole again.
void HashMapGeneric::unlink(Position const& position) {
  --count_;
  changed();
  linkAt(position, vtable_->next(position.at));
  vtable_->setNext(position.at, nullptr);
}

/// The member at the position, or the first one behind its bucket.
PtrInterface* HashMapGeneric::orNextBucket(Position const& position, int* bucket) const {
  int at = position.bucket;
  PtrInterface* const found = position.at != nullptr ? position.at : findNextBucket(&at);
  if (bucket != nullptr) {
    *bucket = at;
  }
  return found;
}

PtrInterface* HashMapGeneric::findNextG(PtrInterface const* member, int* bucket) const {
  if (member == nullptr) {
    return orNextBucket({-1, nullptr, nullptr}, bucket);
  }
  std::uint32_t const hash = vtable_->hash(member);
  auto const isPassed = [&](PtrInterface const* at) { return isNotAfter(at, member, hash); };
  return orNextBucket(skip(bucketOf(hash), isPassed), bucket);
}

PtrInterface* HashMapGeneric::findNextBucket(int* bucket) const {
  while (++*bucket < bucketCount()) {
    if (PtrInterface* const first = head(*bucket); first != nullptr) {
      return first;
    }
  }
  *bucket = bucketCount();
  return nullptr;
}

PtrInterface* HashMapGeneric::startAtHash(void const* key, std::uint32_t hash, int* bucket) const {
  return orNextBucket(positionOf(key, hash), bucket);
}

bool HashMapGeneric::isMemberG(PtrInterface const* member) const {
  int const bucket = bucketOf(vtable_->hash(member));
  return skip(bucket, [&](PtrInterface const* at) { return at != member; }).at != nullptr;
}

/// Whether it did; without memory, or with all the buckets that an index can tell apart, it does not.
bool HashMapGeneric::grow() {
  if (k_ >= greatestK) {
    return false;
  }
  std::unique_ptr<Ptr<PtrInterface>[]> wider(new (std::nothrow) Ptr<PtrInterface>[std::size_t{2} << k_]);
  if (wider == nullptr) {
    return false;
  }
  for (std::size_t i = 0; i < std::size_t{1} << k_; ++i) {
    split(buckets_[i], wider[2 * i], wider[2 * i + 1]);
  }
  buckets_ = std::move(wider);
  ++k_;
  return true;
}

/// Cuts a chain where the next bit of the hash becomes 1; since chains are in order, that is in one place at most.
void HashMapGeneric::split(Ptr<PtrInterface>& chain, Ptr<PtrInterface>& low, Ptr<PtrInterface>& high) const {
  std::uint32_t const bit = 1U << (31U - k_);
  PtrInterface* lastLow = nullptr;
  PtrInterface* at = chain.get();
  while (at != nullptr && (vtable_->hash(at) & bit) == 0) {
    lastLow = at;
    at = vtable_->next(at);
  }
  if (lastLow == nullptr) {
    high = std::move(chain);
    return;
  }
  low = std::move(chain);
  if (at != nullptr) {
    high = Ptr<PtrInterface>(at, Share{});
    vtable_->setNext(lastLow, nullptr);
  }
}

void HashMapGeneric::emptyAllBuckets() {
  while (count_ != 0) {  // a dying member's destructor may insert
    for (int bucket = 0; bucket < bucketCount(); ++bucket) {
      while (head(bucket) != nullptr) {
        Ptr<PtrInterface> const first = headLink(bucket);
        unlink({bucket, nullptr, first.get()});
      }
    }
  }
}

unsigned HashMapGeneric::structureErrors() const {
  unsigned errors = 0;
  std::uint32_t count = 0;
  for (int bucket = 0; bucket < bucketCount(); ++bucket) {
    PtrInterface const* previous = nullptr;
    for (PtrInterface const* at = head(bucket); at != nullptr; at = vtable_->next(at)) {
      errors += bucketOf(vtable_->hash(at)) != bucket ? 1U : 0U;
      errors += previous != nullptr && isNotAfter(at, previous, vtable_->hash(previous)) ? 1U : 0U;
      previous = at;
      ++count;
    }
  }
  return errors + (count != count_ ? 1U : 0U);
}

}  // namespace Kro
