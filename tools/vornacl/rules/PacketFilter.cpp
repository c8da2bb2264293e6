#include "tools/vornacl/rules/PacketFilter.h"

#include <map>

#include <fmt/format.h>

#include "tools/vornacl/rules/PacketFilterRule.h"
#include "tools/vornacl/rules/Words.h"

namespace Tools {

namespace {

constexpr char const* tableExpected = "a table, as \"*filter\"";

/// The family is told in the comment in front, or else by the first address.
Dorix::IpFamily familyOf(std::string_view text) {
  while (!text.empty()) {
    std::string_view const line = takeLine(text);
    if (line.starts_with('#') && line.find("tables-save") != std::string_view::npos) {
      return line.find("ip6tables") != std::string_view::npos ? Dorix::IpFamily::ipv6 : Dorix::IpFamily::ipv4;
    }
    for (std::string_view const option : {" -s ", " -d "}) {
      if (std::size_t const at = line.find(option); at != std::string_view::npos) {
        std::string_view const address = line.substr(at + option.size());
        return address.substr(0, address.find(' ')).find(':') != std::string_view::npos ? Dorix::IpFamily::ipv6
                                                                                        : Dorix::IpFamily::ipv4;
      }
    }
  }
  return Dorix::IpFamily::ipv4;
}

class Reader {
 public:
  Reader(std::string_view text, std::string const& name, Refusals& refusals)
      : refusals_(refusals), family_(familyOf(text)) {
    result_.file = name;
    result_.form = Form::packetFilter;
    std::size_t number = 1;
    for (; !text.empty(); ++number) {
      Cursor line(takeLine(text), result_.file, number);
      if (!line.atEnd() && !line.rest().starts_with('#')) {
        read(line);
      }
    }
    if (!table_.empty()) {
      throw BadData({name, number, 0}, "found the end of the file, expected \"COMMIT\" of the table " + table_);
    }
  }

  RuleSet take() { return std::move(result_); }

 private:
  struct Chain {
    std::size_t line = 0;
    bool accepts = false;
    std::uint32_t rules = 0;
    std::optional<std::size_t> list;
  };

  void read(Cursor& line) {
    if (table_.empty()) {
      line.skip("*", tableExpected);
      table_ = line.word("the name of a table");
      line.end();
    } else if (line.skipIf(":")) {
      chain(line);
    } else if (line.wordIf("COMMIT")) {
      line.end();
      commit();
    } else {
      skipCounters(line);
      rule(line);
    }
  }

  void chain(Cursor& line) {
    std::string const name(line.word("the name of a chain"));
    std::size_t const start = line.position();
    std::string_view const policy = line.word("a policy");
    if (policy != "ACCEPT" && policy != "DROP" && policy != "-") {
      line.fail(start, "a policy, \"ACCEPT\", \"DROP\" or \"-\"");
    }
    skipCounters(line);
    line.end();
    chains_[name] = {line.lineNumber(), policy == "ACCEPT", 0, std::nullopt};
  }

  /// Reads "[PACKETS:BYTES]", if it is there.
  static void skipCounters(Cursor& line) {
    constexpr char const* expected = "two numbers, as \"[0:0]\"";
    std::size_t const start = line.position();
    if (line.peek().starts_with('[')) {
      std::string_view const word = line.word(expected);
      if (word.find_first_not_of("[]:0123456789") != std::string_view::npos || !word.ends_with(']')) {
        line.fail(start, expected);
      }
    }
  }

  void rule(Cursor& line) {
    line.skip("-A ", "\"-A\" and the name of a chain, \":\" and one, or \"COMMIT\"");
    line.skipBlanks();
    std::size_t const start = line.position();
    auto const known = chains_.find(std::string(line.word("the name of a chain")));
    if (known == chains_.end()) {
      line.fail(start, "a chain that stands above behind \":\"");
    }
    Chain& chain = known->second;
    ++chain.rules;
    if (!chain.list) {
      chain.list = result_.lists.size();
      result_.lists.push_back({family_ == Dorix::IpFamily::ipv6 ? Acl::ipv6 : Acl::ip, table_ + "." + known->first});
    }
    try {
      add(chain, line.lineNumber(), readPacketFilterRule(line, family_));
    } catch (Refused const& refused) {
      refusals_.add({result_.file, line.lineNumber(), refused.column}, refused.reason);
    }
  }
  void add(Chain const& chain, std::size_t line, IpRule rule) {
    result_.rules.push_back({*chain.list, {chain.rules, 0, 0}, line, std::move(rule)});
  }

  void commit() {
    for (auto& [name, chain] : chains_) {
      if (chain.list && chain.accepts) {
        ++chain.rules;
        IpRule rule = IpRule::any(family_);
        rule.config.actionIs(Acl::permit);
        add(chain, chain.line, std::move(rule));
      }
    }
    chains_.clear();
    table_.clear();
  }

  Refusals& refusals_;
  Dorix::IpFamily family_;
  RuleSet result_;
  std::string table_;  ///< empty outside of one
  std::map<std::string, Chain> chains_;
};

}  // namespace

bool isPacketFilter(std::string_view text) {
  while (!text.empty()) {
    std::string_view const line = takeLine(text);
    if (!line.empty() && !line.starts_with('#')) {
      return line.starts_with('*');
    }
  }
  return false;
}

RuleSet readPacketFilter(std::string_view text, std::string const& name, Refusals& refusals) {
  return Reader(text, name, refusals).take();
}

}  // namespace Tools
