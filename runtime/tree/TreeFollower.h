// What the observers of one followed tree have in common.
#pragma once

#include <utility>

#include "runtime/tree/TreeObserver.h"

namespace Kro {

/// Follows one entity. Made by `Entity::kroNewTreeNode`.
class TreeNode {
 public:
  virtual ~TreeNode() = default;
  /// The object that is counted.
  virtual PtrInterface& counted() = 0;
  virtual Entity& entity() = 0;
  /// Tells what differs from what was told, here and below.
  virtual void refresh() = 0;
  /// Follows no longer, and tells the contents as removed. Where the callable comes back to this, the inner call tells
  /// the rest.
  virtual void end() = 0;
  /// Whether it does that, or did.
  virtual bool isOver() const = 0;
  /// Whether nobody has told yet that the entity went; whoever asks first does.
  bool takeGoing() { return !std::exchange(isGone_, true); }

 private:
  bool isGone_ = false;
};

/// Holds a node.
class TreeNodeHandle {
 public:
  TreeNodeHandle() = default;
  explicit TreeNodeHandle(TreeNode* created)
      : counted_(created != nullptr ? adopt(&created->counted()) : nullptr), node_(created) {}

  explicit operator bool() const { return static_cast<bool>(counted_); }
  TreeNode* operator->() const { return node_; }
  Entity* entity() const { return counted_ ? &node_->entity() : nullptr; }

 private:
  Ptr<PtrInterface> counted_;
  TreeNode* node_ = nullptr;
};

/// Tells the callable of one `TreeObserver`.
class TreeFollower final : public PtrInterface {
 public:
  TreeFollower(TreeObserver::Callable callable, TreeOptions options)
      : callable_(std::move(callable)), options_(std::move(options)) {}

  TreeOptions const& options() const { return options_; }
  bool isOver() const { return isOver_; }
  bool follows(Entity const& entity) const { return !options_.follows || options_.follows(entity); }
  bool selects(Entity const& entity, AttributeId id) const { return !options_.selects || options_.selects(entity, id); }

  /// Follows the root, and whether what is there already is told.
  void start(Ptr<Entity> const& root);
  void refresh();
  /// Tells nothing more and lets go of the tree.
  void end();

  void tell(TreeChange const& change);
  /// Runs one step; what was thrown in it leaves the outermost one, or goes to the owner's function.
  template <class Step>
  void run(Step const& step) {
    Ptr<TreeFollower> const held = share(this);
    ++depth_;
    try {
      step();
    } catch (...) {
      keepException();
    }
    if (--depth_ == 0 && exception_) {
      std::rethrow_exception(std::exchange(exception_, nullptr));
    }
  }

 private:
  void keepException();

  TreeObserver::Callable callable_;
  TreeOptions options_;
  TreeNodeHandle root_;
  std::exception_ptr exception_;
  unsigned depth_ = 0;
  bool isQuiet_ = false;
  bool isOver_ = false;
};

}  // namespace Kro
