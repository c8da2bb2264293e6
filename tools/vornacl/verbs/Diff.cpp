// diff: what differs between the rules of two files.
#include "tools/vornacl/match/Diff.h"

#include <map>

#include <nlohmann/json.hpp>

#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/verbs/FileOptions.h"
#include "tools/vornacl/verbs/RuleText.h"

namespace Tools {

namespace {

struct DiffOptions : FileOptions {
  std::string a, b;
  bool isJson = false;
};

/// Two lists that are compared; one that has no partner is compared with nothing.
struct Pair {
  RuleList const* a = nullptr;
  RuleList const* b = nullptr;
};

/// Pairs lists of one kind and name, then those that are alone of their kind in both files.
std::vector<Pair> pairsOf(std::vector<RuleList> const& a, std::vector<RuleList> const& b) {
  std::vector<Pair> pairs;
  std::map<Acl::AclType, std::vector<std::size_t>> alone;  // pairs that have but one list
  auto const add = [&](RuleList const& list, bool isA) {
    auto const partner = std::find_if(pairs.begin(), pairs.end(), [&](Pair const& pair) {
      return !isA && pair.b == nullptr && pair.a->list->type == list.list->type &&
             pair.a->list->name == list.list->name;
    });
    if (partner != pairs.end()) {
      partner->b = &list;
    } else {
      pairs.push_back(isA ? Pair{&list, nullptr} : Pair{nullptr, &list});
    }
  };
  for (RuleList const& list : a) {
    add(list, true);
  }
  for (RuleList const& list : b) {
    add(list, false);
  }
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    if (pairs[i].a == nullptr || pairs[i].b == nullptr) {
      alone[(pairs[i].a != nullptr ? pairs[i].a : pairs[i].b)->list->type].push_back(i);
    }
  }
  for (auto const& [type, of] : alone) {
    if (of.size() == 2 && pairs[of[0]].a != nullptr && pairs[of[1]].b != nullptr) {
      pairs[of[0]].b = pairs[of[1]].b;
      pairs[of[1]] = {};
    }
  }
  std::erase_if(pairs, [](Pair const& pair) { return pair.a == nullptr && pair.b == nullptr; });
  return pairs;
}

class Teller {
 public:
  Teller(bool isJson, Output& output) : isJson_(isJson), output_(output) {}

  void tell(Pair const& pair) {
    RuleList const nothing;
    RuleList const& a = pair.a != nullptr ? *pair.a : nothing;
    RuleList const& b = pair.b != nullptr ? *pair.b : nothing;
    ListDiff const found = diff(a, b);
    for (Difference const& difference : found.differences) {
      ++counts_[nameOf(difference.kind)];
      isJson_ ? tellJson(difference, a, b) : tellText(difference, a, b);
    }
    if (found.renumbered > 0) {
      counts_["renumbered"] += found.renumbered;
      if (isJson_) {
        output_.json({{"event", "renumbered"}, {"list", a.list->name}, {"rules", found.renumbered}});
      } else {
        output_.line("{}: {} with other numbers", a.list->name, counted(found.renumbered, "rule"));
      }
    }
  }

  bool areEqual() const { return counts_.empty(); }
  std::string summary() const {
    std::string text;
    for (auto const& [name, count] : counts_) {
      text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, name);
    }
    return text.empty() ? "equal" : isReordered() ? "equal but for the order: " + text : text;
  }

 private:
  bool isReordered() const { return counts_.contains("moved") && !has("removed") && !has("added") && !has("split"); }
  bool has(char const* name) const { return counts_.contains(name); }

  void tellText(Difference const& difference, RuleList const& a, RuleList const& b) {
    bool const isOne = difference.from.empty() || difference.to.empty();
    if (!isOne) {
      output_.line("{}:", nameOf(difference.kind));
    }
    char const* const indent = isOne ? "" : "  ";
    for (std::uint32_t const rule : difference.from) {
      output_.line("{}{}", indent, output_.colored("- " + textOf(a, *a.rules[rule].rule), "31"));
    }
    for (std::uint32_t const rule : difference.to) {
      output_.line("{}{}", indent, output_.colored("+ " + textOf(b, *b.rules[rule].rule), "32"));
    }
  }
  void tellJson(Difference const& difference, RuleList const& a, RuleList const& b) {
    auto const rulesOf = [](RuleList const& list, std::vector<std::uint32_t> const& rules) {
      nlohmann::ordered_json array = nlohmann::ordered_json::array();
      for (std::uint32_t const rule : rules) {
        array.push_back(jsonOf(list, *list.rules[rule].rule));
      }
      return array;
    };
    output_.json(
        {{"event", nameOf(difference.kind)}, {"from", rulesOf(a, difference.from)}, {"to", rulesOf(b, difference.to)}});
  }

  bool isJson_;
  Output& output_;
  std::map<std::string, std::size_t> counts_;
};

Exit diffFiles(DiffOptions const& options, Output& output) {
  Refusals refusals(options.skips);
  RuleSet const a = options.readFile(options.a, refusals);
  RuleSet const b = options.readFile(options.b, refusals);
  options.tell(refusals);
  auto const listsOfA = ruleListsOf(a);
  auto const listsOfB = ruleListsOf(b);
  Teller teller(options.isJson, output);
  for (Pair const& pair : pairsOf(listsOfA, listsOfB)) {
    teller.tell(pair);
  }
  message(teller.summary());
  return teller.areEqual() ? Exit::done : Exit::differs;
}

}  // namespace

Run declareDiff(CLI::App& app) {
  auto const options = std::make_shared<DiffOptions>();
  app.add_option("A", options->a, sourceHelp)->required();
  app.add_option("B", options->b, "Another one")->required();
  options->declare(app);
  app.add_flag("--json", options->isJson, "Tell each difference as an object on a line");
  app.footer(
      "Compares lists of one kind and name, or those that are alone of their kind in both files, rule by rule:\n"
      "  removed     a rule of A only\n"
      "  added       a rule of B only\n"
      "  moved       a rule of both at another place among those that stayed\n"
      "  split       rules of both that match and do the same, divided in another way\n"
      "  renumbered  how many rules have another number at the same place\n"
      "Status 1 if there is any difference.");
  return [options](Output& output) { return diffFiles(*options, output); };
}

}  // namespace Tools
