// Bytes of rules in memory and on the wire, and what a reader that stands still costs the sender.
#include <malloc.h>

#include <map>
#include <set>

#include "bench/Link.h"

namespace {

using namespace Bench;
using Kro::NboAttrLog::Connection;

constexpr std::uint32_t manyRules = 100'000;
constexpr std::uint32_t changedRules = 10'000;
constexpr std::uint32_t passes = 100;

std::size_t heapBytes() {
  auto const info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

/// The bytes that what `make` returns keeps on the heap.
template <class F>
double growthBy(F const& make) {
  std::size_t const before = heapBytes();
  [[maybe_unused]] auto const kept = make();
  return static_cast<double>(heapBytes()) - static_cast<double>(before);
}

Kro::Ptr<Vorn::VornAcl> aclOf(std::uint32_t count) {
  auto acl = Kro::adopt(new Vorn::VornAcl({}, Acl::ip, Kro::Name("bench")));
  for (std::uint32_t n = 0; n < count; ++n) {
    acl->ipRuleByIdIs(keyOf(n), ruleOf(n));
  }
  return acl;
}

using HandMap = std::map<Vorn::AceIndex, Vorn::IpRuleConfig>;
HandMap mapOf(std::uint32_t count) {
  HandMap map;
  for (std::uint32_t n = 0; n < count; ++n) {
    map.emplace_hint(map.end(), keyOf(n), ruleOf(n));
  }
  return map;
}

void printMemory() {
  double const own = growthBy([] { return aclOf(manyRules); }) / manyRules;
  printRow("heap bytes of a rule", "std::map", own, growthBy([] { return mapOf(manyRules); }) / manyRules);
}

/// Moves bytes until neither end has any left.
void settle(Connection& a, Connection& b) {
  for (bool moved = true; moved;) {
    moved = false;
    for (auto [from, to] : {std::pair(&a, &b), std::pair(&b, &a)}) {
      while (!from->pending().empty()) {
        auto const bytes = from->pending();
        to->receive(bytes);
        from->sent(bytes.size());
        moved = true;
      }
    }
  }
}

void printWire(Connection const& sender, std::uint32_t rules) {
  auto const bytes = static_cast<double>(sender.stats().bytesSent);
  printRow("bytes of a rule on the wire", "key and value alone", bytes / rules, static_cast<double>(Encoded().size));
}

/// Changes every rule in each pass; `set(n, rule)` stores one. Returns the nanoseconds of a change.
template <class F>
double changeAll(std::vector<Vorn::IpRuleConfig> const (&rules)[2], F const& set) {
  Watch const watch;
  for (std::uint32_t pass = 0; pass < passes; ++pass) {
    for (std::uint32_t n = 0; n < changedRules; ++n) {
      set(n, rules[pass % 2][n]);
    }
  }
  return watch.seconds() * 1e9 / passes / changedRules;
}

void printStandstill() {
  std::vector<Vorn::IpRuleConfig> rules[2];
  for (std::uint32_t n = 0; n < changedRules; ++n) {
    rules[0].push_back(ruleOf(n, 2));
    rules[1].push_back(ruleOf(n, 4));
  }
  auto const acl = aclOf(changedRules);
  auto const sender = Connection::create(Connection::Role::opener);
  auto const reader = Connection::create(Connection::Role::acceptor);
  Kro::Ptr<Vorn::VornAcl> mirror;
  reader->onRootIs([&](auto const& root) { mirror = Kro::ptrCast<Vorn::VornAcl>(root); });
  sender->rootIs(acl);
  settle(*sender, *reader);
  printWire(*sender, changedRules);

  HandMap map = mapOf(changedRules);
  std::set<Vorn::AceIndex> dirty;
  auto const messages = sender->stats().messagesSent;
  double own = 0, other = 0;
  double const ownGrowth = growthBy([&] {
    own = changeAll(rules, [&](std::uint32_t n, auto const& rule) { acl->ipRuleByIdIs(keyOf(n), rule); });
    return 0;
  });
  double const otherGrowth = growthBy([&] {
    other = changeAll(rules, [&](std::uint32_t n, auto const& rule) {
      map.insert_or_assign(keyOf(n), rule);
      dirty.insert(keyOf(n));
    });
    return 0;
  });
  settle(*sender, *reader);
  printRow("ns of a change, reader stands", "map and set of keys", own, other);
  printRow("kB of growth, reader stands", "map and set of keys", ownGrowth / 1e3, otherGrowth / 1e3);
  printRow("messages when it goes on", "one for each change",
           static_cast<double>(sender->stats().messagesSent - messages), double{passes} * changedRules);
  if (!mirror->equal(acl)) {
    throw std::logic_error("the mirror differs");
  }
}

}  // namespace

int main() {
  printHead();
  printMemory();
  printStandstill();
}
