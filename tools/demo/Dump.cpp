#include "tools/demo/Dump.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "tools/common/ClassBench.h"
#include "tools/common/TreeText.h"

namespace Demo {

namespace {

/// Collects text and writes it in large pieces.
class Writer {
 public:
  explicit Writer(std::FILE* to) : to_(to) {}

  std::string& text() { return text_; }
  void lineDone() {
    if (text_.size() > (1U << 16)) {
      flush();
    }
  }
  void flush() {
    if (std::fwrite(text_.data(), 1, text_.size(), to_) != text_.size() || std::fflush(to_) != 0) {
      throw std::system_error(errno, std::generic_category(), "cannot write the rules");
    }
    text_.clear();
  }

 private:
  std::FILE* to_;
  std::string text_;
};

/// The line from shortly before column `at`, which is the first that differs.
std::string excerpt(std::string_view line, std::size_t at) {
  constexpr std::size_t before = 24;
  constexpr std::size_t after = 40;
  std::size_t const start = at > before ? at - before : 0;
  std::string text = start > 0 ? "..." : "";
  text += line.substr(start, at - start + after);
  return text += at + after < line.size() ? "..." : "";
}

/// The columns that tell which line this is.
std::string_view nameOf(std::string_view line) { return line.substr(0, line.rfind('\t')); }

}  // namespace

void writeDump(Tree const& tree, std::FILE* to) {
  Writer writer(to);
  Tools::appendTree(writer.text(), *tree, [&] { writer.lineDone(); });
  writer.flush();
}

void writeCanonicalLines(Tree const& tree, std::FILE* to) {
  Writer writer(to);
  for (auto const& acl : aclsOf(tree)) {
    for (auto const& record : acl->ipRuleByIdMap()) {
      Tools::appendCanonicalLine(writer.text(), record.key().ruleId(), record.value());
      writer.lineDone();
    }
  }
  writer.flush();
}

std::optional<std::string> firstDifference(std::string_view source, std::string_view mirror) {
  if (source == mirror) {
    return std::nullopt;
  }
  auto const differing = std::mismatch(source.begin(), source.end(), mirror.begin(), mirror.end()).first;
  auto const at = static_cast<std::size_t>(differing - source.begin());
  std::size_t const start = source.substr(0, at).rfind('\n') + 1;
  auto const lineAt = [start](std::string_view text) { return text.substr(start, text.find('\n', start) - start); };
  auto const shown = [&](std::string_view text) {
    return start < text.size() ? '"' + excerpt(lineAt(text), at - start) + '"' : std::string("nothing");
  };
  std::string text = "line ";
  text += std::to_string(1 + std::count(source.begin(), differing, '\n'));
  text.append(", ").append(nameOf(lineAt(start < source.size() ? source : mirror)));
  text.append(": ").append(shown(source)).append(" in the source, ").append(shown(mirror)).append(" in the mirror");
  std::replace(text.begin(), text.end(), '\t', ' ');
  return text;
}

}  // namespace Demo
