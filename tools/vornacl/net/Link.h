// A connection of the attribute log, with the socket that it owns.
#pragma once

#include <poll.h>

#include "tools/common/FileDescriptor.h"
#include "transport/SocketLink.h"

namespace Tools {

using Kro::NboAttrLog::Connection;
using Kro::Transport::SocketLink;

struct Link {
  Link(Connection::Role role, FileDescriptor of)
      : socket(std::move(of)), stream(Connection::create(role), socket.number()) {}
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

}  // namespace Tools
