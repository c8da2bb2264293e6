#include "tools/common/Files.h"

#include <cerrno>
#include <system_error>

namespace Tools {

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

std::string readAll(std::FILE* file, std::string const& path) {
  std::string text;
  char buffer[1 << 16];
  while (std::size_t const length = std::fread(buffer, 1, sizeof buffer, file)) {
    text.append(buffer, length);
  }
  if (std::ferror(file) != 0) {
    fail(path + ": cannot be read");
  }
  return text;
}

std::string readFile(std::string const& path) { return readAll(openFile(path, "rb").get(), path); }

}  // namespace Tools
