#include "tools/vornacl/verbs/TreeView.h"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "runtime/reflection/EntityReflection.h"
#include "tools/common/TreeText.h"
#include "tools/vornacl/rules/Describe.h"
#include "tools/vornacl/rules/Loader.h"
#include "tools/vornacl/rules/TreeReader.h"
#include "tools/vornacl/verbs/LiveAttribute.h"

namespace Tools {

namespace {

std::string textOf(Kro::String8 const& from) { return std::string(from.view()); }

/// Each line of the text of an entity as an object.
void tellJson(Kro::Entity const& entity, Output& output) {
  std::string line;
  appendTree(line, entity, [&] {
    line.pop_back();
    std::vector<std::string> fields;
    for (std::size_t at = 0; at <= line.size();) {
      std::size_t const tab = std::min(line.find('\t', at), line.size());
      fields.push_back(line.substr(at, tab - at));
      at = tab + 1;
    }
    nlohmann::ordered_json object = {{"event", "value"}, {"path", fields.at(0)}, {"attribute", fields.at(1)}};
    if (fields.size() > 3) {
      object["key"] = fields[2];
    }
    object["value"] = fields.back();
    output.json(object);
    line.clear();
  });
}

/// Rows in columns that are as wide as they must be.
void tellTable(std::vector<std::array<std::string, 4>> const& rows, Output& output) {
  std::array<std::size_t, 4> widths{};
  for (auto const& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], row[i].size());
    }
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    auto const& row = rows[i];
    std::string const line =
        fmt::format("{:<{}}  {:<{}}  {:>{}}  {}", row[0], widths[0], row[1], widths[1], row[2], widths[2], row[3]);
    output.line("{}", i == 0 ? output.colored(line, "1") : line);
  }
}

/// The ACLs below an entity, and of one ACL its rules.
void tellTable(Tree const& tree, Kro::Entity const& entity, Output& output) {
  auto acls = aclsOf(tree);
  std::string const path = textOf(entity.fullName());
  std::erase_if(acls, [&](auto const& acl) { return !isWithin(acl->fullName().view(), path); });
  if (dynamic_cast<Vorn::VornAcl const*>(&entity) != nullptr) {
    for (RuleSet const set = ruleSetOf(tree, {}, std::move(acls)); ListedRule const& rule : set.rules) {
      output.line("{:>6}  {}", positionText(rule.position), describe(rule));
    }
    return;
  }
  std::vector<std::array<std::string, 4>> rows{{"TYPE", "NAME", "RULES", "PATH"}};
  for (auto const& acl : acls) {
    rows.push_back({textOf(stringValue(acl->aclType())), textOf(acl->cliName().string()),
                    std::to_string(ruleCountOf(*acl)), textOf(acl->fullName())});
  }
  tellTable(rows, output);
}

}  // namespace

void TreeView::declare(CLI::App& app) {
  auto* const at = app.add_option("PATH", path, "Only this entity and what is below it");
  auto* const text = app.add_flag("--text", isText, "Print the whole tree as text that load reads again");
  auto* const json = app.add_flag("--json", isJson, "Tell each attribute of each entity as an object on a line");
  text->excludes(at)->excludes(json);
  app.add_flag("--table", isTable, "A table of the ACLs, or of one ACL its rules; so without this")
      ->excludes(text)
      ->excludes(json);
}

void TreeView::tell(Tree const& tree, Output& output) const {
  auto const reflection = Kro::ptrCast<Kro::GenericIfEntity>(reflectionAt(tree, path));
  Kro::Entity const& entity = *reflection->rawEntity();
  if (isText) {
    appendTreeText(output.text(), tree, [&] { output.lineDone(); });
  } else if (isJson) {
    tellJson(entity, output);
  } else {
    tellTable(tree, entity, output);
  }
}

}  // namespace Tools
