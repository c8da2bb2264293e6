// The ordered and the hash map: random operations beside a model, then what a model does not show.
#include <map>
#include <optional>
#include <random>

#include <gtest/gtest.h>

#include "runtime/collection/HashMap.h"
#include "runtime/collection/RbTreeMap.h"
#include "runtime/core/Exception.h"
#include "tests/support/Allocations.h"

namespace {

using Kro::adopt;
using Kro::Ptr;

/// A value that counts its living copies and fails to be copied on demand.
struct Payload {
  explicit Payload(int number_ = 0) : number(number_) { ++alive; }
  Payload(Payload const& other) : number(other.number) {
    if (failing) {
      throw std::runtime_error("copy");
    }
    ++alive;
  }
  Payload& operator=(Payload const&) = default;
  ~Payload() { --alive; }

  int number;
  static inline int alive = 0;
  static inline bool failing = false;
};

class Rule : public Kro::RbTreeNode<int, Payload> {
 public:
  using RbTreeNode::RbTreeNode;
};
using RuleMap = Kro::RbTreeMap<Rule, int, Payload>;

using Key12 = std::array<std::uint32_t, 3>;
using Value84 = std::array<std::uint32_t, 21>;
static_assert(sizeof(Kro::RbTreeNode<Key12, Value84>) == 136, "the key uses the padding behind the count word");

/// A key that can collide: the hash is its own, whatever the number.
struct Id {
  std::uint32_t hashed = 0;
  int number = 0;
  std::uint32_t hash() const { return hashed; }
  friend bool operator==(Id const&, Id const&) = default;
  friend bool operator<(Id const& a, Id const& b) {
    return a.hashed != b.hashed ? a.hashed < b.hashed : a.number < b.number;
  }
};

/// A member that is keyed by `Key`, counts the writes of its chain link, and counts its like that are alive.
template <class Key>
class Chained : public Kro::PtrInterface {
 public:
  explicit Chained(Key const& key) : key_(key) { ++alive; }
  ~Chained() override { --alive; }

  Key key_;
  unsigned mutations = 0;
  static inline int alive = 0;

  struct KroHashLink {
    static Key const& key(Chained const& member) { return member.key_; }
    static Ptr<Chained>& next(Chained& member) { return member.next_; }
    static void nextChanged(Chained& member) { ++member.mutations; }
  };

 private:
  Ptr<Chained> next_;
};
using IdMember = Chained<Id>;
using IdMap = Kro::HashMap<IdMember, Id, IdMember>;
using NumberMember = Chained<unsigned>;
using NumberMap = Kro::HashMap<NumberMember, unsigned, NumberMember>;

Ptr<IdMember> insert(IdMap& map, Id const& id) {
  Ptr<IdMember> member = adopt(new IdMember(id));
  map.newMember(member);
  return member;
}

// --- beside a model ---

/// How each kind of map is used: its keys and their order, insertion, what a member holds.
struct Ordered {
  using Map = RuleMap;
  using Order = std::less<int>;
  static constexpr bool replaces = true;
  static Map make(unsigned) { return {}; }
  static int key(unsigned random) { return static_cast<int>(random % 200); }
  static Ptr<Rule> insert(Map& map, int key, int value, unsigned random) {
    auto const hint = map[Ordered::key(random)];  // any member is a good hint, and so is none
    return map.newMember(key, Payload(value), map.locate(key, hint.get()));
  }
  static void remove(Map& map, Ptr<Rule> const& member) { EXPECT_EQ(map.memberDel(member.get()), member); }
  static void checkStart(Map const& map, int key, Map::Iterator const& it) { EXPECT_EQ(map.startAt(key), it.member()); }
  static int keyOf(Rule const& rule) { return rule.key(); }
  static int valueOf(Rule const& rule) { return rule.value().number; }
};
struct Hashed {
  using Map = IdMap;
  struct Order {  // by the reversed hash
    bool operator()(Id const& a, Id const& b) const {
      return std::pair(Kro::bitReverse(a.hashed), a.number) < std::pair(Kro::bitReverse(b.hashed), b.number);
    }
  };
  static constexpr bool replaces = false;
  static Map make(unsigned initialSize) { return Map(initialSize); }
  /// Few hashes: chains are long; some are equal in the bits that growth looks at first.
  static Id key(unsigned random) { return {(random & 0x8000003fU), static_cast<int>(random >> 8U) % 3}; }
  static Ptr<IdMember> insert(Map& map, Id const& key, int, unsigned) { return ::insert(map, key); }
  static void remove(Map& map, Ptr<IdMember> const& member) {
    map.memberDel(member);
    EXPECT_EQ(IdMember::KroHashLink::next(*member), nullptr);
  }
  static void checkStart(Map const&, Id const&, Map::Iterator const&) {}
  static Id keyOf(IdMember const& member) { return member.key_; }
  static int valueOf(IdMember const&) { return 0; }
};

/// A map, the model of what it must hold, and iterators that live through all changes.
template <class S>
class RandomOperations {
 public:
  using Key = decltype(S::key(0));
  using Iterator = typename S::Map::Iterator;
  explicit RandomOperations(unsigned initialSize) : map_(S::make(initialSize)) {}

