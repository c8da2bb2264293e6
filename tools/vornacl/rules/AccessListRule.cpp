#include "tools/vornacl/rules/AccessListRule.h"

namespace Tools {

AccessListRule readAccessListRule(Cursor& line, RuleGrammar grammar, Acl::Action action) {
  bool const isMac = grammar == RuleGrammar::mac || grammar == RuleGrammar::macSource;
  AccessListRule result = isMac ? readMacRule(line, grammar) : readIpRule(line, grammar);
  std::visit([&](auto& rule) { rule.config.actionIs(action); }, result.rule);
  return result;
}

}  // namespace Tools
