// What the program allocates with `operator new`, counted for each thread, and a way to let memory run out.
#pragma once

#include <cstddef>

namespace VornTest {

/// Number of allocations of this thread so far.
std::size_t allocations();
/// Lets the n-th allocation of this thread from here on fail, and as many in all; 0 lets none fail. Returns whether one
/// has failed since it was called last.
bool failAllocation(std::size_t n, std::size_t times = 1);

}  // namespace VornTest
