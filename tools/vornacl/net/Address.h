// Where a process is reached.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "tools/common/FileDescriptor.h"

namespace Tools {

/// "unix:PATH" or "tcp:HOST:PORT"; an IPv6 address stands in brackets.
struct Address {
  std::string text;
  std::string path;  ///< of a Unix socket; empty for TCP
  std::string host, port;

  /// Whether a word is meant as an address, and not as a file.
  static bool isMeant(std::string_view text) { return text.starts_with("unix:") || text.starts_with("tcp:"); }
  /// Throws `Failure` of `Exit::usage`.
  static Address of(std::string const& text);
};

/// A connected socket. Throws `Failure`, of `Exit::noConnection` or, where nobody answers in time, `Exit::timeout`.
FileDescriptor connectTo(Address const& address, std::chrono::milliseconds patience);

/// A socket that takes connections, and the file of a Unix socket, which goes with it.
class Listener {
 public:
  /// A Unix socket that a process left behind is replaced. Throws `Failure` of `Exit::noConnection`.
  explicit Listener(Address const& address);
  Listener(Listener const&) = delete;
  Listener& operator=(Listener const&) = delete;
  ~Listener();

  int number() const { return socket_.number(); }
  /// The address with the port that the system chose for port 0.
  std::string text() const;
  /// The next connection; without a socket where none waits any more. Throws `std::system_error`.
  FileDescriptor accept() const;

 private:
  Address address_;
  FileDescriptor socket_;
};

}  // namespace Tools
