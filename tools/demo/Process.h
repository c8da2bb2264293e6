// Processes and file descriptors that go away with their owner.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace Demo {

/// Owns a file descriptor; closes it at the end. -1 is none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~FileDescriptor() { close(); }

  int number() const { return number_; }
  void close();
  /// Leaves the descriptor to somebody else.
  void release() { number_ = -1; }

 private:
  int number_ = -1;
};

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
