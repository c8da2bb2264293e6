#include "tools/demo/Files.h"

#include <stdlib.h>

#include <cerrno>
#include <system_error>

namespace Demo {

namespace {

[[noreturn]] void fail(std::string const& what) { throw std::system_error(errno, std::generic_category(), what); }

}  // namespace

File openFile(std::string const& path, char const* mode) {
  File file(std::fopen(path.c_str(), mode));
  if (file == nullptr) {
    fail(path + ": cannot be opened");
  }
  return file;
}

std::string readFile(std::string const& path) {
  File const file = openFile(path, "rb");
  std::string text;
  char buffer[1 << 16];
  while (std::size_t const length = std::fread(buffer, 1, sizeof buffer, file.get())) {
    text.append(buffer, length);
  }
  if (std::ferror(file.get()) != 0) {
    fail(path + ": cannot be read");
  }
  return text;
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
