// File descriptors that are closed with their owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace Tools {

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
  void close() {
    if (number_ >= 0) {
      ::close(std::exchange(number_, -1));
    }
  }
  /// Leaves the descriptor to somebody else.
  void release() { number_ = -1; }

 private:
  int number_ = -1;
};

}  // namespace Tools
