#include "runtime/collection/HashMap.h"

#include <array>
#include <memory>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "runtime/core/Exception.h"
#include "tests/runtime/collection/CollectionTypes.h"

namespace {

using collectiontest::Id;
using collectiontest::IdMap;
using collectiontest::IdMember;
using collectiontest::NumberMap;
using collectiontest::NumberMember;
using Kro::Ptr;

Ptr<IdMember> insert(IdMap& map, Id const& id) {
  Ptr<IdMember> member = Kro::adopt(new IdMember(id));
  map.newMember(member);
  return member;
}

/// The map's total order.
struct ByReversedHash {
  bool operator()(Id const& a, Id const& b) const {
    return std::pair(Kro::bitReverse(a.hashed), a.number) < std::pair(Kro::bitReverse(b.hashed), b.number);
  }
};

/// An iterator beside the key that it must stand on.
struct Shadow {
  IdMap::Iterator iterator;
  bool isAtEnd = true;
  Id key = {};
};

class RandomOperations {
 public:
  explicit RandomOperations(unsigned initialSize) : random_(initialSize), map_(initialSize) {}

  void step() {
    // Few hashes: chains are long; some are equal in the bits that growth looks at first.
    Id const id{(number(2) << 31U) | number(64), static_cast<int>(number(3))};
    switch (number(7)) {
      case 0:
      case 1:
      case 2:
        add(id);
        break;
      case 3:
        remove(id);
        break;
      case 4:
        restart(id);
        break;
      default:
        advance(shadows_[number(8)]);
    }
  }

  void compare() const {
    ASSERT_EQ(map_.auditErrors(1), 0U);
    ASSERT_EQ(map_.size(), model_.size());
    auto expected = model_.begin();
    for (IdMember const& member : map_) {
      ASSERT_EQ(member.key_, *expected++);
    }
    for (Shadow const& shadow : shadows_) {
      ASSERT_EQ(!shadow.iterator, shadow.isAtEnd);
      ASSERT_EQ(shadow.iterator.bucket() == -1, shadow.isAtEnd);
      ASSERT_EQ(shadow.iterator.version() == 0, shadow.isAtEnd);
      ASSERT_TRUE(shadow.isAtEnd || shadow.iterator->key_ == shadow.key);
    }
  }

 private:
  unsigned number(unsigned below) { return static_cast<unsigned>(random_() % below); }

  void add(Id const& id) {
    bool const isNew = model_.insert(id).second;
    ASSERT_EQ(map_.find(id) == nullptr, isNew);
    if (isNew) {
      std::uint32_t const version = map_.version();
      auto const member = insert(map_, id);
      ASSERT_EQ(map_[id], member);
      ASSERT_TRUE(map_.isMember(member.get()));
      ASSERT_NE(map_.version(), version);
    }
  }

  void remove(Id const& id) {
    Ptr<IdMember> const member = map_[id];
    ASSERT_EQ(member != nullptr, model_.erase(id) != 0);
    if (member != nullptr) {
      std::uint32_t const version = map_.version();
      map_.memberDel(member);
      ASSERT_NE(map_.version(), version);
      ASSERT_FALSE(map_.isMember(member.get()));
      ASSERT_EQ(IdMember::KroHashLink::next(*member), nullptr);
    }
  }

  void standAt(Shadow& shadow, std::set<Id, ByReversedHash>::const_iterator at) const {
    shadow.isAtEnd = at == model_.end();
    shadow.key = shadow.isAtEnd ? Id() : *at;
  }

  void restart(Id const& id) {
    Shadow& shadow = shadows_[number(8)];
    shadow.iterator = IdMap::Iterator(map_, id);
    standAt(shadow, model_.lower_bound(id));
  }

  void advance(Shadow& shadow) {
    shadow.iterator.advance();
    if (!shadow.isAtEnd) {
      standAt(shadow, model_.upper_bound(shadow.key));
    }
  }

