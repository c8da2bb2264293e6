#include "tools/vornacl/net/Upstream.h"

#include <algorithm>

#include "tools/vornacl/Exit.h"
#include "tools/vornacl/Output.h"
#include "tools/vornacl/net/LiveTree.h"

namespace Tools {

namespace {

constexpr std::chrono::milliseconds shortestPause{100};
constexpr std::chrono::milliseconds longestPause{5000};
constexpr std::chrono::milliseconds patienceToConnect{1000};

}  // namespace

bool Upstream::isInSync() const { return link_ && tree_ && link_->connection().state() == Connection::State::inSync; }

void Upstream::addEvents(std::vector<pollfd>& events) {
  if (link_) {
    events.push_back(link_->event());
  }
}

std::optional<std::chrono::milliseconds> Upstream::patience() const {
  if (link_) {
    return std::nullopt;
  }
  return timeUntil(next_);
}

void Upstream::handle() {
  if (!link_ && Clock::now() >= next_) {
    connect();
  }
  if (!link_) {
    return;
  }
  link_->stream.move();
  if (link_->stream.state() == SocketLink::State::failed) {
    throw Failure(Exit::badData, address_.text + ": " + link_->stream.reason());
  }
  if (!link_->stream.isOpen()) {
    lost(link_->stream.reason());
  } else if (isInSync()) {
    pause_ = {};
    told_.clear();
  }
}

void Upstream::connect() {
  try {
    link_.emplace(Connection::Role::opener, connectTo(address_, patienceToConnect));
  } catch (Failure const& failure) {
    return lost(failure.what());
  }
  if (tree_) {
    link_->connection().rootOffer(tree_);
  }
  link_->connection().onRootIs([this](Kro::Ptr<Kro::Entity> const& root) {
    tree_ = treeOf(root);
    if (!tree_) {
      throw Failure(Exit::badData, address_.text + ": it does not tell of one tree of rules");
    }
  });
}

void Upstream::lost(std::string reason) {
  link_.reset();
  pause_ = std::clamp(2 * pause_, shortestPause, longestPause);
  next_ = Clock::now() + pause_;
  if (told_ != reason) {
    message(address_.text + " is lost, and tried again: " + reason);
    told_ = std::move(reason);
  }
}

}  // namespace Tools
