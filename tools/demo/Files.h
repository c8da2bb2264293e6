// Files and folders that are gone with their owner.
#pragma once

#include <filesystem>
#include <string>

#include "tools/common/Files.h"
#include "tools/demo/Process.h"

namespace Demo {

using Tools::File;

/// A file without a name, so that nothing of it is left behind however its users end.
class UnnamedFile {
 public:
  /// Makes it, empty, in the folder for temporary files. Throws `std::system_error`; so do the others.
  UnnamedFile();

  /// The descriptor, under which another process can be given the file.
  int number() const { return descriptor_.number(); }
  /// All that stands in it now.
  std::string text() const;

 private:
  FileDescriptor descriptor_;
};

/// A stream to the end of the file behind a descriptor, which stays open itself. Throws `std::system_error`.
File streamTo(int number);

/// A new folder for temporary files, removed with all that is in it.
class TemporaryFolder {
 public:
  /// Throws `std::system_error`.
  TemporaryFolder();
  TemporaryFolder(TemporaryFolder const&) = delete;
  TemporaryFolder& operator=(TemporaryFolder const&) = delete;
  ~TemporaryFolder();

  std::filesystem::path const& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace Demo
