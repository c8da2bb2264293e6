// check: finds rules that no packet meets, because others stand in front of them.
#include "tools/vornacl/match/Check.h"

#include <map>

#include <nlohmann/json.hpp>

#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/verbs/FileOptions.h"
#include "tools/vornacl/verbs/RuleText.h"

namespace Tools {

namespace {

struct CheckOptions : FileOptions {
  std::vector<std::string> files;
  bool isJson = false;
};

/// How many rules have which verdict.
using Counts = std::map<Verdict::Kind, std::size_t>;

void tell(RuleList const& list, std::uint32_t index, Verdict const& verdict, bool isJson, Output& output) {
  ListedRule const& rule = *list.rules[index].rule;
  if (isJson) {
    nlohmann::ordered_json by = nlohmann::ordered_json::array();
    for (std::uint32_t const earlier : verdict.by) {
      by.push_back(jsonOf(list, *list.rules[earlier].rule));
    }
    output.json({{"event", nameOf(verdict.kind)}, {"rule", jsonOf(list, rule)}, {"by", by}});
    return;
  }
  output.line("{}: {}", output.colored(nameOf(verdict.kind), verdict.kind == Verdict::contradiction ? "31" : "33"),
              textOf(list, rule));
  for (std::uint32_t const earlier : verdict.by) {
    output.line("  by {}", textOf(list, *list.rules[earlier].rule));
  }
}

std::string summary(std::size_t lists, std::size_t rules, Counts const& counts) {
  std::string text = counted(rules, "rule") + " in " + counted(lists, "list");
  for (auto const& [kind, count] : counts) {
    text += fmt::format(", {} {}", count, nameOf(kind));
  }
  return text;
}

Exit checkFiles(CheckOptions const& options, Output& output) {
  Refusals refusals(options.skips);
  Counts counts;
  std::size_t lists = 0;
  std::size_t rules = 0;
  for (std::string const& file : options.files) {
    RuleSet const set = options.readFile(file, refusals);
    for (RuleList const& list : ruleListsOf(set)) {
      auto const verdicts = check(list);
      for (std::uint32_t i = 0; i < verdicts.size(); ++i) {
        ++counts[verdicts[i].kind];
        if (verdicts[i].kind != Verdict::met) {
          tell(list, i, verdicts[i], options.isJson, output);
        }
      }
      ++lists;
      rules += verdicts.size();
    }
  }
  options.tell(refusals);
  message(summary(lists, rules, counts));
  return counts[Verdict::met] + counts[Verdict::undecided] == rules ? Exit::done : Exit::differs;
}

}  // namespace

Run declareCheck(CLI::App& app) {
  auto const options = std::make_shared<CheckOptions>();
  app.add_option("FILE", options->files, sourceHelp)->required();
  options->declare(app);
  app.add_flag("--json", options->isJson, "Tell each rule as an object on a line");
  app.footer(
      "Tells each rule that no packet meets first, with the earlier rules that keep packets from it:\n"
      "  duplicate         an earlier one matches the same and does the same\n"
      "  contradiction     an earlier one matches all that it does, and does the opposite\n"
      "  covered           an earlier one matches all that it does and more, and does the same\n"
      "  covered-together  several earlier ones together match all that it does\n"
      "  empty             it matches nothing by itself\n"
      "  undecided         whether several cover it takes too long to find out\n"
      "Status 1 if there are any but undecided ones.");
  return [options](Output& output) { return checkFiles(*options, output); };
}

}  // namespace Tools
