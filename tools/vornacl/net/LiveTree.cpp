#include "tools/vornacl/net/LiveTree.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "tools/vornacl/Exit.h"

namespace Tools {

LiveTree::LiveTree(Address const& address, std::chrono::milliseconds patience)
    : address_(address), patience_(patience) {
  auto const end = Clock::now() + patience;
  link_ = std::make_unique<Link>(Connection::Role::opener, connectTo(address, patience));
  link_->connection().onRootIs([this](Kro::Ptr<Kro::Entity> const& root) {
    Tree const tree = treeOf(root);
    isForeign_ |= !tree || tree_;
    tree_ = tree;
  });
  if (!moveUntil([this] { return link_->connection().state() == Connection::State::inSync; }, end)) {
    throw Failure(Exit::timeout, address.text + ": its tree does not come whole in time");
  }
  if (!tree_ || isForeign_) {
    throw Failure(Exit::badData, address.text + ": it does not tell of one tree of rules");
  }
}

bool LiveTree::moveUntil(std::function<bool()> const& condition, Clock::time_point end) {
  while (!condition()) {
    requireOpen();
    auto const left = timeUntil(end);
    if (left == left.zero()) {
      return false;
    }
    pollfd event = link_->event();
    if (poll(&event, 1, static_cast<int>(left.count())) < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "cannot wait for " + address_.text);
    }
    link_->stream.move();
  }
  return true;
}

bool LiveTree::finish() {
  auto const end = Clock::now() + patience_;
  auto const isOver = [this] { return !link_->stream.isOpen(); };
  bool isSent = false;
  auto const isSentOrOver = [&] { return (isSent = link_->connection().pending().empty()) || isOver(); };
  bool isInTime = moveUntil(isSentOrOver, end);
  if (isInTime && !isOver()) {
    link_->stream.finish();
    // The process closes its end when it has read, and so applied, what was sent.
    isInTime = moveUntil(isOver, end);
  }
  if (!isInTime) {
    throw Failure(Exit::timeout, address_.text + ": it does not take the change in time");
  }
  return isSent && link_->stream.state() == SocketLink::State::ended;
}

void LiveTree::requireOpen() const {
  if (!link_->stream.isOpen()) {
    bool const isBad = link_->stream.state() == SocketLink::State::failed;
    throw Failure(isBad ? Exit::badData : Exit::noConnection, address_.text + ": " + link_->stream.reason());
  }
}

}  // namespace Tools
