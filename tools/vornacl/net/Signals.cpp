#include "tools/vornacl/net/Signals.h"

#include <cerrno>
#include <system_error>

namespace Tools {

namespace {

volatile sig_atomic_t ends = 0;
volatile sig_atomic_t reloads = 0;

void take(int signal) { (signal == SIGHUP ? reloads : ends) = 1; }

}  // namespace

Signals::Signals() {
  ends = 0;
  reloads = 0;
  sigset_t all;
  sigemptyset(&all);
  for (int const signal : {SIGTERM, SIGINT, SIGHUP}) {
    sigaddset(&all, signal);
    struct sigaction action {};
    action.sa_handler = take;
    sigaction(signal, &action, nullptr);
  }
  sigprocmask(SIG_BLOCK, &all, &before_);
}

Signals::~Signals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

void Signals::wait(std::vector<pollfd>& events, std::optional<std::chrono::milliseconds> time) const {
  timespec const limit{time ? static_cast<time_t>(time->count() / 1000) : 0,
                       time ? static_cast<long>(time->count() % 1000) * 1000000 : 0};
  if (ppoll(events.data(), events.size(), time ? &limit : nullptr, &before_) >= 0) {
    return;
  }
  if (errno != EINTR) {
    throw std::system_error(errno, std::generic_category(), "cannot wait for sockets");
  }
  for (pollfd& event : events) {
    event.revents = 0;
  }
}

bool Signals::isEnd() const { return ends != 0; }
bool Signals::takeReload() {
  bool const isWanted = reloads != 0;
  reloads = 0;
  return isWanted;
}

}  // namespace Tools
