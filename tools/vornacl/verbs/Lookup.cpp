// lookup: which rule of each list a packet meets first, and which it passes over.
#include <algorithm>

#include <nlohmann/json.hpp>

#include "tools/common/Cursor.h"
#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/match/Packet.h"
#include "tools/vornacl/match/RuleList.h"
#include "tools/vornacl/rules/Describe.h"
#include "tools/vornacl/verbs/FileOptions.h"
#include "tools/vornacl/verbs/RuleText.h"

namespace Tools {

namespace {

struct LookupOptions : FileOptions {
  std::string file;
  std::vector<std::string> packet;
  std::string list;
  std::size_t passed = 10;
  bool isJson = false;
};

/// A rule that a packet passes over, and the fields that keep it out.
struct Passed {
  std::uint32_t rule = 0;
  std::vector<std::string_view> fields;
};

/// The fields of the box that keeps a packet out by the fewest.
std::vector<std::string_view> fieldsOf(MatchedRule const& rule, Cell const& packet) {
  std::vector<std::string_view> fewest;
  for (Cell const& cell : rule.cells) {
    auto fields = differences(cell, packet);
    if (fewest.empty() || fields.size() < fewest.size()) {
      fewest = std::move(fields);
    }
  }
  return fewest;
}

/// Of the first `count` rules those that came closest to a match, at most `most` of them, in their order.
std::vector<Passed> closest(RuleList const& list, std::uint32_t count, Cell const& packet, std::size_t most) {
  std::vector<Passed> passed;
  for (std::uint32_t i = 0; most > 0 && i < count; ++i) {
    passed.push_back({i, fieldsOf(list.rules[i], packet)});
  }
  std::stable_sort(passed.begin(), passed.end(),
                   [](auto const& a, auto const& b) { return a.fields.size() < b.fields.size(); });
  passed.resize(std::min(passed.size(), most));
  std::sort(passed.begin(), passed.end(), [](auto const& a, auto const& b) { return a.rule < b.rule; });
  return passed;
}

class Lookup {
 public:
  Lookup(LookupOptions const& options, RuleSet const& set, Output& output) : options_(options), output_(output) {
    for (RuleList& list : ruleListsOf(set)) {
      if (options.list.empty() || list.list->name == options.list) {
        indices_.push_back(list.index());
        lists_.push_back(std::move(list));
      }
    }
    if (lists_.empty()) {
      throw Failure(Exit::notFound, options.file + ": there is no such list");
    }
  }

  /// Returns whether the packet meets a rule of any list.
  bool look(Packet const& packet, std::string_view text) {
    bool isMet = false;
    bool isOfAKind = false;
    for (std::size_t i = 0; i < lists_.size(); ++i) {
      if (lists_[i].list->type == packet.type) {
        std::uint32_t const first = indices_[i].firstContaining(packet.cell);
        isOfAKind = true;
        isMet |= first != RuleIndex::none;
        tell(lists_[i], first, packet, text);
      }
    }
    if (!isOfAKind) {
      throw Failure(Exit::notFound, options_.file + ": there is no list for packets with such addresses");
    }
    return isMet;
  }

 private:
  void tell(RuleList const& list, std::uint32_t first, Packet const& packet, std::string_view text) {
    bool const isMet = first != RuleIndex::none;
    auto const count = isMet ? first : static_cast<std::uint32_t>(list.rules.size());
    auto const passed = closest(list, count, packet.cell, options_.passed);
    if (options_.isJson) {
      return tellJson(list, first, count, passed, text);
    }
    std::string const of = fmt::format("passed over {} of {}", count, list.rules.size());
    if (isMet) {
      bool const isPermitted = list.rules[first].action() == Acl::permit;
      output_.line("{} ({})", output_.colored(textOf(list, *list.rules[first].rule), isPermitted ? "32" : "31"), of);
    } else {
      output_.line("{}: {}: no rule matches ({})", list.set->file, list.list->name, of);
    }
    for (Passed const& one : passed) {
      output_.line("  not {}: {}", fmt::join(one.fields, ", "), textOf(list, *list.rules[one.rule].rule));
    }
  }
  void tellJson(RuleList const& list, std::uint32_t first, std::uint32_t count, std::vector<Passed> const& passed,
                std::string_view text) {
    nlohmann::ordered_json closestRules = nlohmann::ordered_json::array();
    for (Passed const& one : passed) {
      auto rule = jsonOf(list, *list.rules[one.rule].rule);
      rule["fields"] = one.fields;
      closestRules.push_back(std::move(rule));
    }
    output_.json({{"event", first != RuleIndex::none ? "match" : "none"},
                  {"packet", text},
                  {"list", list.list->name},
                  {"rule", first != RuleIndex::none ? jsonOf(list, *list.rules[first].rule) : nullptr},
                  {"passed", count},
                  {"closest", closestRules}});
  }

  LookupOptions const& options_;
  Output& output_;
  std::vector<RuleList> lists_;
  std::vector<RuleIndex> indices_;
};

Exit lookup(LookupOptions const& options, Output& output) {
  Refusals refusals(options.skips);
  RuleSet const set = options.readFile(options.file, refusals);
  options.tell(refusals);
  Lookup lookup(options, set, output);
  bool isMet = true;
  if (options.packet == std::vector<std::string>{standardInput}) {
    std::string const text = readText(standardInput);
    std::string_view rest = text;
    for (std::size_t number = 1; !rest.empty(); ++number) {
      std::string_view const line = takeLine(rest);
      isMet &= lookup.look(readPacket(line, standardInput, number), line);
    }
  } else {
    std::string const text = fmt::format("{}", fmt::join(options.packet, " "));
    isMet = lookup.look(readPacket(text, "PACKET"), text);
  }
  return isMet ? Exit::done : Exit::differs;
}

}  // namespace

Run declareLookup(CLI::App& app) {
  auto const options = std::make_shared<LookupOptions>();
  app.add_option("FILE", options->file, sourceHelp)->required();
  app.add_option("PACKET", options->packet, "Fields of a packet; \"-\" reads packets from standard input, one a line")
      ->required();
  options->declare(app);
  app.add_option("--list", options->list, "Look in the list of this name alone")->type_name("NAME");
  app.add_option("--passed", options->passed,
                 "Show this many of the rules that the packet passes over, those that come closest to a match (10)")
      ->type_name("N");
  app.add_flag("--json", options->isJson, "Tell what is met in each list as an object on a line");
  app.footer(
      "PACKET is made of KEY=VALUE, with blanks or commas between:\n"
      "  src, dst      addresses, IPv4, IPv6 or Ethernet; both must be there\n"
      "  proto         a protocol by its name or number\n"
      "  sport, dport  ports\n"
      "  flags         TCP flags, as syn+ack\n"
      "  icmp          TYPE or TYPE/CODE\n"
      "  dscp, ttl     numbers\n"
      "  fragment      without a value: not the first fragment of its packet\n"
      "  ethertype     as 0x0806\n"
      "What is left out is 0. Status 1 if the packet meets no rule of any list.");
  return [options](Output& output) { return lookup(*options, output); };
}

}  // namespace Tools
