// Two processes, a Unix socket between them, and the library's connection on it.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <span>
#include <string>
#include <system_error>
#include <vector>

#include <sys/socket.h>
#include <sys/wait.h>

#include "bench/Rules.h"
#include "runtime/log/Connection.h"

namespace Bench {

inline std::size_t checked(ssize_t result, char const* what) {
  if (result < 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
  return static_cast<std::size_t>(result);
}

inline void sendAll(int socket, std::span<std::uint8_t const> bytes) {
  while (!bytes.empty()) {
    bytes = bytes.subspan(checked(::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL), "send"));
  }
}

/// Tells the other end that this one is ready, or waits to be told.
inline void signal(int socket) { sendAll(socket, std::array<std::uint8_t, 1>{1}); }
inline void await(int socket) {
  std::uint8_t byte = 0;
  checked(recv(socket, &byte, 1, 0), "receive");
}
/// Tells the other end that this one has taken everything, or waits to be told.
inline void finish(int socket) { checked(shutdown(socket, SHUT_WR), "shut down"); }
inline void awaitFinish(int socket) {
  std::array<std::uint8_t, 4096> rest;
  while (checked(recv(socket, rest.data(), rest.size(), 0), "receive") != 0) {
  }
}

/// A connection on a socket that blocks.
class Link {
 public:
  Link(Kro::NboAttrLog::Connection::Role role, int socket)
      : connection_(Kro::NboAttrLog::Connection::create(role)), socket_(socket) {}

  Kro::NboAttrLog::Connection& connection() { return *connection_; }
  /// Sends all that waits.
  void send() {
    for (auto bytes = connection_->pending(); !bytes.empty(); bytes = connection_->pending()) {
      connection_->sent(checked(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL), "send"));
    }
  }
  /// Waits for bytes and applies them.
  void receive() {
    std::size_t const size = checked(recv(socket_, buffer_.data(), buffer_.size(), 0), "receive");
    connection_->receive(std::span(buffer_).first(size));
    if (size == 0 || connection_->state() == Kro::NboAttrLog::Connection::State::lost) {
      throw std::runtime_error("connection lost: " + std::string(connection_->lastError().view()));
    }
  }

 private:
  Kro::Ptr<Kro::NboAttrLog::Connection> connection_;
  int socket_;
  std::array<std::uint8_t, 1 << 16> buffer_;
};

/// Runs `parent(socket)` here and `child(socket)` in a further process, which ends when that returns.
template <class Parent, class Child>
void runBoth(Parent const& parent, Child const& child) {
  int ends[2];
  checked(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), "make a pair of sockets");
  auto const id = static_cast<pid_t>(checked(fork(), "start a process"));
  if (id == 0) {
    close(ends[0]);
    try {
      child(ends[1]);
    } catch (std::exception const& error) {
      std::fprintf(stderr, "%s\n", error.what());
      _exit(1);
    }
    _exit(0);
  }
  close(ends[1]);
  parent(ends[0]);
  close(ends[0]);
  int status = 0;
  if (waitpid(id, &status, 0) != id || status != 0) {
    throw std::runtime_error("the other process failed");
  }
}

/// Seconds since it was made.
class Watch {
 public:
  double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count(); }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

inline void printHead() {
  std::printf("%-34s %-22s %10s %10s %7s\n", "work", "against", "library", "baseline", "ratio");
}
inline void printRow(char const* work, char const* against, double own, double other) {
  std::printf("%-34s %-22s %10.2f %10.2f %7.2f\n", work, against, own, other, own / other);
}

inline double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
  return values[values.size() / 2];
}

}  // namespace Bench
