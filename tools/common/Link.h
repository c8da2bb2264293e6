// A connection of the attribute log, with the socket that it owns.
#pragma once

#include <poll.h>

#include <algorithm>
#include <chrono>

#include "tools/common/FileDescriptor.h"
#include "transport/SocketLink.h"

namespace Tools {

using Kro::NboAttrLog::Connection;
using Kro::Transport::SocketLink;

struct Link {
  Link(Kro::Ptr<Connection> connection, FileDescriptor of)
      : socket(std::move(of)), stream(std::move(connection), socket.number()) {}
  Link(Connection::Role role, FileDescriptor of) : Link(Connection::create(role), std::move(of)) {}
  Link(Link const&) = delete;
  Link& operator=(Link const&) = delete;

  Connection& connection() const { return stream.connection(); }
  /// What to wait for.
  pollfd event() {
    short const wanted = stream.wantsToWrite() ? POLLIN | POLLOUT : POLLIN;
    return {stream.isOpen() ? socket.number() : -1, wanted, 0};
  }

  FileDescriptor socket;
  SocketLink stream;
};

/// How long to wait for events at most until then; 0 from then on.
inline std::chrono::milliseconds timeUntil(std::chrono::steady_clock::time_point then) {
  auto const left = std::chrono::ceil<std::chrono::milliseconds>(then - std::chrono::steady_clock::now());
  return std::max(std::chrono::milliseconds(0), left);
}

}  // namespace Tools
