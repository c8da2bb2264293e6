// The tree of another process.
#pragma once

#include <functional>
#include <memory>

#include "tools/common/Link.h"
#include "tools/common/Trees.h"
#include "tools/vornacl/net/Address.h"

namespace Tools {

/// A connection to a process and the tree that it serves, which follows the process as long as bytes are moved. Changes
/// of the tree here go to the process. Whatever fails throws `Failure`: `Exit::noConnection` where the peer cannot be
/// reached or goes away, `Exit::badData` for what is no such tree, `Exit::timeout`.
class LiveTree {
 public:
  using Clock = std::chrono::steady_clock;

  /// Connects, and returns when the tree is whole. `patience` is for all that.
  LiveTree(Address const& address, std::chrono::milliseconds patience);
  LiveTree(LiveTree const&) = delete;
  LiveTree& operator=(LiveTree const&) = delete;

  Tree const& tree() const { return tree_; }
  /// Moves bytes until the condition holds; false where it does not within the time.
  bool moveUntil(std::function<bool()> const& condition, Clock::time_point end);
  /// Sends all changes and ends the connection; returns when the process has ended its side, too. False where it
  /// surely has not taken everything; one that takes no changes may end it sooner or later.
  bool finish();

 private:
  void requireOpen() const;

  Address address_;
  std::chrono::milliseconds patience_;
  std::unique_ptr<Link> link_;
  Tree tree_;
  bool isForeign_ = false;
};

/// The tree that arrives as a root; null where it is something else.
inline Tree treeOf(Kro::Ptr<Kro::Entity> const& root) { return Kro::ptrCast<Vorn::RootConfigColl>(root); }

}  // namespace Tools
