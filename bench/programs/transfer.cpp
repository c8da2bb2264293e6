// Rules from process to process over a Unix socket: many in order, and one there and back. The baseline sends records
// of the same bytes, written and read by hand, into a std::map with a hint.
#include <map>
#include <memory>

#include "bench/Link.h"

namespace {

using namespace Bench;
using Kro::NboAttrLog::Connection;

constexpr std::uint32_t manyRules = 100'000;
constexpr std::uint32_t loadedRules = 10'000;
constexpr std::uint32_t trips = 5'000;
constexpr int rounds = 11;

// --- the library ---

class Follower : public Vorn::VornAcl::NotifieeConst {
 public:
  explicit Follower(Kro::Ptr<Vorn::VornAcl> const& acl) {
    notifierIs(acl);
    isRegisteredNotifieeIs(true);
  }
  void onIpRuleById(Vorn::AceIndex const&) override { ++changes; }
  std::uint32_t changes = 0;
};

Kro::Ptr<Vorn::VornAcl> aclOf(std::uint32_t count) {
  auto acl = Kro::adopt(new Vorn::VornAcl({}, Acl::ip, Kro::Name("bench")));
  for (std::uint32_t n = 0; n < count; ++n) {
    acl->ipRuleByIdIs(keyOf(n), ruleOf(n));
  }
  return acl;
}

/// One end of a connection with one ACL and its follower; the receiving end gets the ACL from the other.
class Peer {
 public:
  Peer(Connection::Role role, int socket) : link_(role, socket) {
    link_.connection().onRootIs([this](Kro::Ptr<Kro::Entity> const& root) { take(Kro::ptrCast<Vorn::VornAcl>(root)); });
  }
  void rootIs(Kro::Ptr<Vorn::VornAcl> const& acl) {
    take(acl);
    link_.connection().rootIs(acl);
    link_.send();
  }
  void change(std::uint32_t n, std::uint32_t round) {
    acl_->ipRuleByIdIs(keyOf(n), ruleOf(n, round));
    ++awaited_;  // its own follower is told as well
    link_.send();
  }
  /// Receives until the follower was told of `count` more changes.
  void receive(std::uint32_t count) {
    for (awaited_ += count; !follower_ || follower_->changes < awaited_;) {
      link_.receive();
      link_.send();
    }
  }

 private:
  void take(Kro::Ptr<Vorn::VornAcl> const& acl) {
    acl_ = acl;
    follower_ = Kro::adopt(new Follower(acl));
  }

  Kro::Ptr<Vorn::VornAcl> acl_;
  Kro::Ptr<Follower> follower_;
  std::uint32_t awaited_ = 0;
  Link link_;
};

void transferByLibrary(int socket, Kro::Ptr<Vorn::VornAcl> const& acl) {
  auto const peer = std::make_unique<Peer>(Connection::Role::opener, socket);
  peer->rootIs(acl);
  awaitFinish(socket);
}
void takeByLibrary(int socket) {
  auto const peer = std::make_unique<Peer>(Connection::Role::acceptor, socket);
  signal(socket);
  peer->receive(manyRules);
  finish(socket);
}

/// The positions that the two ends change, and what they change them to: always something else.
std::uint32_t positionOf(std::uint32_t trip, std::uint32_t end) { return (2 * trip + end) % loadedRules; }
std::uint32_t roundOf(std::uint32_t trip) { return 2 * trip / loadedRules + 1; }

/// The time of `trips` trips after a first one, behind which both ends are loaded.
template <class F>
double timeOfTrips(F const& trip) {
  trip(0);
  Watch const watch;
  for (std::uint32_t n = 1; n <= trips; ++n) {
    trip(n);
  }
  return watch.seconds();
}

double askByLibrary(int socket) {
  auto const peer = std::make_unique<Peer>(Connection::Role::opener, socket);
  peer->rootIs(aclOf(loadedRules));
  return timeOfTrips([&](std::uint32_t n) {
    peer->change(positionOf(n, 0), roundOf(n));
    peer->receive(1);
  });
}
void answerByLibrary(int socket) {
  auto const peer = std::make_unique<Peer>(Connection::Role::acceptor, socket);
  peer->receive(loadedRules);
  for (std::uint32_t n = 0; n <= trips; ++n) {
    peer->receive(1);
    peer->change(positionOf(n, 1), roundOf(n));
  }
}

// --- by hand ---

using HandMap = std::map<HandKey, HandRule>;

/// Sends records that take as many bytes as the library's messages of the same rules.
class HandLink {
 public:
  explicit HandLink(int socket) : socket_(socket) {}

