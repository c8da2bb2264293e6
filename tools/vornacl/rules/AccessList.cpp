#include "tools/vornacl/rules/AccessList.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <unordered_map>

#include <fmt/format.h>

#include "tools/vornacl/rules/AccessListRule.h"
#include "tools/vornacl/rules/Words.h"

namespace Tools {

namespace {

/// What the first words of a line say about the lines behind it.
struct Head {
  Acl::AclType type = Acl::ip;
  RuleGrammar grammar = RuleGrammar::extended;
  std::string_view name;
  std::size_t at = 0;  ///< where the name begins
};

/// Commands that share their first words with lists.
constexpr std::string_view commands[] = {"helper",     "log-update", "logging",    "match-local-traffic",
                                         "persistent", "resequence", "role-based", "rate-limit"};

std::optional<Head> headOfNumbered(std::string_view name, std::size_t at) {
  struct Kind {
    unsigned first, last;
    Acl::AclType type;
    RuleGrammar grammar;
  };
  static constexpr Kind kinds[] = {
      {1, 99, Acl::ip, RuleGrammar::standard},      {100, 199, Acl::ip, RuleGrammar::extended},
      {700, 799, Acl::mac, RuleGrammar::macSource}, {1100, 1199, Acl::mac, RuleGrammar::mac},
      {1300, 1999, Acl::ip, RuleGrammar::standard}, {2000, 2699, Acl::ip, RuleGrammar::extended},
  };
  unsigned number = 0;
  auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  if (error != std::errc() || end != name.data() + name.size()) {
    return std::nullopt;
  }
  for (Kind const& kind : kinds) {
    if (number >= kind.first && number <= kind.last) {
      return Head{kind.type, kind.grammar, name, at};
    }
  }
  return std::nullopt;
}

/// Reads the head of a named list, which must be the whole rest of the line; nothing for other lines.
std::optional<Head> headOfNamed(Cursor& line) {
  struct Kind {
    std::string_view word;
    Acl::AclType type;
    RuleGrammar grammar;
  };
  static constexpr Kind kinds[] = {
      {"ip", Acl::ip, RuleGrammar::extended},
      {"ipv4", Acl::ip, RuleGrammar::extended},
      {"ipv6", Acl::ipv6, RuleGrammar::ipv6},
      {"mac", Acl::mac, RuleGrammar::mac},
      {"ethernet-services", Acl::mac, RuleGrammar::mac},
  };
  for (Kind const& kind : kinds) {
    Cursor ahead = line;
    if (!ahead.wordIf(kind.word) || !ahead.wordIf("access-list") ||
        std::find(std::begin(commands), std::end(commands), ahead.peek()) != std::end(commands)) {
      continue;
    }
    Head head{kind.type, kind.grammar, {}, 0};
    if (kind.type == Acl::ip && ahead.wordIf("standard")) {
      head.grammar = RuleGrammar::standard;
    } else if (kind.type != Acl::ipv6) {
      ahead.wordIf("extended");
    }
    head.at = ahead.position();
    head.name = ahead.word("the name of an access-list");
    ahead.end();
    line = ahead;
    return head;
  }
  return std::nullopt;
}

bool isAction(std::string_view word) { return word == "permit" || word == "deny"; }

/// Whether a line is a rule of a named list, indented or not.
bool isRule(Cursor line) {
  if (isNumber(line.peek())) {
    line.word("");
  }
  return isAction(line.peek());
}

class Reader {
 public:
  Reader(std::string const& name, Refusals& refusals) : refusals_(refusals) {
    result_.file = name;
    result_.form = Form::accessList;
  }

  void line(std::string_view text, std::size_t number) {
    Cursor line(text, result_.file, number);
    line.skipBlanks();
    if (line.atEnd() || line.rest().starts_with('!')) {
      return;
    }
    bool const isIndented = line.position() > 0;
    if (isIndented ? open_.has_value() : isRule(line)) {
      return entry(line);
    }
    if (!isIndented) {
      command(line);
    }
  }

  RuleSet take() { return std::move(result_); }

 private:
  struct OpenList {
    std::size_t list;
    RuleGrammar grammar;
  };
  struct Numbers {
    std::uint32_t highest = 0;
    std::unordered_map<std::uint32_t, std::size_t> lines;  ///< by sequence number
  };

  void command(Cursor& line) {
    open_.reset();
    if (auto const head = headOfNamed(line)) {
      open_ = OpenList{listOf(*head), head->grammar};
    } else if (line.wordIf("access-list")) {
      numbered(line);
    } else if (line.wordIf("no")) {
      removal(line);
    }
  }

