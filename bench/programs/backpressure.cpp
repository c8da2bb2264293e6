// What a tree and its mirrors cost: rules per second from process to process, bytes per rule on the wire and in memory,
// and the memory of the source while one mirror stands still and every rule is changed a hundred times.
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include "VornRootConfig/RootConfigColl.h"
#include "runtime/log/Connection.h"

namespace {

using Kro::NboAttrLog::Connection;
using Clock = std::chrono::steady_clock;
using Tree = Kro::Ptr<Vorn::RootConfigColl>;

constexpr std::uint32_t ruleCount = 108726;
constexpr std::uint16_t chipCount = 4;
constexpr unsigned rounds = 100;

[[noreturn]] void fail(char const* what) {
  std::perror(what);
  std::exit(1);
}

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

/// A line of this process's status, in KiB.
long statusOf(char const* name) {
  std::FILE* const file = std::fopen("/proc/self/status", "r");
  char line[256];
  long value = -1;
  while (file != nullptr && value < 0 && std::fgets(line, sizeof line, file) != nullptr) {
    if (std::strncmp(line, name, std::strlen(name)) == 0) {
      value = std::strtol(line + std::strlen(name) + 1, nullptr, 10);
    }
  }
  if (file != nullptr) {
    std::fclose(file);
  }
  return value;
}

/// Lets the peak of memory count anew.
void forgetPeak() {
  if (std::FILE* const file = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", file);
    std::fclose(file);
  }
}

/// Both ends of a socket, and the process at the far one.
struct Far {
  int socket = -1;
  pid_t process = -1;
};

/// A process that runs `work(socket)` and ends with the status that it returns.
template <class Work>
Far start(Work work) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    fail("socketpair");
  }
  pid_t const process = fork();
  if (process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    close(ends[0]);
    _exit(work(ends[1]));
  }
  close(ends[1]);
  return {ends[0], process};
}

