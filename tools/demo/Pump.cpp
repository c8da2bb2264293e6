#include "tools/demo/Pump.h"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <sys/socket.h>

namespace Demo {

namespace {

bool isLater(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }
bool isGone(int error) { return error == EPIPE || error == ECONNRESET; }

[[noreturn]] void fail(char const* what) { throw std::system_error(errno, std::generic_category(), what); }

}  // namespace

void Pump::move() {
  send();
  receive();
  send();
}

void Pump::receive() {
  std::array<std::uint8_t, 1 << 16> buffer;
  while (open_) {
    ssize_t const length = recv(socket_.number(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (length > 0) {
      connection_->receive(std::span(buffer).first(static_cast<std::size_t>(length)));
      requireConnection();
    } else if (length < 0 && isLater(errno)) {
      return;
    } else if (length == 0 || isGone(errno)) {
      open_ = false;
    } else {
      fail("cannot receive from the other process");
    }
  }
}

void Pump::send() {
  while (open_ && !isDrained()) {
    auto const bytes = connection_->pending();
    ssize_t const length = ::send(socket_.number(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (length >= 0) {
      connection_->sent(static_cast<std::size_t>(length));
    } else if (isLater(errno)) {
      return;
    } else if (isGone(errno)) {
      open_ = false;
    } else {
      fail("cannot send to the other process");
    }
  }
  requireConnection();
}

void Pump::finish() {
  if (open_ && shutdown(socket_.number(), SHUT_WR) != 0 && errno != ENOTCONN) {
    fail("cannot end the stream");
  }
}

bool Pump::wait(std::span<Pump* const> pumps, std::chrono::milliseconds time) {
  std::vector<pollfd> events;
  for (Pump* const pump : pumps) {
    short const wanted = pump->isDrained() ? POLLIN : POLLIN | POLLOUT;
    events.push_back({pump->open_ ? pump->socket_.number() : -1, wanted, 0});
  }
  int const ready = poll(events.data(), events.size(), static_cast<int>(time.count()));
  if (ready < 0 && errno != EINTR) {
    fail("cannot wait for the other process");
  }
  for (std::size_t i = 0; i < pumps.size(); ++i) {
    if (events[i].revents != 0) {
      pumps[i]->move();
    }
  }
  return ready != 0;
}

void Pump::requireConnection() const {
  if (connection_->state() == Kro::NboAttrLog::Connection::State::lost) {
    throw std::runtime_error("the connection is lost: " + std::string(connection_->lastError().view()));
  }
}

}  // namespace Demo
