// Joins a connection of the attribute log to a stream socket, in whatever event loop its owner runs. The library itself
// does no I/O and does not need this; it is for programs that do it with sockets.
#pragma once

#include <array>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include <sys/socket.h>

#include "runtime/log/Connection.h"

namespace Kro::Transport {

/// One stream socket and one connection. Nothing here waits: the owner waits for what `wantsToRead` and `wantsToWrite`
/// say, and calls `readable` and `writable`. Ask `wantsToWrite` again whenever entities changed.
///
///     while (link.isOpen()) {
///       pollfd event{socket, static_cast<short>(link.wantsToWrite() ? POLLIN | POLLOUT : POLLIN), 0};
///       poll(&event, 1, -1);
///       link.move();
///     }
class SocketLink {
 public:
  using Connection = NboAttrLog::Connection;
  enum class State {
    open,
    ended,   ///< the peer has closed its end
    reset,   ///< the peer is gone, and may not have taken all
    failed,  ///< the socket failed, or the connection was lost
  };

  /// The socket stays its owner's, who closes it when the link is not open any more. It may block or not.
  SocketLink(Ptr<Connection> connection, int socket) : connection_(std::move(connection)), socket_(socket) {}

  Connection& connection() const { return *connection_; }
  int socket() const { return socket_; }
  State state() const { return state_; }
  bool isOpen() const { return state_ == State::open; }
  /// Why the link is not open any more; empty before.
  std::string const& reason() const { return reason_; }

  /// Called with all bytes that come, before they are applied; what it throws leaves `readable`, and they are not.
  void onReceivedIs(std::function<void(std::span<std::uint8_t const>)> callback) { onReceived_ = std::move(callback); }

  bool wantsToRead() const { return isOpen(); }
  /// Something waits to be sent. Ends the link where the connection was lost.
  bool wantsToWrite() {
    requireConnection();
    return isOpen() && !isFinished_ && !connection_->pending().empty();
  }

  /// Takes what has come, up to a megabyte, so that one busy peer does not keep the owner from others; returns whether
  /// there may be more. What an observer throws goes through; the next call goes on behind it.
  bool readable() {
    if (isOpen()) {
      connection_->receive({});  // what an observer that threw has left
      requireConnection();
    }
    std::array<std::uint8_t, 1 << 16> buffer;
    for (int turn = 0; isOpen(); ++turn) {
      if (turn == 16) {
        return true;
      }
      ssize_t const length = recv(socket_, buffer.data(), buffer.size(), MSG_DONTWAIT);
      if (length > 0) {
        auto const bytes = std::span(buffer).first(static_cast<std::size_t>(length));
        if (onReceived_) {
          onReceived_(bytes);
        }
        connection_->receive(bytes);
        requireConnection();
      } else if (length == 0) {
        end(State::ended, "the peer has ended the stream");
      } else if (isForLater()) {
        return false;
      } else {
        fail("cannot receive");
      }
    }
    return false;
  }

  /// Sends what waits, as far as the socket takes it.
  void writable() {
    while (wantsToWrite()) {
      auto const bytes = connection_->pending();
      ssize_t const length = send(socket_, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
      if (length >= 0) {
        connection_->sent(static_cast<std::size_t>(length));
      } else if (isForLater()) {
        return;
      } else if (isGone()) {
        isFinished_ = true;  // what the peer said before is still to be read, and its end behind that
      } else {
        fail("cannot send");
      }
    }
  }

  /// Both, and sends what was answered.
  void move() {
    writable();
    readable();
    writable();
  }

  /// Tells the peer that nothing follows; what still waits is not sent. The peer may go on.
  void finish() {
    if (isOpen() && !std::exchange(isFinished_, true) && shutdown(socket_, SHUT_WR) != 0) {
      fail("cannot end the stream");
    }
  }

 private:
  /// Of a call that failed.
  static bool isForLater() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }
  static bool isGone() { return errno == EPIPE || errno == ECONNRESET || errno == ENOTCONN; }
  void fail(std::string_view what) {
    int const error = errno;
    end(isGone() ? State::reset : State::failed,
        std::string(what).append(": ").append(std::generic_category().message(error)));
  }
  void requireConnection() {
    if (isOpen() && connection_->state() == Connection::State::lost) {
      end(State::failed, std::string(connection_->lastError().view()));
    }
  }
  void end(State state, std::string reason) {
    state_ = state;
    reason_ = std::move(reason);
  }

  Ptr<Connection> connection_;
  int socket_;
  State state_ = State::open;
  bool isFinished_ = false;
  std::string reason_;
  std::function<void(std::span<std::uint8_t const>)> onReceived_;
};

}  // namespace Kro::Transport
