// How the measurements are registered and reported. Each piece of work is measured for the library and for one or more
// baselines in the same run; the report sets them side by side.
#pragma once

#include <functional>
#include <string>

#include <benchmark/benchmark.h>

namespace Bench {

/// The one that the others are compared with.
inline constexpr char library[] = "library";

/// Registers a piece of work as done by `who`: `library`, or the name of a baseline. `run` counts the items of an
/// iteration with `SetItemsProcessed` where it is more than one.
inline void add(std::string const& work, std::string const& who, std::function<void(benchmark::State&)> run) {
  benchmark::RegisterBenchmark((work + '/' + who).c_str(), std::move(run));
}

void addCodec();
void addCollections();
void addDispatch();
void addText();

}  // namespace Bench