  void numbered(Cursor& line) {
    std::size_t const at = line.position();
    std::string_view const name = line.word("the number of an access-list");
    if (!isAction(line.peek())) {
      return;  // a remark, or a command about all lists
    }
    auto const head = headOfNumbered(name, at);
    if (!head) {
      refusals_.add(line.placeAt(at), line.mismatch(at, "the number of an IPv4 or MAC access-list"));
      return;
    }
    rule(line, {listOf(*head), head->grammar}, std::nullopt);
  }

  /// A list that is taken away before it is written anew is the usual thing; one that stands above is not.
  void removal(Cursor& line) {
    std::size_t const at = line.position();
    auto head = headOfNamed(line);
    if (!head && line.wordIf("access-list")) {
      head = headOfNumbered(line.peek(), line.position());
    }
    if (head && lists_.contains({head->type, std::string(head->name)})) {
      refusals_.add(line.placeAt(at), "this takes away a list that stands above");
    }
  }

  void entry(Cursor& line) {
    static constexpr char const* expected = "\"permit\", \"deny\" or \"remark\"";
    static constexpr std::string_view passedOver[] = {"remark", "statistics", "counters",    "fragments",
                                                      "ignore", "hardware",   "description", "exit"};
    std::size_t const start = line.position();
    if (!open_) {
      line.fail(start, "the name of an access-list before its rules");
    }
    std::optional<std::uint32_t> sequence;
    bool const isNamed = line.wordIf("sequence");
    if (isNamed || isNumber(line.peek())) {
      sequence = numberWord(line, maxSequence, sequenceExpected);
    }
    if (isAction(line.peek())) {
      rule(line, *open_, sequence);
    } else if (std::find(std::begin(passedOver), std::end(passedOver), line.peek()) == std::end(passedOver)) {
      refusals_.add(line.placeAt(line.position()), line.mismatch(line.position(), expected));
    }
  }

  void rule(Cursor& line, OpenList const& to, std::optional<std::uint32_t> sequence) {
    Numbers& numbers = numbers_[to.list];
    Acl::Action const action = line.word("") == "permit" ? Acl::permit : Acl::deny;
    std::size_t const start = line.position();
    try {
      AccessListRule read = readAccessListRule(line, to.grammar, action);
      sequence = number(line, start, numbers, read.sequence ? read.sequence : sequence);
      auto const [taken, isNew] = numbers.lines.emplace(*sequence, line.lineNumber());
      if (!isNew) {
        throw Refused{start + 1, fmt::format("line {} has the number {} already", taken->second, *sequence)};
      }
      result_.rules.push_back({to.list, {*sequence, 0, 0}, line.lineNumber(), std::move(read.rule)});
    } catch (Refused const& refused) {
      sequence = number(line, start, numbers, sequence);
      refusals_.add({result_.file, line.lineNumber(), refused.column}, refused.reason);
    }
    numbers.highest = std::max(numbers.highest, *sequence);
  }
  static std::uint32_t number(Cursor const& line, std::size_t start, Numbers const& numbers,
                              std::optional<std::uint32_t> given) {
    if (!given && numbers.highest > maxSequence - 10) {
      line.fail(start, "a sequence number, since the highest so far leaves no room for the next");
    }
    return given ? *given : numbers.highest + 10;
  }

  std::size_t listOf(Head const& head) {
    auto const [known, isNew] = lists_.emplace(std::pair(head.type, std::string(head.name)), result_.lists.size());
    if (isNew) {
      result_.lists.push_back({head.type, std::string(head.name)});
      numbers_.emplace_back();
    }
    return known->second;
  }

  Refusals& refusals_;
  RuleSet result_;
  std::map<std::pair<Acl::AclType, std::string>, std::size_t> lists_;
  std::vector<Numbers> numbers_;  ///< by list
  std::optional<OpenList> open_;
};

}  // namespace

bool hasAccessList(std::string_view text) {
  constexpr std::string_view wanted = "access-list";
  while (!text.empty()) {
    Cursor line(takeLine(text), "", 0);
    if (line.peek() == wanted || (!line.peek().empty() && (line.word(""), line.peek() == wanted))) {
      return true;
    }
  }
  return false;
}

RuleSet readAccessLists(std::string_view text, std::string const& name, Refusals& refusals) {
  Reader reader(name, refusals);
  for (std::size_t number = 1; !text.empty(); ++number) {
    reader.line(takeLine(text), number);
  }
  return reader.take();
}

}  // namespace Tools
