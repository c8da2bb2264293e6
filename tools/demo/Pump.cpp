#include "tools/demo/Pump.h"

#include <poll.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace Demo {

void Pump::move() {
  link_.stream.move();
  if (link_.stream.state() == Tools::SocketLink::State::failed) {
    throw std::runtime_error("the connection is lost: " + link_.stream.reason());
  }
}

bool Pump::wait(std::span<Pump* const> pumps, std::chrono::milliseconds time) {
  std::vector<pollfd> events;
  for (Pump* const pump : pumps) {
    events.push_back(pump->link_.event());
  }
  int const ready = poll(events.data(), events.size(), static_cast<int>(time.count()));
  if (ready < 0 && errno != EINTR) {
    throw std::system_error(errno, std::generic_category(), "cannot wait for the other process");
  }
  for (std::size_t i = 0; i < pumps.size(); ++i) {
    if (events[i].revents != 0) {
      pumps[i]->move();
    }
  }
  return ready != 0;
}

}  // namespace Demo
