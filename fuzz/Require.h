// What a fuzz target demands.
#pragma once

#include <cstdio>
#include <cstdlib>

/// Stops the program with the reason where something does not hold.
inline void require(bool holds, char const* what) {
  if (!holds) {
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
  }
}
