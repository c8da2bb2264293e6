#include "tools/common/Types.h"

#include <algorithm>
#include <array>
#include <vector>

#include "runtime/reflection/IntrospectionReactor.h"

namespace Tools {

namespace {

using Row = std::array<std::string, 5>;

template <class Text>
std::string text(Text const& from) {
  return std::string(std::string_view(from.view()));
}

std::string typeName(Kro::Ptr<Kro::KroType const> const& type) { return type ? text(type->fullName()) : "-"; }

/// Whether a name is the full name of a type, or the last part of it.
bool isCalled(Kro::KroType const& type, std::string_view name) {
  std::string_view const full = type.fullName().view();
  return full == name || (full.ends_with(name) && full.substr(0, full.size() - name.size()).ends_with("::"));
}

/// "(name type, name type)"
template <class Size, class At>
std::string parameters(Size size, At at) {
  std::string result = "(";
  for (Size i = 0; i < size; ++i) {
    auto const [name, type] = at(i);
    result += i > 0 ? ", " : "";
    result += name + " " + type;
  }
  return result + ")";
}

std::string lastColumn(Kro::KroAttr const& attribute) {
  if (attribute.toolKeyType()) {
    return "by " + typeName(attribute.toolKeyType());
  }
  auto const& arguments = attribute.arguments();
  if (arguments.empty()) {
    return "";
  }
  return parameters(arguments.size(),
                    [&](std::size_t i) { return std::pair(text(arguments[i].name), text(arguments[i].typeName)); });
}

Row rowOf(Kro::KroAttr const& attribute) {
  return {std::to_string(attribute.id()), text(attribute.name()), text(attribute.toolKind()),
          typeName(attribute.attrType()), lastColumn(attribute)};
}

std::string heading(Kro::KroType const& type) {
  std::string result = typeName(Kro::share(&type));
  auto const& names = type.constructorArgNameQ();
  if (!names.empty()) {
    auto const& types = type.constructorArgTypeQ();
    result += parameters(names.size(), [&](std::size_t i) { return std::pair(text(names[i]), text(types[i])); });
  }
  return result += type.isEntity() ? ": entity" : ": value";
}

}  // namespace

std::vector<std::string> typeNames() {
  std::vector<std::string> names;
  for (auto const& type : Kro::IntrospectionReactor::global()->types()) {
    names.push_back(typeName(type));
  }
  return names;
}

std::string typesText(std::string_view name) {
  auto types = Kro::IntrospectionReactor::global()->types();
  std::erase_if(types, [&](auto const& type) { return !name.empty() && !isCalled(*type, name); });
  Row::size_type const columns = std::tuple_size_v<Row>;
  std::array<std::size_t, std::tuple_size_v<Row>> widths{};
  std::vector<std::vector<Row>> tables;
  for (auto const& type : types) {
    tables.emplace_back();
    for (auto const& attribute : type->attributeQ()) {
      tables.back().push_back(rowOf(*attribute));
      for (std::size_t i = 0; i < columns; ++i) {
        widths[i] = std::max(widths[i], tables.back().back()[i].size());
      }
    }
  }
  std::string result;
  for (std::size_t n = 0; n < types.size(); ++n) {
    result += (n > 0 ? "\n" : "") + heading(*types[n]) + "\n";
    for (Row const& row : tables[n]) {
      std::string line(2 + widths[0] - row[0].size(), ' ');  // numbers stand to the right
      line += row[0];
      for (std::size_t i = 1; i < columns; ++i) {
        line += "  " + row[i] + std::string(widths[i] - row[i].size(), ' ');
      }
      result += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
  }
  return result;
}

}  // namespace Tools
