// Moves the bytes of connections through sockets, and waits for them.
#pragma once

#include <chrono>
#include <span>

#include "tools/common/Link.h"
#include "tools/demo/Process.h"

namespace Demo {

/// Joins a connection to a socket that it owns. Nothing here blocks but `wait`.
class Pump {
 public:
  Pump(Kro::Ptr<Kro::NboAttrLog::Connection> connection, FileDescriptor socket)
      : link_(std::move(connection), std::move(socket)) {}

  Kro::NboAttrLog::Connection& connection() const { return link_.connection(); }
  /// The peer has not closed its end.
  bool isOpen() const { return link_.stream.isOpen(); }
  /// Nothing is left that the connection wants to send.
  bool isDrained() const { return connection().pending().empty(); }

  /// Takes what has come and sends what waits, as far as the socket goes along. A peer that has gone is no error here.
  /// Throws `std::runtime_error` where the connection is lost or the socket fails.
  void move();
  /// Tells the peer that nothing follows.
  void finish() { link_.stream.finish(); }

  /// Waits until something can be moved through one of the sockets and moves it; false where nothing could within the
  /// time. Throws `std::system_error`, and as `move`.
  static bool wait(std::span<Pump* const> pumps, std::chrono::milliseconds time);

 private:
  Tools::Link link_;
};

}  // namespace Demo
