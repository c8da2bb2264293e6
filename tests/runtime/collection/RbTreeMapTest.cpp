#include "runtime/collection/RbTreeMap.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "runtime/core/Exception.h"
#include "tests/runtime/collection/CollectionTypes.h"

namespace {

using collectiontest::Payload;
using collectiontest::Rule;
using collectiontest::RuleMap;
using Kro::Ptr;

struct Key12 {
  std::uint32_t words[3];
};
struct Value84 {
  std::uint32_t words[21];
};
static_assert(sizeof(Kro::RbTreeNode<Key12, Value84>) == 136, "the key uses the padding behind the count word");

void fill(RuleMap& map, std::vector<int> const& keys) {
  for (int const key : keys) {
    map.newMember(key, Payload(key));
  }
}

std::vector<int> keysOf(RuleMap const& map) {
  std::vector<int> keys;
  std::transform(map.begin(), map.end(), std::back_inserter(keys), [](Rule const& rule) { return rule.key(); });
  return keys;
}

int keyOf(Rule const* rule) { return rule != nullptr ? rule->key() : -1; }

/// An iterator beside the key that it must stand on; -1 at the end.
struct Shadow {
  RuleMap::IteratorConst iterator;
  int key;
};

/// A map, the model of what it must hold, and iterators that live through all changes.
class RandomOperations {
 public:
  void step() {
    int const key = number(200);
    switch (number(8)) {
      case 0:
      case 1:
      case 2:
        insert(key);
        break;
      case 3:
      case 4:
        remove(key);
        break;
      case 5:
        overwrite(key);
        break;
      case 6:
        restart(key);
        break;
      default:
        advance(shadows_[static_cast<std::size_t>(number(8))]);
    }
  }

  void compare() const {
    ASSERT_EQ(map_.auditErrors(1), 0U);
    ASSERT_EQ(map_.size(), model_.size());
    auto expected = model_.begin();
    for (Rule const& rule : map_) {
      ASSERT_EQ(rule.key(), expected->first);
      ASSERT_EQ(rule.value().number, expected->second);
      ++expected;
    }
    for (Shadow const& shadow : shadows_) {
      ASSERT_EQ(shadow.iterator ? shadow.iterator.key() : -1, shadow.key);
    }
  }

  int number(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }

 private:
  int firstFrom(std::map<int, int>::const_iterator at) const { return at != model_.end() ? at->first : -1; }

  void insert(int key) {
    std::uint32_t const version = map_.version();
    auto const hint = map_[number(200)];  // any member is a good hint, and so is none
    auto const place = map_.locate(key, hint.get());
    ASSERT_EQ(keyOf(place.member()), model_.count(key) != 0 ? key : -1);
    int const value = number(1000);
    auto const record = map_.newMember(key, Payload(value), place);
    model_[key] = value;
    ASSERT_EQ(map_.find(key), record.get());
    ASSERT_NE(map_.version(), version);
  }

  void remove(int key) {
    Rule* const found = map_.find(key);
    ASSERT_EQ(found != nullptr, model_.erase(key) != 0);
    if (found != nullptr) {
      auto const record = map_.memberDel(found);
      ASSERT_EQ(record->key(), key);
      ASSERT_FALSE(map_.isMember(record.get()));
    }
  }

  void overwrite(int key) {
    std::uint32_t const version = map_.version();
    if (Rule* const found = map_.find(key); found != nullptr) {
      found->valueIs(Payload(-key));
      model_[key] = -key;
    }
    ASSERT_EQ(map_.version(), version);
  }

  void restart(int key) {
    ASSERT_EQ(keyOf(map_.startAt(key).get()), firstFrom(model_.lower_bound(key)));
    shadows_[static_cast<std::size_t>(number(8))] = {RuleMap::IteratorConst(map_, key),
                                                     firstFrom(model_.lower_bound(key))};
  }

  void advance(Shadow& shadow) {
    shadow.iterator.advance();
    shadow.key = shadow.key == -1 ? -1 : firstFrom(model_.upper_bound(shadow.key));
  }

