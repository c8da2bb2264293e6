#include "tools/demo/Source.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <stdexcept>

#include "tools/demo/Changes.h"
#include "tools/demo/Dump.h"
#include "tools/demo/Peer.h"

namespace Demo {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t liveChanges = 10000;
constexpr std::uint32_t seed = 20240229;
constexpr std::chrono::seconds pause{1};

/// Tells on standard error what was done since the last time, and how long it took.
class Progress {
 public:
  void done(std::string const& what) {
    auto const now = Clock::now();
    std::chrono::duration<double, std::milli> const time = now - since_;
    std::fprintf(stderr, "%s in %.0f ms\n", what.c_str(), time.count());
    since_ = now;
  }

 private:
  Clock::time_point since_ = Clock::now();
};

std::string rulesOf(Tree const& tree) { return std::to_string(countsOf(tree).rules) + " rules"; }

/// The two mirrors, and what happens to them while the tree changes.
class Mirrors {
 public:
  Mirrors(Tree const& tree, bool plant)
      : tree_(tree), secondTask_(plant ? MirrorTask::plantAndDump : MirrorTask::dump) {
    second_.emplace(tree_, secondTask_);
  }

  void fill(Progress& progress) {
    Peer::drain({&first_, &*second_});
    auto const bytes = first_.connection().stats().bytesSent;
    progress.done(rulesOf(tree_) + ", " + std::to_string(bytes) + " bytes, sent to each of 2 processes");
  }

  /// Makes the changes in four parts.
  void change(Progress& progress) {
    Changes changes(tree_, liveChanges, seed);
    makeSome(changes, [this] { Peer::drain({&first_, &*second_}); });
    first_.process().stop();
    Clock::time_point const end = Clock::now() + pause;
    makeSome(changes, [this] { first_.pump().move(), Peer::drain({&*second_}); });
    second_->kill();
    second_.emplace(tree_, secondTask_);
    makeSome(changes, [this] { first_.pump().move(), second_->pump().move(); });
    waitUntil(end);
    first_.process().resume();
    Peer::drain({&first_, &*second_});
    makeSome(changes, [this] { Peer::drain({&first_, &*second_}); });
    auto const stats = first_.connection().stats();
    progress.done(std::to_string(made_) + " changes made and sent, of which up to " +
                  std::to_string(stats.dirtyMarksPeak) + " waited for the first process");
  }

  /// Writes the source's own dump and compares.
  bool compare(Progress& progress) {
    first_.finish();
    second_->finish();
    UnnamedFile const file;
    writeDump(tree_, streamTo(file.number()).get());
    std::string const source = file.text();
    bool const equal = isEqual(source, first_, "first") && isEqual(source, *second_, "second");
    progress.done("3 dumps written and compared");
    if (equal) {
      std::printf("equal: %zu rules in %zu ACLs on %zu chips mirrored to 2 processes, %zu live changes followed\n",
                  counts_.rules, counts_.acls, counts_.chips, changesFollowed_);
    }
    return equal;
  }

 private:
  template <class Then>
  void makeSome(Changes& changes, Then then) {
    for (std::size_t left = liveChanges / 4; left > 0 && changes.next(); --left) {
      ++made_;
      then();
    }
  }

  void waitUntil(Clock::time_point end) {
    Pump* const pumps[] = {&first_.pump(), &second_->pump()};
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
      Pump::wait(pumps, std::chrono::ceil<std::chrono::milliseconds>(end - now));
    }
  }

  bool isEqual(std::string const& source, Peer& peer, char const* name) {
    std::string const result = peer.result();
    std::size_t changes = 0;
    if (std::sscanf(result.c_str(), "%zu %zu %zu %zu", &counts_.rules, &counts_.acls, &counts_.chips, &changes) != 4) {
      throw std::runtime_error("a mirror does not tell what it holds");
    }
    changesFollowed_ = std::max(changesFollowed_, changes);
    if (auto const difference = firstDifference(source, peer.dump())) {
      std::printf("differs: %s mirror, %s\n", name, difference->c_str());
      return false;
    }
    return true;
  }

  Tree tree_;
  MirrorTask secondTask_;
  Peer first_{tree_, MirrorTask::dump};
  std::optional<Peer> second_;
  Counts counts_;  ///< as the mirror told that was asked last
  std::size_t made_ = 0;
  std::size_t changesFollowed_ = 0;
};

bool printRules(Tree const& tree) {
  Peer peer(tree, MirrorTask::printRules);
  Peer::drain({&peer});
  peer.finish();
  peer.result();
  return true;
}

}  // namespace

bool runSource(SourceOptions const& options) {
  Progress progress;
  Tree const tree = loadTree(options.files);
  progress.done(rulesOf(tree) + " loaded");
  if (options.printRules) {
    return printRules(tree);
  }
  Mirrors mirrors(tree, options.plant);
  mirrors.fill(progress);
  mirrors.change(progress);
  return mirrors.compare(progress);
}

}  // namespace Demo
