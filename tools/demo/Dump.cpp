#include "tools/demo/Dump.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "tools/common/ClassBench.h"

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

/// Writes an entity and all that is below it.
class Dumper {
 public:
  explicit Dumper(Writer& writer) : writer_(writer) {}

  template <class X>
  void entity(X const& x) {
    std::string const path(x.fullName().view());
    line(path, "name", [&] { append(x.name()); });
    Kro::forEachEntityAttribute<X>([&](auto const& d) { attribute(x, path, d); });
  }

 private:
  template <class X, class D>
  void attribute(X const& x, std::string const& path, D const& d) {
    using Kind = Kro::AttributeKind;
    if constexpr (D::kind == Kind::parameter || D::kind == Kind::scalar || D::kind == Kind::counter) {
      line(path, d.name, [&] { append((x.*d.get)()); });
    } else if constexpr (D::kind == Kind::child) {
      if (auto const child = (x.*d.get)()) {
        entity(*child);
      } else {
        line(path, d.name, [&] { writer_.text() += "null"; });
      }
    } else if constexpr (D::kind == Kind::values) {
      for (auto const& record : x.*d.field) {
        line(path, d.name, [&] { append(record.key(), record.value()); });
      }
    } else if constexpr (D::kind == Kind::members) {
      for (auto const& member : inOrderOfKeys(x.*d.field)) {
        entity(*member);
      }
    } else if constexpr (D::kind == Kind::references) {
      for (auto const& record : inOrderOfKeys(x.*d.field)) {
        line(path, d.name, [&] { append(D::Record::KroHashLink::key(*record), record->referenced()->fullName()); });
      }
    }
  }

  template <class Rest>
  void line(std::string const& path, std::string_view name, Rest rest) {
    writer_.text().append(path).append("\t").append(name).append("\t");
    rest();
    writer_.text() += '\n';
    writer_.lineDone();
  }
  template <class T>
  void append(T const& value) {
    Kro::Codec<T>::strep(writer_.text(), value);
  }
  template <class K, class T>
  void append(K const& key, T const& value) {
    append(key);
    writer_.text() += '\t';
    append(value);
  }

  Writer& writer_;
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
  Dumper(writer).entity(*tree);
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
