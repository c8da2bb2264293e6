#include "tools/vornacl/Output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <nlohmann/json.hpp>

#include "tools/vornacl/Exit.h"

namespace Tools {

void Output::colorIs(Color color) {
  char const* const noColor = std::getenv("NO_COLOR");
  bool const isWanted = isatty(STDOUT_FILENO) != 0 && (noColor == nullptr || *noColor == '\0');
  isColored_ = color == Color::always || (color == Color::automatic && isWanted);
}

void Output::json(nlohmann::ordered_json const& object) {
  nlohmann::ordered_json line = {{"version", jsonVersion}};
  line.update(object);
  text_ += line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  text_ += '\n';
  lineDone();
}

void Output::flush() {
  bool const isWritten = std::fwrite(text_.data(), 1, text_.size(), stdout) == text_.size() && std::fflush(stdout) == 0;
  text_.clear();
  if (!isWritten) {
    throw Failure(Exit::cannotWrite, std::string("cannot write the results: ") + std::strerror(errno));
  }
}

std::string Output::colored(std::string_view text, char const* color) const {
  return isColored_ ? fmt::format("\x1b[{}m{}\x1b[0m", color, text) : std::string(text);
}

void message(std::string_view text) { fmt::print(stderr, "vornacl: {}\n", text); }

std::string counted(std::size_t count, std::string_view what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

}  // namespace Tools
