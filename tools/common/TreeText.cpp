#include "tools/common/TreeText.h"

namespace Tools {

namespace {

/// Writes an entity and all that is below it.
class Dumper {
 public:
  Dumper(std::string& text, std::function<void()> const& lineDone) : text_(text), lineDone_(lineDone) {}

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
        line(path, d.name, [&] { text_ += "null"; });
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
    text_.append(path).append("\t").append(name).append("\t");
    rest();
    text_ += '\n';
    lineDone_();
  }
  template <class T>
  void append(T const& value) {
    Kro::appendStrep(text_, value);
  }
  template <class K, class T>
  void append(K const& key, T const& value) {
    append(key);
    text_ += '\t';
    append(value);
  }

  std::string& text_;
  std::function<void()> const& lineDone_;
};

/// Writes an entity that is of one of these types.
template <class... X>
void appendAny(Kro::Entity const& entity, Dumper& dumper, std::tuple<std::type_identity<X>...>) {
  auto const append = [&](auto const* typed) {
    if (typed != nullptr) {
      dumper.entity(*typed);
    }
    return typed != nullptr;
  };
  (append(dynamic_cast<X const*>(&entity)) || ...);
}

}  // namespace

void appendTree(std::string& text, Kro::Entity const& entity, std::function<void()> const& lineDone) {
  Dumper dumper(text, lineDone);
  appendAny(entity, dumper, EntityTypes());
}

}  // namespace Tools
