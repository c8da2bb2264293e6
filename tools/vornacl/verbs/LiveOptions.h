// The options of verbs that ask another process.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/vornacl/net/LiveTree.h"

namespace Tools {

/// Which process, and how long to wait for it.
struct LiveOptions {
  std::string address;
  double seconds = 10;

  /// Declares ADDRESS and --timeout.
  void declare(CLI::App& app) {
    app.add_option("ADDRESS", address, "A process that serves a tree: unix:PATH or tcp:HOST:PORT")->required();
    declareTimeout(app, seconds);
  }
  static void declareTimeout(CLI::App& app, double& seconds) {
    app.add_option("--timeout", seconds, "How long to wait for a process (10)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6).description(""));
  }
  static std::chrono::milliseconds patienceOf(double seconds) {
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
  }
  std::chrono::milliseconds patience() const { return patienceOf(seconds); }
  LiveTree connect() const { return {Address::of(address), patience()}; }
};

}  // namespace Tools
