// Changes to a tree of rules, the same ones in each run.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "tools/demo/Tree.h"

namespace Demo {

/// A fixed sequence of changes to a tree: three in ten add a rule, half of these where one was removed before, as many
/// remove one, as many change one attribute or two of one; one in ten is about a chip: its mapping of names, its
/// action, its kicks, whether it is active, whether it failed last. Every change is one, which observers are told once,
/// and as many rules stand behind all of them as before. A tree without any rule at all is not changed; nobody else may
/// change it meanwhile.
class Changes {
 public:
  /// `count` changes are made in all, a multiple of 10. The seed and the tree decide about each of them.
  Changes(Tree tree, std::size_t count, std::uint32_t seed);

  /// Makes the next change; returns false where there is none left.
  bool next();

 private:
  enum class Kind : std::uint8_t { change, add, remove, control };
  struct Place {
    std::size_t acl;
    Vorn::AceIndex key;
  };

  void shuffle();
  Place freePlace();
  void change();
  void add();
  void remove();
  void control();
  void mapName(Vorn::RootConfig& chip);
  std::uint32_t below(std::size_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
  bool coin() { return (random_() & 1U) != 0; }
  Dorix::IpGenPrefix prefix();
  Vorn::L4PortRange ports();
  Vorn::IpRuleConfig altered(Vorn::IpRuleConfig const& rule);
  void alter(Vorn::IpFilter& filter, unsigned attribute);
  Vorn::IpRuleConfig const& at(Place const& place) const;

  Tree tree_;
  Acls acls_;
  std::vector<Kro::Ptr<Vorn::RootConfig>> chips_;
  std::mt19937 random_;
  std::vector<Kind> kinds_;
  std::size_t done_ = 0;
  std::vector<Place> places_;  ///< of all rules that stand
  std::vector<Place> removed_;
  Vorn::IpRuleConfig last_;  ///< what a rule is made from where none stands
};

}  // namespace Demo
