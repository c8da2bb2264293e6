#include "runtime/collection/RbTreeMapGeneric.h"

#include "runtime/core/Exception.h"

namespace Kro {

void RbTreeMapGeneric::clear(RbLink* node) {
  node->parentWord_ = 0;
  node->child_[0] = nullptr;
  node->child_[1] = nullptr;
}

/// What pointed to `old` from above points to `by`; the children of both stay where they are.
void RbTreeMapGeneric::substitute(RbLink const* old, RbLink* by) {
  RbLink* const parent = old->parent();
  if (parent == nullptr) {
    root_ = by;
  } else {
    parent->child_[sideOf(old)] = by;
  }
  if (by != nullptr) {
    by->parentIs(parent);
  }
}

/// `by` gets parent, children and colour of `old`, whose own words stay as they are.
void RbTreeMapGeneric::takePlace(RbLink* old, RbLink* by) {
  substitute(old, by);
  by->blackIs(old->isBlack());
  for (unsigned side = 0; side < 2; ++side) {
    by->child_[side] = old->child_[side];
    if (by->child_[side] != nullptr) {
      by->child_[side]->parentIs(by);
    }
  }
}

/// Moves `down` one level towards `side`; its child of the other side comes up in its place.
void RbTreeMapGeneric::rotate(RbLink* down, unsigned side) {
  RbLink* const up = down->child_[1 - side];
  RbLink* const between = up->child_[side];
  down->child_[1 - side] = between;
  if (between != nullptr) {
    between->parentIs(down);
  }
  substitute(down, up);
  up->child_[side] = down;
  down->parentIs(up);
}

void RbTreeMapGeneric::memberNewChild(RbLink* parent, RbLink* child, bool left) {
  bool const isFree = parent == nullptr ? root_ == nullptr : parent->child_[left ? 0 : 1] == nullptr;
  if (!isFree || child->isLinked()) {
    throwInternalException("Kro::RbTreeMapGeneric::memberNewChild: the place is taken or the record linked already");
  }
  if (parent == nullptr) {
    root_ = child;
  } else {
    child->parentIs(parent);
    parent->child_[left ? 0 : 1] = child;
  }
  if (parent == greatest_ && (parent == nullptr || !left)) {
    greatest_ = child;
  }
  balanceAfterNew(child);
  ++count_;
  ++version_;
}

/// `at` is red, and all is well but for a red parent that it may have.
void RbTreeMapGeneric::balanceAfterNew(RbLink* at) {
  RbLink* parent = at->parent();
  while (isRed(parent)) {
    RbLink* const grand = parent->parent();  // a red node is never the root
    unsigned const side = sideOf(parent);
    RbLink* const uncle = grand->child_[1 - side];
    if (!isRed(uncle)) {
      if (parent->child_[1 - side] == at) {
        rotate(parent, side);
        parent = at;
      }
      rotate(grand, 1 - side);
      parent->blackIs(true);
      grand->blackIs(false);
      return;
    }
    parent->blackIs(true);
    uncle->blackIs(true);
    grand->blackIs(false);
    at = grand;
    parent = at->parent();
  }
  root_->blackIs(true);
}

void RbTreeMapGeneric::memberReplace(RbLink* old, RbLink* replacement) {
  if (!old->isLinked() || replacement->isLinked()) {
    throwInternalException("Kro::RbTreeMapGeneric::memberReplace: a detached record replaces a linked one");
  }
  takePlace(old, replacement);
  if (greatest_ == old) {
    greatest_ = replacement;
  }
  clear(old);
  ++version_;
}

void RbTreeMapGeneric::_memberDelG(RbLink* node) {
  if (!node->isLinked()) {
    throwInternalException("Kro::RbTreeMapGeneric::_memberDelG: the record is in no map");
  }
  if (node == greatest_) {
    // It has no right child, and so a single red one on the left, or none.
    greatest_ = node->child_[0] != nullptr ? node->child_[0] : node->parent();
  }
  // With two children it is the next record's place that goes; that record moves into the place of `node`.
  bool const isInner = node->child_[0] != nullptr && node->child_[1] != nullptr;
  RbLink* const spliced = isInner ? outermost(node->child_[1], 0) : node;
  RbLink* const child = spliced->child_[spliced->child_[0] != nullptr ? 0 : 1];
  RbLink* parent = spliced->parent();
  unsigned const side = parent != nullptr ? sideOf(spliced) : 0;
  bool const wasBlack = spliced->isBlack();
  substitute(spliced, child);
  if (isInner) {
    takePlace(node, spliced);
    parent = parent == node ? spliced : parent;
  }
  if (child != nullptr) {
    child->blackIs(true);  // an only child is red below a black parent
  } else if (wasBlack) {
    balanceAfterGone(parent, side);
  }
  clear(node);
  --count_;
  ++version_;
}

/// The way down over `side` of `parent` has one black node too few.
void RbTreeMapGeneric::balanceAfterGone(RbLink* parent, unsigned side) {
  while (parent != nullptr) {
    if (borrowBlack(parent, side)) {
      return;
    }
    parent->child_[1 - side]->blackIs(false);
    if (!parent->isBlack()) {
      parent->blackIs(true);
      return;
    }
    RbLink* const at = parent;
    parent = at->parent();
    side = parent != nullptr ? sideOf(at) : 0;
  }
}

/// Brings a black node over from the sibling's side, if that can spare one; else the sibling is black, and so are its
/// children.
bool RbTreeMapGeneric::borrowBlack(RbLink* parent, unsigned side) {
  RbLink* sibling = parent->child_[1 - side];
  if (!sibling->isBlack()) {  // there is one: its side is not short of black nodes
    rotate(parent, side);
    sibling->blackIs(true);
    parent->blackIs(false);
    sibling = parent->child_[1 - side];
  }
  if (!isRed(sibling->child_[1 - side])) {
    RbLink* const near = sibling->child_[side];
    if (!isRed(near)) {
      return false;
    }
    rotate(sibling, 1 - side);
    sibling = near;
  }
  rotate(parent, side);
  sibling->blackIs(parent->isBlack());
  parent->blackIs(true);
  sibling->child_[1 - side]->blackIs(true);
  return true;
}

void RbTreeMapGeneric::_memberDelAllG(void (*release)(RbLink* node)) {
  RbLink* at = std::exchange(root_, nullptr);
  greatest_ = nullptr;
  if (std::exchange(count_, 0) != 0) {
    ++version_;
  }
  while (at != nullptr) {
    // Each turn hangs a left child above its parent, or takes off a record that has none.
    if (RbLink* const up = at->child_[0]; up != nullptr) {
      at->child_[0] = up->child_[1];
      up->child_[1] = at;
      at = up;
    } else {
      RbLink* const next = at->child_[1];
      clear(at);
      release(at);
      at = next;
    }
  }
}

bool RbTreeMapGeneric::isMemberG(RbLink const* node) const {
  if (!node->isLinked()) {
    return false;
  }
  while (RbLink const* const up = node->parent()) {
    node = up;
  }
  return node == root_;
}

unsigned RbTreeMapGeneric::structureErrors() const {
  unsigned errors = 0;
  std::uint32_t count = 0;
  RbLink const* previous = nullptr;
  unsigned blackHeight = 0;  // of the first way down that ended, which all others must equal
  auto const endOfWay = [&](RbLink const* node) {
    unsigned height = 0;
    for (; node != nullptr; node = node->parent()) {
      height += node->isBlack() ? 1U : 0U;
    }
    blackHeight = blackHeight == 0 ? height : blackHeight;
    errors += height != blackHeight ? 1U : 0U;
  };
  for (RbLink const* node = first(); node != nullptr; node = successor(node)) {
    for (RbLink const* const child : node->child_) {
      if (child == nullptr) {
        endOfWay(node);
      } else {
        errors += (child->parent() != node ? 1U : 0U) + (isRed(child) && isRed(node) ? 1U : 0U);
      }
    }
    previous = node;
    ++count;
  }
  errors += root_ != nullptr && (root_->parent() != nullptr || isRed(root_)) ? 1U : 0U;
  errors += previous != greatest_ ? 1U : 0U;
  return errors + (count != count_ ? 1U : 0U);
}

}  // namespace Kro