  void step() {
    Key const key = S::key(number());
    Shadow& shadow = shadows_[number() % std::size(shadows_)];
    switch (number() % 8) {
      case 0:
      case 1:
      case 2:
        return add(key);
      case 3:
        return remove(key);
      case 4:
        shadow = {Iterator(map_, key), at(model_.lower_bound(key))};
        return S::checkStart(map_, key, shadow.iterator);
      default:
        shadow.iterator.advance();
        shadow.key = shadow.key ? at(model_.upper_bound(*shadow.key)) : std::nullopt;
    }
  }

  void compare() const {
    ASSERT_EQ(map_.auditErrors(1), 0U);
    ASSERT_EQ(map_.size(), model_.size());
    auto expected = model_.begin();
    for (auto const& member : map_) {
      ASSERT_EQ(S::keyOf(member), expected->first);
      ASSERT_EQ(S::valueOf(member), expected++->second);
    }
    for (Shadow const& shadow : shadows_) {
      ASSERT_EQ(static_cast<bool>(shadow.iterator), shadow.key.has_value());
      ASSERT_TRUE(!shadow.key || S::keyOf(*shadow.iterator) == *shadow.key);
    }
  }

 private:
  /// An iterator beside the key that it must stand on; none at the end.
  struct Shadow {
    Iterator iterator;
    std::optional<Key> key;
  };
  using Model = std::map<Key, int, typename S::Order>;

  unsigned number() { return static_cast<unsigned>(random_()); }
  std::optional<Key> at(typename Model::const_iterator it) const {
    return it != model_.end() ? std::optional<Key>(it->first) : std::nullopt;
  }
  void add(Key const& key) {
    std::uint32_t const version = map_.version();
    bool const isNew = !model_.contains(key);
    ASSERT_EQ(map_.find(key) == nullptr, isNew);
    if (isNew || S::replaces) {
      int const value = S::replaces ? static_cast<int>(number() % 1000) : 0;
      auto const member = S::insert(map_, key, value, number());
      model_[key] = value;
      ASSERT_EQ(map_[key], member);
      ASSERT_TRUE(map_.isMember(member.get()));
      ASSERT_NE(map_.version(), version);
    }
  }
  void remove(Key const& key) {
    auto const member = map_[key];
    ASSERT_EQ(member != nullptr, model_.erase(key) != 0);
    if (member != nullptr) {
      std::uint32_t const version = map_.version();
      S::remove(map_, member);
      ASSERT_NE(map_.version(), version);
      ASSERT_FALSE(map_.isMember(member.get()));
    }
  }

