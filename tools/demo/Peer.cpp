#include "tools/demo/Peer.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace Demo {

namespace {

using Kro::NboAttrLog::Connection;

constexpr std::chrono::seconds patience{60};

}  // namespace

Peer::Peer(Tree const& tree, MirrorTask task, std::string const& program)
    : Peer(tree, task, program, socketPair(), newPipe()) {}

Peer::Peer(Tree const& tree, MirrorTask task, std::string const& program, DescriptorPair sockets, DescriptorPair pipe)
    : output_(std::move(pipe.first)),
      process_(program, MirrorOptions{task, sockets.second.number(), file_.number()}.arguments(),
               {sockets.second.number(), file_.number()}, task == MirrorTask::printRules ? -1 : pipe.second.number()),
      pump_(Connection::create(Connection::Role::opener), std::move(sockets.first)) {
  connection().rootIs(tree);
}

void Peer::kill() {
  process_.kill();
  Pump* const pumps[] = {&pump_};
  while (pump_.isOpen() && Pump::wait(pumps, patience)) {
  }
  connection().close("the other process was killed");
}

std::string Peer::result() {
  std::string text;
  char buffer[256];
  for (ssize_t length = 1; length > 0;) {
    pollfd event = {output_.number(), POLLIN, 0};
    if (poll(&event, 1, static_cast<int>(std::chrono::milliseconds(patience).count())) == 0) {
      throw std::runtime_error("a mirror does not end");
    }
    length = read(output_.number(), buffer, sizeof buffer);
    text.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  }
  if (!process_.succeeded()) {
    throw std::runtime_error("a mirror failed");
  }
  return text;
}

void Peer::drain(std::initializer_list<Peer*> peers) {
  std::vector<Pump*> pumps;
  for (Peer* const peer : peers) {
    pumps.push_back(&peer->pump_);
    peer->pump_.move();
  }
  while (!std::all_of(pumps.begin(), pumps.end(), [](Pump const* pump) { return pump->isDrained(); })) {
    if (!std::all_of(pumps.begin(), pumps.end(), [](Pump const* pump) { return pump->isOpen(); })) {
      throw std::runtime_error("a mirror has gone");
    }
    if (!Pump::wait(pumps, patience)) {
      throw std::runtime_error("a mirror does not answer");
    }
  }
}

}  // namespace Demo
