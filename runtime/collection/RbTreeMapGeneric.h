// The part of the ordered map that knows neither keys nor values: a red-black tree over link blocks. It is compiled
// once and serves every record type; `RbTreeMap` is the typed shell that descends, compares and counts references.
#pragma once

#include <cstdint>

#include "runtime/collection/BaseCollection.h"

namespace Kro {

/// The link block at the end of a member record. A red root cannot be, so the first word of a linked block is never
/// zero, and that of a detached one always is.
///
///      63                                                     1     0
///     +----------------------------------------------------------+---+
///     | parent's link block, uncounted, null at the root         | B |   B: this node is black
///     +----------------------------------------------------------+---+
///     | left child's link block, right child's link block            |
///     +--------------------------------------------------------------+
class RbLink {
 public:
  RbLink(RbLink const&) = delete;
  RbLink& operator=(RbLink const&) = delete;
  /// Whether the record stands in a map.
  bool isLinked() const { return parentWord_ != 0; }

 protected:
  RbLink() = default;
  ~RbLink() = default;

 private:
  friend class RbTreeMapGeneric;
  static constexpr std::uintptr_t blackBit = 1;

  RbLink* parent() const { return reinterpret_cast<RbLink*>(parentWord_ & ~blackBit); }
  void parentIs(RbLink* parent) { parentWord_ = reinterpret_cast<std::uintptr_t>(parent) | (parentWord_ & blackBit); }
  bool isBlack() const { return (parentWord_ & blackBit) != 0; }
  void blackIs(bool black) { parentWord_ = black ? parentWord_ | blackBit : parentWord_ & ~blackBit; }

  std::uintptr_t parentWord_ = 0;
  RbLink* child_[2] = {nullptr, nullptr};  ///< left, right
};

/// Links, balances and counts; holds these invariants:
/// 1. in-order, the records stand in the order in which they were placed; the shell places them by key;
/// 2. the root is black, no red node has a red child, and every way down from the root meets as many black nodes;
/// 3. a record's parent link designates the record whose child it is; none of the links is counted, the shell holds one
///    reference for each record that is linked here;
/// 4. `greatest` is the last record in order, so that appending needs no descent;
/// 5. a record that was removed or replaced has no links: it neither holds nor reaches anything of the map;
/// 6. every insertion, replacement and removal changes the version; changing a value in place does not.
class VORNACL_API RbTreeMapGeneric : public BaseRefCollection<PtrInterface> {
 public:
  /// Starts at 1; iterators compare it to learn that the map was changed.
  std::uint32_t version() const { return version_; }
  /// Number of members.
  std::uint32_t size() const { return count_; }
  bool empty() const { return count_ == 0; }

 protected:
  RbTreeMapGeneric() = default;

  /// Links a detached record as the left or right child of `parent`, which has none there, or as the root of an empty
  /// map when `parent` is null (`left` is then true by convention); rebalances. The shell counts the reference.
  void memberNewChild(RbLink* parent, RbLink* child, bool left);
  /// Puts a detached record in the place of a linked one of equal key, which loses its links. The shell moves the
  /// reference.
  void memberReplace(RbLink* old, RbLink* replacement);
  /// Unlinks a record of this map and rebalances. The shell gives the reference back.
  void _memberDelG(RbLink* node);
  /// Unlinks every record and hands each, in order, to `release`, which may use the (by then empty) map. Takes no
  /// recursion and no memory.
  void _memberDelAllG(void (*release)(RbLink* node));

  RbLink* root() const { return root_; }
  RbLink* first() const { return root_ != nullptr ? outermost(root_, 0) : nullptr; }
  RbLink* last() const { return greatest_; }
  static RbLink* left(RbLink const* node) { return node->child_[0]; }
  static RbLink* right(RbLink const* node) { return node->child_[1]; }
  /// The record that follows a linked one, null after the last.
  static RbLink* successor(RbLink const* node) {
    if (node->child_[1] != nullptr) {
      return outermost(node->child_[1], 0);
    }
    RbLink* up = node->parent();
    while (up != nullptr && up->child_[1] == node) {
      node = up;
      up = up->parent();
    }
    return up;
  }
  /// The leftmost record below and including `node`.
  static RbLink* leftmost(RbLink* node) { return outermost(node, 0); }
  /// Whether the record is linked in this very map; takes one climb to the root.
  bool isMemberG(RbLink const* node) const;
  /// Number of breaches of the invariants 2, 3 and 4 and of the count.
  unsigned structureErrors() const;

 private:
  static RbLink* outermost(RbLink* node, unsigned side) {
    while (node->child_[side] != nullptr) {
      node = node->child_[side];
    }
    return node;
  }
  static bool isRed(RbLink const* node) { return node != nullptr && !node->isBlack(); }
  static void clear(RbLink* node);
  static unsigned sideOf(RbLink const* node) { return node->parent()->child_[1] == node ? 1 : 0; }

  void rotate(RbLink* down, unsigned side);
  void substitute(RbLink const* old, RbLink* by);
  void takePlace(RbLink* old, RbLink* by);
  void balanceAfterNew(RbLink* at);
  void balanceAfterGone(RbLink* parent, unsigned side);
  bool borrowBlack(RbLink* parent, unsigned side);

  std::uint32_t version_ = 1;
  std::uint32_t count_ = 0;
  RbLink* root_ = nullptr;
  RbLink* greatest_ = nullptr;
};

}  // namespace Kro
