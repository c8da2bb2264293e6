#include "tools/vornacl/verbs/RuleText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/vornacl/rules/Describe.h"

namespace Tools {

std::string textOf(RuleList const& list, ListedRule const& rule) {
  return fmt::format("{}:{}: {} {} {}", list.set->file, rule.line, list.list->name, positionText(rule.position),
                     describe(rule));
}

nlohmann::ordered_json jsonOf(RuleList const& list, ListedRule const& rule) {
  return {{"file", list.set->file},
          {"line", rule.line},
          {"type", stringValue(list.list->type).view()},
          {"list", list.list->name},
          {"number", positionText(rule.position)},
          {"text", describe(rule)}};
}

}  // namespace Tools
