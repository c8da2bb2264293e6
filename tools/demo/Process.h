// Processes that go away with their owner, and descriptors that join them.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include "tools/common/FileDescriptor.h"

namespace Demo {

using Tools::FileDescriptor;

/// Two descriptors that belong together.
struct DescriptorPair {
  FileDescriptor first;
  FileDescriptor second;
};

/// A connected pair of Unix stream sockets, closed in programs that are executed. Throws `std::system_error`.
DescriptorPair socketPair();
/// A pipe: what is written to the second is read from the first. Closed in programs that are executed. Throws
/// `std::system_error`.
DescriptorPair newPipe();

/// A process of its own. It dies with this process, however that ends, also while it is stopped; and it is killed with
/// its owner unless its end was waited for.
class ChildProcess {
 public:
  /// This very program.
  static constexpr char const* thisProgram = "/proc/self/exe";

  /// Starts a program with `arguments`. The descriptors in `kept` stay open there under their numbers; `output` becomes
  /// its standard output unless it is -1. Throws `std::system_error`.
  ChildProcess(std::string const& program, std::vector<std::string> arguments, std::vector<int> const& kept,
               int output);
  ChildProcess(ChildProcess const&) = delete;
  ChildProcess& operator=(ChildProcess const&) = delete;
  ~ChildProcess();

  pid_t id() const { return id_; }
  /// Halts the process and returns when it stands still; `resume` lets it go on. Throw `std::system_error`.
  void stop();
  void resume();
  /// Ends the process at once, wherever it is, and waits for its end. Does nothing after that.
  void kill();
  /// Waits for the end; returns whether the process ended with status 0.
  bool succeeded();

 private:
  pid_t id_ = -1;
};

}  // namespace Demo
