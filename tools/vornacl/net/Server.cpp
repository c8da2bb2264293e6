#include "tools/vornacl/net/Server.h"

#include "tools/vornacl/Output.h"

namespace Tools {

void Server::treeIs(Tree const& tree) {
  if (tree != tree_) {
    peers_.clear();
    tree_ = tree;
  }
}

void Server::addEvents(std::vector<pollfd>& events) {
  events.push_back({isOpen_ ? listener_.number() : -1, POLLIN, 0});
  for (Link& peer : peers_) {
    events.push_back(peer.event());
  }
}

void Server::handle() {
  if (isOpen_) {
    accept();
  }
  for (Link& peer : peers_) {
    peer.stream.readable();
  }
  // What one peer has changed waits for the others by now.
  for (Link& peer : peers_) {
    peer.stream.writable();
  }
  for (Link const& peer : peers_) {
    if (peer.stream.state() == SocketLink::State::failed) {
      message("a peer is lost: " + peer.stream.reason());
    }
  }
  peers_.remove_if([](Link const& peer) { return !peer.stream.isOpen(); });
}

void Server::accept() {
  for (FileDescriptor socket = listener_.accept(); socket.number() >= 0; socket = listener_.accept()) {
    Link& peer = peers_.emplace_back(Connection::Role::acceptor, std::move(socket));
    peer.connection().rootIs(tree_, access_);
  }
}

}  // namespace Tools