  void append(HandKey const& key, HandRule const& rule) {
    if (out_.size() - filled_ < recordSize) {
      send();
    }
    handEncode(key, rule, out_.data() + filled_ + headerSize, out_.data() + out_.size());
    filled_ += recordSize;
  }
  void send() { sendAll(socket_, std::span(out_).first(std::exchange(filled_, 0))); }
  /// Receives `count` records and calls `take(entry)` for each.
  template <class F>
  void receive(std::size_t count, F const& take) {
    while (count > 0) {
      kept_ += checked(recv(socket_, in_.data() + kept_, in_.size() - kept_, 0), "receive");
      std::uint8_t const* at = in_.data();
      for (; kept_ >= recordSize; kept_ -= recordSize, at += recordSize, --count) {
        take(handDecode(at + headerSize, at + recordSize));
      }
      std::memmove(in_.data(), at, kept_);
    }
  }

 private:
  static constexpr std::size_t headerSize = Kro::NboAttrLog::WireHeader::size;
  std::size_t const recordSize = headerSize + Encoded().size;
  int socket_;
  std::size_t filled_ = 0;
  std::size_t kept_ = 0;
  std::array<std::uint8_t, 1 << 16> out_{};
  std::array<std::uint8_t, 1 << 16> in_;
};

HandMap mapOf(std::uint32_t count) {
  HandMap map;
  for (std::uint32_t n = 0; n < count; ++n) {
    HandEntry const entry = Encoded(n).byHand();
    map.emplace_hint(map.end(), entry.key, entry.rule);
  }
  return map;
}

void transferByHand(int socket, HandMap const& map) {
  auto const link = std::make_unique<HandLink>(socket);
  for (auto const& [key, rule] : map) {
    link->append(key, rule);
  }
  link->send();
  awaitFinish(socket);
}
void takeByHand(int socket) {
  auto const link = std::make_unique<HandLink>(socket);
  HandMap map;
  signal(socket);
  link->receive(manyRules, [&](HandEntry const& entry) { map.emplace_hint(map.end(), entry.key, entry.rule); });
  finish(socket);
}

/// Changes a record here and tells it.
void change(HandLink& link, HandMap& map, std::uint32_t n, std::uint32_t round) {
  HandEntry const entry = Encoded(n, round).byHand();
  map[entry.key] = entry.rule;
  link.append(entry.key, entry.rule);
  link.send();
}

double askByHand(int socket) {
  auto const link = std::make_unique<HandLink>(socket);
  HandMap map = mapOf(loadedRules);
  return timeOfTrips([&](std::uint32_t n) {
    change(*link, map, positionOf(n, 0), roundOf(n));
    link->receive(1, [&](HandEntry const& entry) { map[entry.key] = entry.rule; });
  });
}
void answerByHand(int socket) {
  auto const link = std::make_unique<HandLink>(socket);
  HandMap map = mapOf(loadedRules);
  for (std::uint32_t n = 0; n <= trips; ++n) {
    link->receive(1, [&](HandEntry const& entry) { map[entry.key] = entry.rule; });
    change(*link, map, positionOf(n, 1), roundOf(n));
  }
}

// --- measuring ---

template <class Send, class Take>
double timeOfTransfer(Send const& send, Take const& take) {
  double seconds = 0;
  auto const sendTimed = [&](int socket) {
    await(socket);
    Watch const watch;
    send(socket);
    seconds = watch.seconds();
  };
  runBoth(sendTimed, take);
  return seconds;
}

template <class Ask, class Answer>
double timeOf(Ask const& ask, Answer const& answer) {
  double seconds = 0;
  runBoth([&](int socket) { seconds = ask(socket); }, answer);
  return seconds;
}

}  // namespace

int main() {
  auto const acl = aclOf(manyRules);
  HandMap const map = mapOf(manyRules);
  std::vector<double> transfer[2], trip[2];
  for (int round = 0; round < rounds; ++round) {
    transfer[0].push_back(timeOfTransfer([&](int socket) { transferByLibrary(socket, acl); }, takeByLibrary));
    transfer[1].push_back(timeOfTransfer([&](int socket) { transferByHand(socket, map); }, takeByHand));
    trip[0].push_back(timeOf(askByLibrary, answerByLibrary));
    trip[1].push_back(timeOf(askByHand, answerByHand));
  }
  printHead();
  printRow("million rules a second, sent whole", "raw records", manyRules / median(transfer[0]) / 1e6,
           manyRules / median(transfer[1]) / 1e6);
  printRow("one change there and back, us", "raw records", median(trip[0]) / trips * 1e6,
           median(trip[1]) / trips * 1e6);
}
