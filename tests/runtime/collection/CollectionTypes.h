// Keys, values and members that the collection tests share.
#pragma once

#include <cstdint>
#include <stdexcept>

#include "runtime/collection/HashMap.h"
#include "runtime/collection/RbTreeMap.h"

namespace collectiontest {

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
    static Kro::Ptr<Chained>& next(Chained& member) { return member.next_; }
    static void nextChanged(Chained& member) { ++member.mutations; }
  };

 private:
  Kro::Ptr<Chained> next_;
};

using IdMember = Chained<Id>;
using IdMap = Kro::HashMap<IdMember, Id, IdMember>;
using NumberMember = Chained<unsigned>;
using NumberMap = Kro::HashMap<NumberMember, unsigned, NumberMember>;

}  // namespace collectiontest
