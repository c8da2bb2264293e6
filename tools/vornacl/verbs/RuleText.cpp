#include "tools/vornacl/verbs/RuleText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/vornacl/rules/Describe.h"

namespace Tools {

std::string textOf(RuleList const& list, ListedRule const& rule) {
  std::string const line = rule.line > 0 ? fmt::format(":{}", rule.line) : "";
  return fmt::format("{}{}: {} {} {}", list.set->file, line, list.list->name, positionText(rule.position),
                     describe(rule));
}

nlohmann::ordered_json jsonOf(RuleList const& list, ListedRule const& rule) {
  nlohmann::ordered_json object = {{"file", list.set->file}};
  if (rule.line > 0) {
    object["line"] = rule.line;
  }
  object.update({{"type", stringValue(list.list->type).view()},
                 {"list", list.list->name},
                 {"number", positionText(rule.position)},
                 {"text", describe(rule)}});
  return object;
}

}  // namespace Tools
