// Waiting for sockets, and for signals that ask a program to end or to read its files again.
#pragma once

#include <poll.h>
#include <signal.h>

#include <chrono>
#include <optional>
#include <vector>

namespace Tools {

/// While one lives, SIGTERM, SIGINT and SIGHUP interrupt `wait` and nothing else. There is one at a time.
class Signals {
 public:
  Signals();
  Signals(Signals const&) = delete;
  Signals& operator=(Signals const&) = delete;
  ~Signals();

  /// Waits for one of the events, for a signal, or for the time to pass. Throws `std::system_error`.
  void wait(std::vector<pollfd>& events, std::optional<std::chrono::milliseconds> time) const;
  /// Whether SIGTERM or SIGINT has come.
  bool isEnd() const;
  /// Whether SIGHUP has come since this was asked last.
  bool takeReload();

 private:
  sigset_t before_{};
};

}  // namespace Tools
