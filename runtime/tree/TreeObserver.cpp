#include "runtime/tree/TreeObserver.h"

#include "runtime/core/Exception.h"
#include "runtime/tree/TreeFollower.h"

namespace Kro {

void TreeFollower::start(Ptr<Entity> const& root) {
  isQuiet_ = !options_.tellsPresent;
  root_ = TreeNodeHandle(root->kroNewTreeNode(*this));
  refresh();
  isQuiet_ = false;
}

void TreeFollower::refresh() {
  TreeNodeHandle const held = root_;
  if (held) {
    run([&] { held->refresh(); });
  }
}

void TreeFollower::end() {
  isOver_ = true;
  if (TreeNodeHandle const held = std::exchange(root_, {})) {
    held->end();
  }
}

void TreeFollower::tell(TreeChange const& change) {
  if (isQuiet_ || isOver_) {
    return;
  }
  try {
    callable_(change);
  } catch (...) {
    keepException();
  }
}

void TreeFollower::keepException() {
  if (options_.onException) {
    options_.onException(std::current_exception());
  } else if (!exception_) {
    exception_ = std::current_exception();
  }
}

TreeObserver::TreeObserver(Ptr<Entity> const& root, Callable callable, TreeOptions options)
    : follower_(adopt(new TreeFollower(std::move(callable), std::move(options)))) {
  if (!root) {
    throwRangeException("null ValidPtr");
  }
  try {
    follower_->start(root);
  } catch (...) {
    follower_->end();
    throw;
  }
}

TreeObserver::~TreeObserver() {
  if (follower_) {
    follower_->end();
  }
}
TreeObserver::TreeObserver(TreeObserver&& other) noexcept = default;
TreeObserver& TreeObserver::operator=(TreeObserver&& other) noexcept {
  if (Ptr<TreeFollower> const old = std::exchange(follower_, std::exchange(other.follower_, nullptr)); old) {
    old->end();
  }
  return *this;
}

void TreeObserver::refresh() {
  if (Ptr<TreeFollower> const held = follower_) {
    held->refresh();
  }
}

}  // namespace Kro
