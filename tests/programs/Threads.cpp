// Threads that share no object are independent while the switch for counting is off, each with trees of its own or with
// one that was handed over. "./dev check" runs this under ThreadSanitizer, too; by itself it finds what crashes, is
// lost or is altered.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <latch>
#include <semaphore>
#include <thread>
#include <vector>

#include "VornAcl.h"
#include "runtime/reflection/Path.h"

namespace {

using Kro::Ptr;
using Kro::NboAttrLog::Connection;

constexpr std::uint32_t ruleCount = 1000;

void expect(bool good, char const* what) {
  if (!good) {
    std::fprintf(stderr, "not so: %s\n", what);
    std::_Exit(1);
  }
}

Vorn::IpRuleConfig ruleOf(std::uint32_t n) {
  Vorn::IpRuleConfig rule;
  rule.logIs(n % 2 != 0);
  return rule;
}

/// A root with an ACL of rules; `add` can grow it later.
struct Tree {
  Tree() {
    root->initialize();
    acl = root->vornAclColl()->aclIs({}, Acl::ip, "acl");
    add(0, ruleCount);
  }
  ~Tree() { expect(acl == nullptr || acl->auditErrors(1) == 0, "a tree is whole to its end"); }
  Tree(Tree&&) = default;
  Tree& operator=(Tree&&) = default;

  void add(std::uint32_t from, std::uint32_t to) const {
    for (std::uint32_t n = from; n < to; ++n) {
      acl->ipRuleByIdIs({n, 0, 0}, ruleOf(n));
    }
  }
  void change() const {
    for (std::uint32_t n = 0; n < ruleCount; n += 3) {
      expect(acl->ipRuleByIdDel({n, 0, 0}).log() == (n % 2 != 0), "a rule is removed as it was stored");
    }
    add(ruleCount, 2 * ruleCount);
  }

  Ptr<Vorn::RootConfig> root = Vorn::rootConfigFactory("1", 1, 1);
  Ptr<Vorn::VornAcl> acl;
};

/// A tree, its mirror and the connection between them.
struct Mirrored : Tree {
  Mirrored() {
    reader->onRootIs([this](auto const& arrived) { mirror = Kro::ptrCast<Vorn::RootConfig>(arrived); });
    sender->rootIs(root);
    settle();
    reader->onRootIs(nullptr);  // so that this can be moved
  }
  void settle() const {
    for (bool moved = true; moved;) {
      moved = false;
      for (auto [from, to] : {std::pair(&sender, &reader), std::pair(&reader, &sender)}) {
        for (auto bytes = (*from)->pending(); !bytes.empty(); bytes = (*from)->pending()) {
          (*to)->receive(bytes);
          (*from)->sent(bytes.size());
          moved = true;
        }
      }
    }
    expect(mirror->vornAclColl()->acl({})->equal(acl), "the mirror is as its source");
  }

  decltype(Connection::create(Connection::Role::opener)) sender = Connection::create(Connection::Role::opener),
                                                         reader = Connection::create(Connection::Role::acceptor);
  Ptr<Vorn::RootConfig> mirror;
};

/// Runs `work` on as many threads, which begin at the same time.
void together(int threads, std::function<void()> const& work) {
  std::latch start(threads);
  std::vector<std::jthread> all;
  while (threads-- > 0) {
    all.emplace_back([&] {
      start.arrive_and_wait();
      work();
    });
  }
}

void ownTrees() {
  for (int round = 0; round < 10; ++round) {
    Tree().change();
  }
}

void ownMirrors() {
  for (int round = 0; round < 3; ++round) {
    Mirrored const all;
    all.change();
    all.settle();
  }
}

/// What the library itself shares between trees: type objects and their attributes, the registry, texts.
void types() {
  Ptr<Kro::KroType const> const late[] = {Kro::fwkTypeOf<double>(), Kro::fwkTypeOf<std::uint64_t>()};
  for (auto const& type : late) {
    expect(Kro::KroType::typeNode(type->fullName()) == type, "a type that is made late is placed once");
  }
  auto const root = Vorn::rootConfigFactory("1", 1, 1);
  root->initialize();
  for (int round = 0; round < 50; ++round) {
    auto const object = Kro::reflectionOf(root);
    object->attributeIs("vornRootKick", object->attribute("rootConfigId"));
    expect(object->attribute("vornRootKick")->strRep() == "1", "what was written by reflection is read");
    expect(Kro::entityAtPath(root, "1/vornAclColl") != nullptr, "a path is found");
    for (auto const& type : Kro::IntrospectionReactor::global()->types()) {
      Kro::String8 const name = Kro::KroType::typeNode(type->fullName())->fullName();
      auto const attributes = type->attributeQ();
      for (auto const& attribute : attributes) {
        Kro::Name const copy = attribute->name();
        expect(type->attr(copy) != nullptr && name == type->fullName(), "an attribute is found by its name");
      }
    }
    auto const rule = ruleOf(1);
    expect(Vorn::strepToValue<Vorn::IpRuleConfig>(Vorn::valueToStrep(rule)) == rule, "the text of a rule reads back");
    expect(root->vornAclColl()->fwkType()->genericIf(root->vornAclColl().get(), true)->type() ==
               Vorn::VornAclColl::_fwkType(),
           "a reflection object is of its type");
  }
}

/// One thread makes trees and gives each away; the other one changes and drops it meanwhile.
void handOver() {
  std::binary_semaphore full(0), empty(1);
  std::vector<Tree> on;
  constexpr int trees = 40;
  std::jthread const taker([&] {
    for (int n = 0; n < trees; ++n) {
      full.acquire();
      std::vector<Tree> const taken = std::exchange(on, {});
      empty.release();
      taken.front().change();
    }
  });
  for (int n = 0; n < trees; ++n) {
    std::vector<Tree> made(1);
    empty.acquire();
    on = std::move(made);
    full.release();
  }
}

/// Pages of memory in use.
long residentPages() {
  long size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident;
}

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr bool growsByItself = true;
#else
constexpr bool growsByItself = false;
#endif

/// Threads that end while what they made lives on, here and in threads that come later.
void endedThreads() {
  std::vector<Mirrored> kept;
  long before = 0;
  constexpr int rounds = 100, warm = 40;
  for (int round = 0; round < rounds; ++round) {
    std::thread([&] {
      kept.emplace_back();
      for (Mirrored const& each : kept) {
        each.acl->ipRuleByIdDelAll();
        each.add(0, ruleCount);
      }
    }).join();
    if (kept.size() == 4) {
      kept.front().settle();
      kept.erase(kept.begin(), kept.begin() + 2);
    }
    if (round == warm) {
      before = residentPages();
    }
  }
  expect(growsByItself || residentPages() - before < (rounds - warm) * 20, "a thread that ends loses no memory");
}

/// Objects that live longer than the main thread's own variables.
struct AtExit {
  ~AtExit() {
    tree->change();
    delete tree;
    ownTrees();
  }
  Tree* tree = nullptr;
} atExit;

}  // namespace

int main() {
  struct {
    char const* name;
    int threads;
    void (*work)();
  } const cases[] = {{"types", 4, types},        {"own trees", 2, ownTrees}, {"own trees", 4, ownTrees},
                     {"mirrors", 2, ownMirrors}, {"hand over", 2, handOver}, {"ended threads", 2, endedThreads}};
  for (auto const& [name, threads, work] : cases) {
    std::fprintf(stderr, "%s on %d threads\n", name, threads);
    together(threads, work);
  }
  atExit.tree = new Tree;
}
