// Serves a tree to any number of peers.
#pragma once

#include <list>
#include <vector>

#include "tools/common/Link.h"
#include "tools/common/Trees.h"
#include "tools/vornacl/net/Address.h"

namespace Tools {

/// Takes connections and streams a tree to each; what peers change is taken, too, and goes to all others. Waits for
/// nothing: `addEvents` says what to wait for, `handle` does what is to be done.
class Server {
 public:
  Server(Address const& address, Connection::Access access) : listener_(address), access_(access) {}

  Listener const& listener() const { return listener_; }
  /// The tree that is served from now on; peers that have another one lose their connection.
  void treeIs(Tree const& tree);
  /// Whether connections are taken; without, those that come wait.
  void isOpenIs(bool isOpen) { isOpen_ = isOpen; }

  void addEvents(std::vector<pollfd>& events);
  /// Moves what can be moved. Peers that are gone go; why is told on standard error unless they just left.
  void handle();

 private:
  void accept();

  Listener listener_;
  Connection::Access access_;
  Tree tree_;
  bool isOpen_ = true;
  std::list<Link> peers_;
};

}  // namespace Tools