int finish(Far const& far) {
  shutdown(far.socket, SHUT_WR);
  int status = 0;
  waitpid(far.process, &status, 0);
  close(far.socket);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Takes what has come and sends what waits; false where the peer has said that nothing follows.
bool move(Connection& connection, int socket, int flags) {
  static std::vector<std::uint8_t> buffer(1U << 16U);
  for (auto bytes = connection.pending(); !bytes.empty(); bytes = connection.pending()) {
    ssize_t const n = send(socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (n <= 0) {
      break;
    }
    connection.sent(static_cast<std::size_t>(n));
  }
  ssize_t const n = recv(socket, buffer.data(), buffer.size(), flags);
  if (n > 0) {
    connection.receive({buffer.data(), static_cast<std::size_t>(n)});
  }
  return n != 0;
}

/// A mirror: status 0 where it holds every rule at the end.
int mirror(int socket) {
  auto const connection = Connection::create(Connection::Role::acceptor);
  Tree tree;
  connection->onRootIs([&](auto const& root) { tree = Kro::ptrCast<Vorn::RootConfigColl>(root); });
  while (move(*connection, socket, 0)) {
  }
  std::size_t held = 0;
  for (auto const& chip : tree->chipRootConfigMap()) {
    for (auto const& acl : chip.vornAclColl()->aclMap()) {
      held += acl.ipRuleByIdSize();
    }
  }
  return held == ruleCount && connection->state() == Connection::State::inSync ? 0 : 1;
}

/// The baseline: takes bytes and does nothing with them.
int swallow(int socket) {
  std::vector<char> buffer(1U << 16U);
  while (recv(socket, buffer.data(), buffer.size(), 0) > 0) {
  }
  return 0;
}

struct Source {
  explicit Source(Tree const& tree) : far(start(mirror)), connection(Connection::create(Connection::Role::opener)) {
    if (tree) {
      connection->rootIs(tree);
    }
  }
  bool isDrained() const { return connection->pending().empty(); }

  Far far;
  Kro::Ptr<Connection> connection;
};

void drain(std::vector<Source*> const& sources) {
  while (true) {
    std::vector<pollfd> waiting;
    for (Source* const source : sources) {
      move(*source->connection, source->far.socket, MSG_DONTWAIT);
      if (!source->isDrained()) {
        waiting.push_back({source->far.socket, POLLIN | POLLOUT, 0});
      }
    }
    if (waiting.empty()) {
      return;
    }
    poll(waiting.data(), waiting.size(), -1);
  }
}

Vorn::IpRuleConfig newRule(std::mt19937& random) {
  auto const prefix = [&] {
    Dorix::IpBytes bytes{};
    for (std::size_t i = 0; i < 4; ++i) {
      bytes[i] = static_cast<std::uint8_t>(random());
    }
    return Dorix::IpGenPrefix::fromBytes(Dorix::IpFamily::ipv4, bytes, static_cast<std::uint32_t>(random() % 33));
  };
  Vorn::IpFilter filter;
  filter.sourceIs(prefix());
  filter.destinationIs(prefix());
  filter.dportRangeIs({static_cast<std::uint16_t>(random() % 1024), 65535});
  filter.protoIs(6);
  filter.matchProtoIs(true);
  Vorn::IpRuleConfig rule;
  rule.filterIs(filter);
  return rule;
}

std::vector<Kro::Ptr<Vorn::VornAcl>> fill(Tree const& tree) {
  std::mt19937 random(1);
  std::vector<Kro::Ptr<Vorn::VornAcl>> acls;
  for (std::uint16_t n = 0; n < chipCount; ++n) {
    auto const chip = tree->chipRootConfigIs(n, Vorn::ChipId(n));
    chip->initialize();
    acls.push_back(chip->vornAclColl()->aclIs({Vorn::ipv4PAcl, static_cast<std::uint8_t>(n), Acl::in}, Acl::ip, "a"));
  }
  for (std::uint32_t i = 0; i < ruleCount; ++i) {
    acls[i % chipCount]->ipRuleByIdIs({i / chipCount + 1, 0, 0}, newRule(random));
  }
  return acls;
}

/// Changes every rule once, and moves bytes as far as they go.
void changeAll(std::vector<Kro::Ptr<Vorn::VornAcl>> const& acls, unsigned round, std::vector<Source*> const& sources) {
  std::uint32_t changed = 0;
  for (auto const& acl : acls) {
    for (std::uint32_t i = 1, size = acl->ipRuleByIdSize(); i <= size; ++i) {
      Vorn::IpRuleConfig rule = acl->ipRuleByIdMap().find({i, 0, 0})->value();
      Vorn::IpFilter filter = rule.filter();
      filter.ttlIs(static_cast<std::uint8_t>(round));
      rule.filterIs(filter);
      acl->ipRuleByIdIs({i, 0, 0}, rule);
      if (++changed % 64 == 0) {
        for (Source* const source : sources) {
          move(*source->connection, source->far.socket, MSG_DONTWAIT);
        }
      }
    }
  }
}

void measureBaseline(std::uint64_t bytes) {
  Far const far = start(swallow);
  std::vector<char> const records(1U << 16U);
  auto const began = Clock::now();
  for (std::uint64_t left = bytes; left > 0;) {
    ssize_t const n = send(far.socket, records.data(), std::min<std::uint64_t>(left, records.size()), MSG_NOSIGNAL);
    if (n <= 0) {
      fail("send");
    }
    left -= static_cast<std::uint64_t>(n);
  }
  finish(far);
  std::printf("the same bytes, raw, to one process: %.0f rules/s\n", ruleCount / secondsSince(began));
}

void measureOneMirror(Tree const& tree) {
  Source one(nullptr);
  auto const began = Clock::now();
  one.connection->rootIs(tree);
  drain({&one});
  if (finish(one.far) != 0) {
    fail("the mirror is not equal");
  }
  auto const stats = one.connection->stats();
  std::printf("to one process, applied there: %.0f rules/s, %.1f bytes per rule on the wire\n",
              ruleCount / secondsSince(began), static_cast<double>(stats.bytesSent) / ruleCount);
  measureBaseline(stats.bytesSent);
}

int measureStoppedMirror(Tree const& tree, std::vector<Kro::Ptr<Vorn::VornAcl>> const& acls) {
  Source stopped(tree), running(tree);
  drain({&stopped, &running});
  kill(stopped.far.process, SIGSTOP);
  waitpid(stopped.far.process, nullptr, WUNTRACED);
  forgetPeak();
  long const before = statusOf("VmRSS:");
  auto began = Clock::now();
  for (unsigned round = 1; round <= rounds; ++round) {
    changeAll(acls, round, {&stopped, &running});
    drain({&running});
    if (round == 1 || round == rounds) {
      std::printf("one mirror stopped, every rule changed %u times: peak %ld KiB, %ld before\n", round,
                  statusOf("VmHWM:"), before);
    }
  }
  auto const stats = stopped.connection->stats();
  std::printf("%.0f changes/s; for the stopped mirror %llu marks at most, %llu changes merged\n",
              rounds * static_cast<double>(ruleCount) / secondsSince(began),
              static_cast<unsigned long long>(stats.dirtyMarksPeak),
              static_cast<unsigned long long>(stats.mergedChanges));
  began = Clock::now();
  kill(stopped.far.process, SIGCONT);
  drain({&stopped});
  std::printf("resumed: caught up in %.0f ms\n", 1000 * secondsSince(began));
  return finish(stopped.far) + finish(running.far);
}

}  // namespace

int main() {
  Tree const tree = Vorn::rootConfigCollFactory("all");
  long const before = statusOf("VmRSS:");
  auto const acls = fill(tree);
  std::printf("%u rules: %.0f bytes per rule in memory\n", ruleCount,
              1024.0 * static_cast<double>(statusOf("VmRSS:") - before) / ruleCount);
  measureOneMirror(tree);
  return measureStoppedMirror(tree, acls) == 0 ? 0 : 1;
}
