// Results go to standard output, messages to standard error.
#pragma once

#include <string>
#include <string_view>

#include <fmt/format.h>
#include <nlohmann/json_fwd.hpp>

namespace Tools {

enum class Color { never, always, automatic };

/// Collects results and writes them in large pieces. A write that fails throws `Failure`.
class Output {
 public:
  /// The version of what `json` writes. It changes when a field goes, or means something else; not when one is added.
  static constexpr int jsonVersion = 1;

  void colorIs(Color color);

  /// The text to append results to; `lineDone` behind each line.
  std::string& text() { return text_; }
  void lineDone() {
    if (text_.size() > (1U << 16)) {
      flush();
    }
  }
  template <class... Arguments>
  void line(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(text_), format, std::forward<Arguments>(arguments)...);
    text_ += '\n';
    lineDone();
  }
  /// An object on a line of its own, "version" in front of its fields.
  void json(nlohmann::ordered_json const& object);
  /// Writes what is collected.
  void flush();

  /// The text in a color of ANSI X3.64, "31" is red, where colors are wanted.
  std::string colored(std::string_view text, char const* color) const;

 private:
  std::string text_;
  bool isColored_ = false;
};

/// A line on standard error.
void message(std::string_view text);

/// "1 rule", "2 rules"
std::string counted(std::size_t count, std::string_view what);

}  // namespace Tools
