// The tree of another process, over any number of connections one after another.
#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "tools/common/Link.h"
#include "tools/common/Trees.h"
#include "tools/vornacl/net/Address.h"

namespace Tools {

/// Follows a process, and connects again when the connection is lost, after a pause that grows. A tree that comes again
/// is bound to what is there, so that only the difference is told.
class Upstream {
 public:
  explicit Upstream(Address address) : address_(std::move(address)) {}

  /// Null before the first one came.
  Tree const& tree() const { return tree_; }
  /// Whether the tree is whole and the connection stands.
  bool isInSync() const;

  void addEvents(std::vector<pollfd>& events);
  /// How long to wait for events at most; without a number as long as it takes.
  std::optional<std::chrono::milliseconds> patience() const;
  /// Moves what can be moved, or tries to connect. Throws `Failure` of `Exit::badData` where the peer is something
  /// else, so that another try is useless.
  void handle();

 private:
  using Clock = std::chrono::steady_clock;
  void connect();
  void lost(std::string reason);

  Address address_;
  std::optional<Link> link_;
  Tree tree_;
  std::string told_;  ///< the reason that was told last
  std::chrono::milliseconds pause_{0};
  Clock::time_point next_ = Clock::now();
};

}  // namespace Tools
