// Moves the bytes of connections through sockets.
#pragma once

#include <poll.h>

#include <chrono>
#include <span>

#include "runtime/log/Connection.h"
#include "tools/demo/Process.h"

namespace Demo {

/// Joins a connection to a socket. Nothing here blocks but `wait`.
class Pump {
 public:
  Pump(Kro::Ptr<Kro::NboAttrLog::Connection> connection, FileDescriptor socket)
      : connection_(std::move(connection)), socket_(std::move(socket)) {}

  Kro::NboAttrLog::Connection& connection() const { return *connection_; }
  /// The peer has not closed its end.
  bool isOpen() const { return open_; }
  /// Nothing is left that the connection wants to send.
  bool isDrained() const { return connection_->pending().empty(); }

  /// Takes what has come and sends what waits, as far as the socket goes along. A peer that has gone is no error here.
  /// Throws `std::runtime_error` where the connection is lost and `std::system_error`.
  void move();
  /// Tells the peer that nothing follows.
  void finish();

  /// Waits until something can be moved through one of the sockets and moves it; false where nothing could within the
  /// time.
  static bool wait(std::span<Pump* const> pumps, std::chrono::milliseconds time);

 private:
  void receive();
  void send();
  void requireConnection() const;

  Kro::Ptr<Kro::NboAttrLog::Connection> connection_;
  FileDescriptor socket_;
  bool open_ = true;
};

}  // namespace Demo
