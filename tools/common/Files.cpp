#include "tools/common/Files.h"

#include <cerrno>
#include <string_view>
#include <system_error>

#include "tools/common/BadData.h"

namespace Tools {

namespace {

constexpr std::size_t longestLine = std::size_t{1} << 20;

[[noreturn]] void fail(std::string const& what) { throw std::system_error(errno, std::generic_category(), what); }

/// Refuses lines that are too long, as far as they have come.
class LineLengths {
 public:
  explicit LineLengths(std::string const& file) : file_(file) {}

  void add(std::string_view part) {
    for (std::size_t end = part.find('\n'); end != std::string_view::npos; end = part.find('\n')) {
      addToLine(end);
      part.remove_prefix(end + 1);
      length_ = 0;
      ++line_;
    }
    addToLine(part.size());
  }

 private:
  void addToLine(std::size_t length) {
    if ((length_ += length) > longestLine) {
      throw BadData({file_, line_, longestLine + 1},
                    "found a longer line, expected its end within " + std::to_string(longestLine) + " bytes");
    }
  }

  std::string const& file_;
  std::size_t line_ = 1;
  std::size_t length_ = 0;
};

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
  LineLengths lengths(path);
  char buffer[1 << 16];
  while (std::size_t const length = std::fread(buffer, 1, sizeof buffer, file)) {
    lengths.add({buffer, length});
    text.append(buffer, length);
  }
  if (std::ferror(file) != 0) {
    fail(path + ": cannot be read");
  }
  return text;
}

std::string readFile(std::string const& path) { return readAll(openFile(path, "rb").get(), path); }

}  // namespace Tools
