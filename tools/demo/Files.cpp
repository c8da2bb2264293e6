#include "tools/demo/Files.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include <sys/stat.h>

namespace Demo {

namespace {

[[noreturn]] void fail(std::string const& what) { throw std::system_error(errno, std::generic_category(), what); }

}  // namespace

UnnamedFile::UnnamedFile() {
  std::string pattern = std::filesystem::temp_directory_path() / "vornacl-demo-XXXXXX";
  descriptor_ = FileDescriptor(mkostemp(pattern.data(), O_CLOEXEC | O_APPEND));
  if (number() < 0 || unlink(pattern.c_str()) != 0) {
    fail("cannot make a temporary file");
  }
}

std::string UnnamedFile::text() const {
  struct stat status = {};
  if (fstat(number(), &status) != 0) {
    fail("cannot read a temporary file");
  }
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  for (std::size_t at = 0; at < text.size();) {
    ssize_t const length = pread(number(), text.data() + at, text.size() - at, static_cast<off_t>(at));
    if (length <= 0) {
      fail("cannot read a temporary file");
    }
    at += static_cast<std::size_t>(length);
  }
  return text;
}

File streamTo(int number) {
  FileDescriptor copy(fcntl(number, F_DUPFD_CLOEXEC, 0));
  File file(copy.number() < 0 ? nullptr : fdopen(copy.number(), "ab"));
  if (file == nullptr) {
    fail("cannot write to a temporary file");
  }
  copy.release();
  return file;
}

TemporaryFolder::TemporaryFolder() {
  std::string pattern = std::filesystem::temp_directory_path() / "vornacl-demo-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    fail("cannot make a folder for temporary files");
  }
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace Demo
