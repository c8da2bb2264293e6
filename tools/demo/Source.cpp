#include "tools/demo/Source.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "tools/demo/Changes.h"
#include "tools/demo/Dump.h"
#include "tools/demo/Files.h"
#include "tools/demo/Mirror.h"
#include "tools/demo/Process.h"
#include "tools/demo/Pump.h"
#include "tools/demo/RuleFile.h"

namespace Demo {

namespace {

using Kro::NboAttrLog::Connection;

constexpr std::size_t liveChanges = 10000;
constexpr std::uint32_t seed = 20240229;
constexpr std::chrono::seconds patience{60};

/// Tells on standard error what was done since the last time, and how long it took.
class Progress {
 public:
  void done(std::string const& what) {
    auto const now = std::chrono::steady_clock::now();
    std::chrono::duration<double, std::milli> const time = now - since_;
    std::fprintf(stderr, "%s in %.0f ms\n", what.c_str(), time.count());
    since_ = now;
  }

 private:
  std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
};

Kro::Ptr<Vorn::VornAcl> load(std::string const& path, std::uint8_t number) {
  RuleFile const file = readRuleFile(path);
  for (Loosened const& loosened : file.loosened) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), toText(loosened).c_str());
  }
  std::string const name = std::filesystem::path(path).filename();
  auto acl = Kro::adopt(new Vorn::VornAcl(Vorn::AclId(Vorn::ipv4PAcl, number, Acl::in), Acl::ip, name.c_str()));
  std::uint32_t index = 0;
  for (Vorn::IpRuleConfig const& rule : file.rules) {
    acl->ipRuleByIdIs(Vorn::AceIndex(++index, 0, 0), rule);
  }
  return acl;
}

Acls loadAll(std::vector<std::string> const& files) {
  Acls acls;
  for (std::string const& file : files) {
    acls.push_back(load(file, static_cast<std::uint8_t>(acls.size())));
  }
  return acls;
}

/// The other process, and the stream to it.
class Peer {
 public:
  explicit Peer(MirrorOptions options) : Peer(std::move(options), socketPair(), newPipe()) {}

  Connection& connection() { return pump_.connection(); }

  /// Sends everything that waits.
  void drain() {
    Pump* const pumps[] = {&pump_};
    for (pump_.move(); !pump_.isDrained();) {
      if (!pump_.isOpen()) {
        throw std::runtime_error("the mirror has gone");
      }
      if (!Pump::wait(pumps, patience)) {
        throw std::runtime_error("the mirror does not answer");
      }
    }
  }

  /// Says that nothing follows.
  void finish() { pump_.finish(); }

  /// Waits for the process to end. Returns what it wrote to standard output.
  std::string result() {
    std::string text;
    char buffer[256];
    for (ssize_t length; (length = read(output_.number(), buffer, sizeof buffer)) > 0;) {
      text.append(buffer, static_cast<std::size_t>(length));
    }
    if (!process_.succeeded()) {
      throw std::runtime_error("the mirror failed");
    }
    return text;
  }

 private:
  Peer(MirrorOptions options, DescriptorPair sockets, DescriptorPair pipe)
      : output_(std::move(pipe.first)),
        process_(argumentsFor(options, sockets.second.number()), sockets.second.number(),
                 options.dump ? pipe.second.number() : -1),
        pump_(Connection::create(Connection::Role::opener), std::move(sockets.first)) {}

  static std::vector<std::string> argumentsFor(MirrorOptions& options, int socket) {
    options.socket = socket;
    return options.arguments();
  }

  FileDescriptor output_;
  ChildProcess process_;
  Pump pump_;
};

void attach(Acls const& acls, Peer& peer, Progress& progress) {
  for (auto const& acl : acls) {
    peer.connection().rootIs(acl);
  }
  peer.drain();
  progress.done(std::to_string(ruleCount(acls)) + " rules sent");
}

/// Makes the changes one by one, and lets none wait for the next.
void change(Acls const& acls, Peer& peer, Progress& progress) {
  std::size_t count = 0;
  for (Changes changes(acls, liveChanges, seed); changes.next(); ++count) {
    peer.drain();
  }
  progress.done(std::to_string(count) + " changes sent");
}

bool compare(std::string const& source, std::string const& mirror, std::string const& counts) {
  std::size_t rules = 0, acls = 0, changes = 0;
  if (std::sscanf(counts.c_str(), "%zu %zu %zu", &rules, &acls, &changes) != 3) {
    throw std::runtime_error("the mirror does not tell what it holds");
  }
  if (auto const difference = firstDifference(readFile(source), readFile(mirror))) {
    std::printf("differs: %s\n", difference->c_str());
    return false;
  }
  std::printf("equal: %zu rules in %zu ACLs mirrored, %zu live changes followed\n", rules, acls, changes);
  return true;
}

bool printRules(Acls const& acls, Progress& progress) {
  Peer peer(MirrorOptions{});
  attach(acls, peer, progress);
  peer.finish();
  peer.result();
  return true;
}

}  // namespace

bool runSource(SourceOptions const& options) {
  Progress progress;
  Acls const acls = loadAll(options.files);
  progress.done(std::to_string(ruleCount(acls)) + " rules loaded");
  if (options.printRules) {
    return printRules(acls, progress);
  }
  TemporaryFolder const folder;
  std::string const sourceDump = folder.path() / "source";
  std::string const mirrorDump = folder.path() / "mirror";
  Peer peer({-1, mirrorDump, options.plant});
  attach(acls, peer, progress);
  change(acls, peer, progress);
  peer.finish();
  writeDump(acls, openFile(sourceDump, "wb").get());
  std::string const counts = peer.result();
  progress.done("both dumps written");
  return compare(sourceDump, mirrorDump, counts);
}

}  // namespace Demo