  std::mt19937 random_{20};
  typename S::Map map_;
  Model model_;
  Shadow shadows_[8];
};

template <class S>
class Maps : public testing::Test {};
using Both = testing::Types<Ordered, Hashed>;
TYPED_TEST_SUITE(Maps, Both);

TYPED_TEST(Maps, AgreeWithAModelUnderRandomOperations) {
  for (unsigned const initialSize : {0U, 4U, 100U}) {
    RandomOperations<TypeParam> operations(initialSize);
    for (int i = 0; i < 10000 && !this->HasFatalFailure(); ++i) {
      operations.step();
      operations.compare();
    }
  }
  EXPECT_EQ(Payload::alive + IdMember::alive, 0);
}

// --- the ordered map ---

void fill(RuleMap& map, std::vector<int> const& keys) {
  for (int const key : keys) {
    map.newMember(key, Payload(key));
  }
}
std::vector<int> keysOf(RuleMap const& map) {
  std::vector<int> keys;
  std::transform(map.begin(), map.end(), std::back_inserter(keys), Ordered::keyOf);
  return keys;
}

/// Equality looks at the name, order at the rank, so that the two disagree; the order can be turned round.
struct Ranked {
  int rank = 0;
  int name = 0;
  static inline bool turned = false;
  friend bool operator==(Ranked const& a, Ranked const& b) { return a.name == b.name; }
  friend bool operator<(Ranked const& a, Ranked const& b) { return turned ? b.rank < a.rank : a.rank < b.rank; }
};
class RankedRule : public Kro::RbTreeNode<Ranked, int> {
 public:
  using RbTreeNode::RbTreeNode;
  unsigned kroAuditErrors(unsigned) const override { return value() < 0 ? 1 : 0; }
};

TEST(RbTreeMap, EqualityIsAskedBeforeOrderAndTheAuditAsksBoth) {
  Kro::RbTreeMap<RankedRule, Ranked, int> map;
  for (int i = 0; i < 4; ++i) {
    map.newMember({i, i}, i - 2);
  }
  ASSERT_NE(map.find({9, 1}), nullptr);
  EXPECT_EQ(map.find({9, 1})->value(), -1);
  EXPECT_EQ(map.startAt({9, 1})->value(), -1);
  EXPECT_EQ(map.auditErrors(0), 0U);
  EXPECT_EQ(map.auditErrors(1), 2U) << "members are asked";
  Ranked::turned = true;
  EXPECT_EQ(map.auditErrors(0), 3U) << "out of order";
  Ranked::turned = false;
}

TEST(RbTreeMap, ReplacingIsStructuralAndOverwritingIsNot) {
  RuleMap map;
  fill(map, {1, 2, 3});
  EXPECT_EQ(map.version(), 4U) << "1, and one for each insertion";
  RuleMap::Iterator const iterator(map, 2);
  iterator->valueIs(Payload(22));
  EXPECT_EQ(map.version(), 4U);
  Ptr<Rule> const other = adopt(new Rule(2, Payload(222)));
  EXPECT_EQ(map.memberIs(other), iterator.member()) << "the replaced record is handed back";
  EXPECT_EQ(map.version(), 5U);
  EXPECT_EQ(map.find(2), other.get());
  EXPECT_EQ(iterator.value().number, 22) << "iterators keep the old record";
  EXPECT_FALSE(map.isMember(iterator.member().get()) || RuleMap().isMember(other.get()));
  // A place of an older version is looked up again.
  auto const place = map.locate(4);
  map.memberDel(map.find(3));
  map.newMember(4, Payload(44), place);
  EXPECT_EQ(keysOf(map), (std::vector<int>{1, 2, 4}));
  // A bookmark is a key other than the default.
  fill(map, {0});
  RuleMap::IteratorConst walk(map);
  EXPECT_FALSE(walk.hasBookmark());
  EXPECT_TRUE((++walk).hasBookmark());
}

TEST(RbTreeMap, DetachedRecordsReachNothing) {
  std::vector<int> const keys = {4, 2, 6, 1, 3, 5, 7};
  for (int const key : keys) {  // the root, inner records and leaves
    for (int const way : {0, 1, 2}) {
      Ptr<Rule> held;
      {
        RuleMap map;
        fill(map, keys);
        held = map[key];
        std::uint32_t const version = map.version();
        way == 0 ? void(map.newMember(key, Payload(0))) : way == 1 ? void(map.memberDel(held.get())) : map.deleteAll();
        EXPECT_FALSE(held->isLinked());
        EXPECT_NE(map.version(), version);
        EXPECT_EQ(Payload::alive, way == 0 ? 8 : way == 1 ? 7 : 1);
      }
      EXPECT_EQ(Payload::alive, 1) << key;
      RuleMap other;
      fill(other, {0, 9});
      other.memberIs(held);
      EXPECT_EQ(keysOf(other), (std::vector<int>{0, key, 9}));
    }
  }
}

TEST(RbTreeMap, ViolatedPreconditionsChangeNothing) {
  RuleMap map;
  RuleMap other;
  fill(map, {1, 2, 3});
  Ptr<Rule> const detached = adopt(new Rule(2, Payload(2)));
  EXPECT_THROW(map.memberDel(detached.get()), Kro::InternalException);
  EXPECT_THROW(map.memberIs(map[2]), Kro::InternalException) << "it is in the map already";
  EXPECT_THROW(other.memberIs(map[2]), Kro::InternalException) << "it is in another map";
  Payload const value(4);
  Payload::failing = true;
  EXPECT_THROW(map.newMember(4, value), std::runtime_error);
  Payload::failing = false;
  EXPECT_EQ(map.version(), 4U);
  EXPECT_EQ(keysOf(map), (std::vector<int>{1, 2, 3}));
  // Tools copy iterators that they know nothing of.
  RuleMap::Iterator const iterator(map, 2);
  Kro::BaseCollection const& collection = map;
  Kro::BaseCollection::StrepIterator* const copy = collection.iteratorSpaceCopy(iterator);
  EXPECT_EQ((++static_cast<RuleMap::TIterator&>(*copy)).member(), map[3]);
  collection.iteratorDelete(*copy);
  EXPECT_EQ(map[3]->countWord(), 2U) << "the map's and the one asked for";
}

// --- the hash map ---

TEST(HashMap, NumbersComeByTheirReversedBitsWhateverTheSize) {
  for (auto const& [initialSize, k] : {std::pair(0U, 0U), {1, 0}, {4, 2}, {5, 3}, {1000, 10}}) {
    NumberMap map(initialSize);
    EXPECT_EQ(map.k(), k);
    for (unsigned key = 1; key <= 8; ++key) {
      map.newMember(adopt(new NumberMember(key)));
      EXPECT_GE(1U << map.k(), key) << "not more members than buckets";
    }
    std::vector<unsigned> keys;
    for (NumberMap::Iterator iterator(map); iterator; ++iterator) {
      keys.push_back(iterator->key_);
      map.memberDel(iterator.member());  // a walk that removes meets them all
    }
    EXPECT_EQ(keys, (std::vector<unsigned>{8, 4, 2, 6, 1, 5, 3, 7}));
    EXPECT_TRUE(map.empty());
  }
  EXPECT_EQ(NumberMap(0).bucketOf(0xffffffffU), 0);
  EXPECT_EQ(NumberMap(4).bucketOf(0xbfffffffU), 2) << "the top two bits";
  NumberMap one(0);
  EXPECT_FALSE(NumberMap::IteratorConst(one, 5));
  one.newMember(adopt(new NumberMember(5)));
  NumberMap::IteratorConst iterator(one, 4);
  EXPECT_EQ(iterator->key_, 5U) << "4 is absent, 5 follows in the map's order";
  EXPECT_EQ(std::pair(iterator.bucket(), iterator.version()), std::pair(0, one.version()));
}

TEST(HashMap, EveryWriteOfAChainLinkIsCounted) {
  IdMap map(0);
  auto const& vtable = Kro::HashMapVTable<IdMember, Id>::instance();
  Id const low{7, 1};
  Id const high{7, 2};
  auto const a = adopt(new IdMember(low));
  auto const b = adopt(new IdMember(high));
  vtable.setNext(a.get(), b.get());
  vtable.setNext(a.get(), b.get());
  EXPECT_EQ(a->mutations, 2U) << "also without a change";
  vtable.setNext(a.get(), nullptr);
  map.newMember(a);
  unsigned const before = a->mutations;
  map.newMember(b);
  EXPECT_EQ(a->mutations, before + 1) << "its neighbour came";
  map.memberDel(b);
  EXPECT_EQ(a->mutations, before + 2) << "and went";

  EXPECT_EQ(vtable.hash(a.get()), 0xe0000000U);
  EXPECT_TRUE(vtable.keyEquals(&low, a.get()) && !vtable.keyEquals(&high, a.get()));
  EXPECT_TRUE(vtable.keyLessThan(nullptr, b.get(), a.get()) && vtable.keyLessThan(&low, b.get(), nullptr));
  EXPECT_TRUE(vtable.keyLessThan(nullptr, a.get(), nullptr) && !vtable.keyLessThan(nullptr, a.get(), b.get()));
  EXPECT_FALSE(vtable.keyLessThan(&low, a.get(), b.get()) || vtable.keyLessThan(&low, a.get(), nullptr));
  EXPECT_FALSE(vtable.keyLessThan(&high, a.get(), nullptr));
}

TEST(HashMap, LongChainsAreDroppedWithoutRecursion) {
  constexpr int length = 200000;
  for (int const way : {0, 1, 2}) {
    auto map = std::make_unique<IdMap>(1);
    for (int i = length; i > 0; --i) {
      insert(*map, {7, i});  // each goes to the front of the one chain
    }
    Ptr<IdMember> const held = (*map)[{7, 2}];
    way == 0 ? map->memberDel(held) : way == 1 ? map->emptyAllBuckets() : map.reset();
    EXPECT_EQ(IdMember::alive, way == 0 ? length : 1);
    map.reset();
    EXPECT_EQ(IdMember::alive, 1) << "it keeps none alive";
  }
}

TEST(HashMap, GoesOnWithoutMemoryToGrowAndWithMembersThatComeWhileItEmpties) {
  struct Inserting : IdMember {
    Inserting(IdMap& map_, Id const& id) : IdMember(id), map(map_) {}
    ~Inserting() override { insert(map, {0, 9}); }
    IdMap& map;
  };
  IdMap map(2);
  insert(map, {1, 1});
  insert(map, {1, 2});
  Ptr<IdMember> third = adopt(new Inserting(map, {3, 3}));
  VornTest::failAllocation(1);
  map.newMember(third);
  EXPECT_TRUE(VornTest::failAllocation(0));
  EXPECT_EQ(std::tuple(map.k(), map.size(), map.auditErrors(1)), std::tuple(1U, 3U, 0U));
  EXPECT_TRUE((map[{3, 3}] == std::exchange(third, nullptr)));
  insert(map, {2, 4});
  EXPECT_EQ(map.k(), 2U) << "later it grows";
  map.emptyAllBuckets();
  EXPECT_EQ(std::pair(map.size(), IdMember::alive), std::pair(0U, 0));
}

TEST(HashMap, ViolatedPreconditionsChangeNothing) {
  IdMap map(2);  // the next member would make it grow
  auto const first = insert(map, {1, 1});
  insert(map, {1, 2});
  std::uint32_t const version = map.version();
  auto const twin = adopt(new IdMember({1, 1}));
  EXPECT_THROW(map.newMember(twin), Kro::InternalException) << "the key is taken";
  EXPECT_THROW(map.memberDel(twin), Kro::InternalException) << "another member has this key";
  IdMap other(16);
  EXPECT_THROW(other.newMember(first), Kro::InternalException) << "it is chained elsewhere";
  EXPECT_EQ(std::tuple(map.version(), map.k(), map.size()), std::tuple(version, 1U, 2U));
  EXPECT_EQ(map.auditErrors(0), 0U);
  for (Id const& wrong : {Id{1, 2}, Id{1, 3}, Id{2, 0}}) {  // a key twice, out of order, in another's bucket
    first->key_ = wrong;
    EXPECT_EQ(map.auditErrors(0), 1U) << wrong.number;
  }
}

}  // namespace