  std::mt19937 random_{20};
  RuleMap map_;
  std::map<int, int> model_;
  std::array<Shadow, 8> shadows_ = {Shadow{{}, -1}, Shadow{{}, -1}, Shadow{{}, -1}, Shadow{{}, -1},
                                    Shadow{{}, -1}, Shadow{{}, -1}, Shadow{{}, -1}, Shadow{{}, -1}};
};

TEST(RbTreeMap, RandomOperationsAgreeWithAModel) {
  {
    RandomOperations operations;
    for (int i = 0; i < 20000 && !HasFatalFailure(); ++i) {
      operations.step();
      operations.compare();
    }
  }
  EXPECT_EQ(Payload::alive, 0);
}

/// Applies changes such as "-3 +3 =5": removed, inserted, replaced.
void change(RuleMap& map, std::string const& changes) {
  for (std::size_t at = 0; at + 1 < changes.size(); at += 3) {
    int const key = changes[at + 1] - '0';
    if (changes[at] == '-') {
      map.memberDel(map.find(key));
    } else {
      map.newMember(key, Payload(key));
    }
  }
}

TEST(RbTreeMap, AdvanceGoesOnWithTheSmallestGreaterKey) {
  struct Case {
    char const* changes;
    int next;
  };
  // The iterator stands on 3 of 1 3 5 7; -1 is the end.
  for (Case const& c : {Case{"", 5}, Case{"-3", 5}, Case{"-3 +3", 5}, Case{"=3", 5}, Case{"+4", 4}, Case{"-3 +4", 4},
                        Case{"-5", 7}, Case{"-5 -7", -1}, Case{"-1 -3 -5 -7", -1}, Case{"-1 -3 -5 -7 +2", -1},
                        Case{"-1 -3 -5 -7 +8 +9", 8}, Case{"-3 -5 +5", 5}}) {
    SCOPED_TRACE(c.changes);
    RuleMap map;
    fill(map, {1, 3, 5, 7});
    RuleMap::Iterator iterator(map, 3);
    change(map, c.changes);
    EXPECT_EQ(iterator->key(), 3) << "it keeps its member until it moves";
    iterator.advance();
    EXPECT_EQ(keyOf(iterator.member().get()), c.next);
    EXPECT_EQ(iterator.version(), map.version());
  }
}

TEST(RbTreeMap, SearchesStartAtTheKeyOrBehindIt) {
  struct Case {
    int key;
    int found;
    int first;
  };
  RuleMap map;
  EXPECT_FALSE(RuleMap::IteratorConst(map));
  EXPECT_EQ(map.startAt(1), nullptr);
  fill(map, {8, 2, 4, 6});
  for (Case const& c :
       {Case{0, -1, 2}, Case{2, 2, 2}, Case{3, -1, 4}, Case{7, -1, 8}, Case{8, 8, 8}, Case{9, -1, -1}}) {
    EXPECT_EQ(keyOf(map.find(c.key)), c.found) << c.key;
    EXPECT_EQ(keyOf(map[c.key].get()), c.found) << c.key;
    EXPECT_EQ(keyOf(map.startAt(c.key).get()), c.first) << c.key;
    EXPECT_EQ(keyOf(RuleMap::IteratorConst(map, c.key).member().get()), c.first) << c.key;
  }
  EXPECT_EQ(RuleMap::IteratorConst(map).key(), 2);
}

TEST(RbTreeMap, BookmarksAreKeysOtherThanTheDefault) {
  RuleMap map;
  fill(map, {0, 1});
  RuleMap::IteratorConst iterator(map);
  EXPECT_FALSE(iterator.hasBookmark());
  EXPECT_TRUE((++iterator).hasBookmark());
  EXPECT_FALSE((++iterator).hasBookmark());
  EXPECT_FALSE(++iterator);
}

/// Equality looks at the name, order at the rank, so that the two disagree.
struct Ranked {
  int rank = 0;
  int name = 0;
  friend bool operator==(Ranked const& a, Ranked const& b) { return a.name == b.name; }
  friend bool operator<(Ranked const& a, Ranked const& b) { return a.rank < b.rank; }
};
class RankedRule : public Kro::RbTreeNode<Ranked, int> {
 public:
  using RbTreeNode::RbTreeNode;
};

TEST(RbTreeMap, EqualityIsAskedBeforeOrderAtEveryNode) {
  Kro::RbTreeMap<RankedRule, Ranked, int> map;
  map.newMember({1, 1}, 10);
  map.newMember({2, 2}, 20);
  ASSERT_NE(map.find({9, 1}), nullptr);
  EXPECT_EQ(map.find({9, 1})->value(), 10);
  EXPECT_EQ(map.startAt({9, 1})->value(), 10);
}

TEST(RbTreeMap, ReplacingIsStructuralAndOverwritingIsNot) {
  RuleMap map;
  fill(map, {1, 2, 3});
  EXPECT_EQ(map.version(), 4U) << "1, and one for each insertion";
  RuleMap::Iterator const iterator(map, 2);
  iterator->valueIs(Payload(22));
  EXPECT_EQ(map.version(), 4U);
  EXPECT_EQ(iterator.value().number, 22);

  Ptr<Rule> const other = Kro::adopt(new Rule(2, Payload(222)));
  EXPECT_EQ(map.memberIs(other), iterator.member()) << "the replaced record is handed back";
  EXPECT_EQ(map.version(), 5U);
  EXPECT_EQ(map.size(), 3U);
  EXPECT_EQ(map.find(2), other.get());
  EXPECT_EQ(iterator.value().number, 22) << "iterators keep the old record";
  EXPECT_FALSE(map.isMember(iterator.member().get()));
  EXPECT_TRUE(map.isMember(other.get()));
  EXPECT_FALSE(RuleMap().isMember(other.get()));
  EXPECT_EQ(map.memberIs(Kro::adopt(new Rule(4, Payload(4)))), nullptr);
}

TEST(RbTreeMap, APlaceOfAnOlderVersionIsLookedUpAgain) {
  RuleMap map;
  fill(map, {1, 5});
  auto const place = map.locate(3);
  fill(map, {2, 3, 4});
  map.newMember(3, Payload(33), place);
  EXPECT_EQ(keysOf(map), (std::vector<int>{1, 2, 3, 4, 5}));
  EXPECT_EQ(map.find(3)->value().number, 33);
}

TEST(RbTreeMap, DetachedRecordsReachNothing) {
  std::vector<int> const keys = {4, 2, 6, 1, 3, 5, 7};
  for (int const key : keys) {  // the root, inner records and leaves
    for (bool const isReplaced : {false, true}) {
      Ptr<Rule> held;
      {
        RuleMap map;
        fill(map, keys);
        held = map[key];
        if (isReplaced) {
          map.newMember(key, Payload(0));
        } else {
          map.memberDel(held.get());
        }
        EXPECT_FALSE(held->isLinked());
      }
      EXPECT_EQ(Payload::alive, 1) << key;
      RuleMap other;
      fill(other, {0, 9});
      other.memberIs(held);
      EXPECT_EQ(keysOf(other), (std::vector<int>{0, key, 9}));
    }
  }
}

TEST(RbTreeMap, DeleteAllDetachesEveryRecord) {
  Ptr<Rule> held;
  RuleMap map;
  for (int i = 0; i < 1000; ++i) {
    map.newMember(i, Payload(i));
  }
  held = map[500];
  std::uint32_t const version = map.version();
  map.deleteAll();
  EXPECT_EQ(Payload::alive, 1);
  EXPECT_FALSE(held->isLinked());
  EXPECT_NE(map.version(), version);
  fill(map, {2, 1});
  EXPECT_EQ(keysOf(map), (std::vector<int>{1, 2}));
  EXPECT_EQ(map.auditErrors(0), 0U);
}

TEST(RbTreeMap, AWalkThatRemovesMeetsWhatIsInsertedAheadOfIt) {
  RuleMap map;
  fill(map, {2, 4, 6});
  std::vector<int> removed;
  for (RuleMap::Iterator iterator(map); iterator; iterator.advance()) {
    removed.push_back(iterator.key());
    map.memberDel(iterator.member().get());
    if (iterator.key() == 4) {
      fill(map, {3, 5});
    }
  }
  EXPECT_EQ(removed, (std::vector<int>{2, 4, 5, 6}));
  EXPECT_EQ(keysOf(map), (std::vector<int>{3}));
}

TEST(RbTreeMap, ViolatedPreconditionsChangeNothing) {
  RuleMap map;
  RuleMap other;
  fill(map, {1, 2, 3});
  Ptr<Rule> const detached = Kro::adopt(new Rule(2, Payload(2)));
  EXPECT_THROW(map.memberDel(detached.get()), Kro::InternalException);
  EXPECT_THROW(map.memberIs(map[2]), Kro::InternalException) << "it is in the map already";
  EXPECT_THROW(other.memberIs(map[2]), Kro::InternalException) << "it is in another map";
  Payload const value(4);
  Payload::failing = true;
  EXPECT_THROW(map.newMember(4, value), std::runtime_error);
  Payload::failing = false;
  EXPECT_EQ(map.version(), 4U);
  EXPECT_EQ(keysOf(map), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(map.auditErrors(0), 0U);
}

TEST(RbTreeMap, ToolsCopyIterators) {
  RuleMap map;
  fill(map, {1, 2, 3});
  RuleMap::Iterator const iterator(map, 2);
  Kro::BaseCollection const& collection = map;
  Kro::BaseCollection::StrepIterator* const copy = collection.iteratorSpaceCopy(iterator);
  auto& typed = static_cast<RuleMap::TIterator&>(*copy);
  EXPECT_EQ(typed.key(), 2);
  EXPECT_EQ((++typed).member(), map[3]);
  EXPECT_EQ(iterator.key(), 2);
  collection.iteratorDelete(*copy);
  EXPECT_EQ(map[3]->countWord(), 2U) << "the map's and the one asked for";
}

/// Keys whose order can be turned round under the map.
struct Turning {
  int number = 0;
  static inline bool turned = false;
  friend bool operator==(Turning const&, Turning const&) = default;
  friend bool operator<(Turning const& a, Turning const& b) {
    return turned ? b.number < a.number : a.number < b.number;
  }
};
class TurningRule : public Kro::RbTreeNode<Turning, int> {
 public:
  using RbTreeNode::RbTreeNode;
  unsigned kroAuditErrors(unsigned) const override { return value() < 0 ? 1 : 0; }
};

TEST(RbTreeMap, AuditFindsDisorderAndAsksMembers) {
  Kro::RbTreeMap<TurningRule, Turning, int> map;
  for (int i = 0; i < 4; ++i) {
    map.newMember({i}, i - 2);
  }
  EXPECT_EQ(map.auditErrors(0), 0U);
  EXPECT_EQ(map.auditErrors(1), 2U);
  Turning::turned = true;
  EXPECT_EQ(map.auditErrors(0), 3U);
  Turning::turned = false;
}

}  // namespace
