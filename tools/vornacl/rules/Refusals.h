// What is done with rules that cannot be held exactly.
#pragma once

#include <string>
#include <vector>

#include "tools/common/BadData.h"

namespace Tools {

/// Takes the rules that are not loaded, each with its place and the reason: stops at the first, or lists them all.
class Refusals {
 public:
  struct Refusal {
    Place place;
    std::string reason;
  };

  /// `skips`: go on without the rule.
  explicit Refusals(bool skips) : skips_(skips) {}

  /// Throws `BadData` unless such rules are skipped.
  void add(Place place, std::string reason) {
    if (!skips_) {
      throw BadData(place, reason);
    }
    all_.push_back({std::move(place), std::move(reason)});
  }
  std::vector<Refusal> const& all() const { return all_; }

 private:
  bool skips_;
  std::vector<Refusal> all_;
};

/// Why a rule that is well formed is not loaded.
struct Refused {
  std::size_t column = 0;
  std::string reason;
};

}  // namespace Tools