  std::mt19937 random_;
  IdMap map_;
  std::set<Id, ByReversedHash> model_;
  std::array<Shadow, 8> shadows_;
};

TEST(HashMap, RandomOperationsAgreeWithAModel) {
  for (unsigned const initialSize : {0U, 4U, 100U}) {
    RandomOperations operations(initialSize);
    for (int i = 0; i < 10000 && !HasFatalFailure(); ++i) {
      operations.step();
      operations.compare();
    }
  }
  EXPECT_EQ(IdMember::alive, 0);
}

std::vector<unsigned> keysOf(NumberMap const& map) {
  std::vector<unsigned> keys;
  for (NumberMap::IteratorConst iterator(map); iterator; ++iterator) {
    keys.push_back(iterator->key_);
  }
  return keys;
}

TEST(HashMap, NumbersComeByTheirReversedBitsWhateverTheSize) {
  for (unsigned const initialSize : {0U, 4U, 8U, 1000U}) {
    NumberMap map(initialSize);
    for (unsigned key = 1; key <= 8; ++key) {
      map.newMember(Kro::adopt(new NumberMember(key)));
      EXPECT_GE(1U << map.k(), key) << "not more members than buckets";
    }
    EXPECT_EQ(keysOf(map), (std::vector<unsigned>{8, 4, 2, 6, 1, 5, 3, 7}));
  }
}

TEST(HashMap, TheFirstSizeIsThatOfMembersExpected) {
  struct Case {
    unsigned initialSize;
    unsigned k;
  };
  for (Case const& c : {Case{0, 0}, Case{1, 0}, Case{2, 1}, Case{4, 2}, Case{5, 3}}) {
    EXPECT_EQ(NumberMap(c.initialSize).k(), c.k);
  }
  NumberMap const single(0);
  EXPECT_EQ(single.bucketOf(0xffffffffU), 0);
  NumberMap const four(4);
  EXPECT_EQ(four.bucketOf(0xbfffffffU), 2) << "the top two bits";
}

TEST(HashMap, OneBucketHoldsAll) {
  NumberMap map(0);
  ASSERT_EQ(map.k(), 0U);
  EXPECT_EQ(map.find(5), nullptr);
  EXPECT_FALSE(NumberMap::IteratorConst(map, 5));
  map.newMember(Kro::adopt(new NumberMember(5)));
  ASSERT_EQ(map.k(), 0U);
  EXPECT_NE(map.find(5), nullptr);
  EXPECT_EQ(NumberMap::IteratorConst(map).bucket(), 0);
  EXPECT_EQ(NumberMap::IteratorConst(map, 4)->key_, 5U) << "4 is absent, 5 follows in the map's order";
}

TEST(HashMap, EveryWriteOfAChainLinkIsCounted) {
  IdMap map(0);
  auto const& vtable = Kro::HashMapVTable<IdMember, Id>::instance();
  auto const a = Kro::adopt(new IdMember({7, 1}));
  auto const b = Kro::adopt(new IdMember({7, 2}));
  vtable.setNext(a.get(), b.get());
  vtable.setNext(a.get(), b.get());
  EXPECT_EQ(a->mutations, 2U) << "also without a change";
  EXPECT_EQ(b->countWord(), 2U);
  vtable.setNext(a.get(), nullptr);
  EXPECT_EQ(b->countWord(), 1U);

  map.newMember(a);
  unsigned const before = a->mutations;
  map.newMember(b);
  EXPECT_EQ(a->mutations, before + 1) << "its neighbour came";
  map.memberDel(b);
  EXPECT_EQ(a->mutations, before + 2) << "and went";
}

TEST(HashMap, TheTableAnswersTheCoresQuestions) {
  auto const& vtable = Kro::HashMapVTable<IdMember, Id>::instance();
  Id const low{7, 1};
  Id const high{7, 2};
  auto const a = Kro::adopt(new IdMember(low));
  auto const b = Kro::adopt(new IdMember(high));
  EXPECT_EQ(vtable.hash(a.get()), 0xe0000000U);
  EXPECT_TRUE(vtable.keyEquals(&low, a.get()));
  EXPECT_FALSE(vtable.keyEquals(&high, a.get()));
  struct Case {
    Id const* key;
    IdMember const* a;
    IdMember const* b;
    bool isLess;
  };
  for (Case const& c :
       {Case{nullptr, a.get(), b.get(), false}, Case{nullptr, b.get(), a.get(), true},
        Case{&low, a.get(), b.get(), false}, Case{&low, b.get(), nullptr, true}, Case{&low, a.get(), nullptr, false},
        Case{&high, a.get(), nullptr, false}, Case{nullptr, a.get(), nullptr, true}}) {
    EXPECT_EQ(vtable.keyLessThan(c.key, c.a, c.b), c.isLess);
  }
}

TEST(HashMap, ARemovedMemberKeepsNoneAlive) {
  Ptr<IdMember> held;
  {
    IdMap map(4);
    for (int i = 0; i < 5; ++i) {
      insert(map, {7, i});
    }
    held = map[{7, 2}];
    map.memberDel(held);
    EXPECT_EQ(IdMember::alive, 5);
  }
  EXPECT_EQ(IdMember::alive, 1);
}

TEST(HashMap, LongChainsAreDroppedWithoutRecursion) {
  constexpr int length = 200000;
  for (bool const isDestroyed : {false, true}) {
    auto map = std::make_unique<IdMap>(1);
    for (int i = length; i > 0; --i) {
      insert(*map, {7, i});  // each goes to the front of the one chain
    }
    ASSERT_EQ(map->size(), static_cast<unsigned>(length));
    Ptr<IdMember> const held = (*map)[{7, 1}];
    if (isDestroyed) {
      map.reset();
    } else {
      map->emptyAllBuckets();
      EXPECT_EQ(map->size(), 0U);
    }
    EXPECT_EQ(IdMember::alive, 1);
  }
}

TEST(HashMap, AWalkThatRemovesMeetsEveryMember) {
  NumberMap map(4);
  for (unsigned key = 0; key < 100; ++key) {
    map.newMember(Kro::adopt(new NumberMember(key)));
  }
  unsigned removed = 0;
  for (NumberMap::Iterator iterator(map); iterator; iterator.advance()) {
    map.memberDel(iterator.member());
    ++removed;
  }
  EXPECT_EQ(removed, 100U);
  EXPECT_TRUE(map.empty());
}

TEST(HashMap, ViolatedPreconditionsChangeNothing) {
  IdMap map(2);  // the next member would make it grow
  auto const first = insert(map, {7, 1});
  insert(map, {7, 2});
  std::uint32_t const version = map.version();
  auto const twin = Kro::adopt(new IdMember({7, 1}));
  EXPECT_THROW(map.newMember(twin), Kro::InternalException) << "the key is taken";
  EXPECT_THROW(map.memberDel(twin), Kro::InternalException) << "another member has this key";
  IdMap other(16);
  EXPECT_THROW(other.newMember(first), Kro::InternalException) << "it is chained elsewhere";
  EXPECT_EQ(map.version(), version);
  EXPECT_EQ(map.k(), 1U);
  EXPECT_EQ(map.size(), 2U);
  EXPECT_EQ(map.auditErrors(0), 0U);
}

TEST(HashMap, AuditFindsMembersInTheWrongPlace) {
  IdMap map(4);
  auto const first = insert(map, {1, 1});
  insert(map, {1, 2});
  EXPECT_EQ(map.auditErrors(0), 0U);
  first->key_.number = 2;
  EXPECT_EQ(map.auditErrors(0), 1U) << "a key twice";
  first->key_.number = 3;
  EXPECT_EQ(map.auditErrors(0), 1U) << "out of order";
  first->key_ = {2, 0};
  EXPECT_EQ(map.auditErrors(0), 1U) << "in another's bucket";
}

}  // namespace
