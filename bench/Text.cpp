// One rule as text and back, against snprintf and from_chars of the same text.
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "bench/Bench.h"
#include "bench/Rules.h"

namespace Bench {

namespace {

constexpr std::uint32_t rules = 64;

/// The fields of one rule that the text names, in its order; flags as numbers.
struct TextRule {
  unsigned source[5], destination[5];
  bool fragments;
  unsigned dscp;
  bool matchDscp;
  unsigned proto;
  bool matchProto;
  unsigned sport[2], dport[2], ttl;
  bool includeTtl, flags[6];
  unsigned tcpFlag;
  bool established;
  unsigned icmpType, icmpCode;
  bool l4Rule, permit, log, count;
};

/// Goes through the text of a rule: `io(literal, field)` for the words before each field and the field itself.
template <class Io, class Rule>
void eachField(Io& io, Rule& r) {
  io("Value('Vorn::IpRuleConfig', ** {'filter': Value('Vorn::IpFilter', ** {'source': '", r.source);
  io("', 'destination': '", r.destination);
  io("', 'fragments': ", r.fragments), io(", 'dscp': ", r.dscp), io(", 'matchDscp': ", r.matchDscp);
  io(", 'proto': ", r.proto), io(", 'matchProto': ", r.matchProto);
  io(", 'sportRange': Value('Vorn::L4PortRange', ** {'rangeStart': ", r.sport[0]), io(", 'rangeEnd': ", r.sport[1]);
  io("}), 'dportRange': Value('Vorn::L4PortRange', ** {'rangeStart': ", r.dport[0]), io(", 'rangeEnd': ", r.dport[1]);
  io("}), 'ttl': ", r.ttl), io(", 'includeTtl': ", r.includeTtl);
  io(", 'tcpFlag': Value('Vorn::IpFilter::TcpFlag', ** {'fin': ", r.flags[0]), io(", 'syn': ", r.flags[1]);
  io(", 'rst': ", r.flags[2]), io(", 'psh': ", r.flags[3]), io(", 'ack': ", r.flags[4]), io(", 'urg': ", r.flags[5]);
  io(", 'value': ", r.tcpFlag), io("}), 'established': ", r.established);
  io(", 'icmpType': ", r.icmpType), io(", 'icmpCode': ", r.icmpCode), io(", 'l4Rule': ", r.l4Rule);
  io("}), 'action': ", r.permit);
  io(", 'log': ", r.log), io(", 'count': ", r.count);
}

/// Reads what `eachField` goes through with from_chars.
class Reader {
 public:
  explicit Reader(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

  template <class T>
  void operator()(std::string_view before, T& field) {
    words(before);
    read(field);
  }
  void words(std::string_view expected) {
    if (static_cast<std::size_t>(end_ - at_) < expected.size() ||
        std::memcmp(at_, expected.data(), expected.size()) != 0) {
      throw std::runtime_error("other text expected");
    }
    at_ += expected.size();
  }

 private:
  void read(unsigned& number) {
    auto const done = std::from_chars(at_, end_, number);
    if (done.ec != std::errc()) {
      throw std::runtime_error("number expected");
    }
    at_ = done.ptr;
  }
  void read(bool& flag) {
    bool const isQuoted = at_ != end_ && *at_ == '\'';
    flag = at_ != end_ && (isQuoted ? at_[1] == 'p' : *at_ == 't');
    words(isQuoted ? (flag ? "'permit'" : "'deny'") : (flag ? "true" : "false"));
  }
  void read(unsigned (&prefix)[5]) {
    for (unsigned n = 0; n < 5; ++n) {
      n == 0 ? void() : words(n == 4 ? "/" : ".");
      read(prefix[n]);
    }
  }

  char const* at_;
  char const* end_;
};

TextRule handParse(std::string_view text) {
  TextRule rule;
  Reader io(text);
  eachField(io, rule);
  io.words("})");
  return rule;
}

std::size_t handPrint(TextRule const& r, char* to, std::size_t size) {
  static char const* const word[] = {"false", "true"};
  auto const w = [](bool flag) { return word[flag ? 1 : 0]; };
  auto const& s = r.source;
  auto const& d = r.destination;
  return static_cast<std::size_t>(std::snprintf(
      to, size,
      "Value('Vorn::IpRuleConfig', ** {'filter': Value('Vorn::IpFilter', ** {'source': '%u.%u.%u.%u/%u', "
      "'destination': '%u.%u.%u.%u/%u', 'fragments': %s, 'dscp': %u, 'matchDscp': %s, 'proto': %u, 'matchProto': %s, "
      "'sportRange': Value('Vorn::L4PortRange', ** {'rangeStart': %u, 'rangeEnd': %u}), "
      "'dportRange': Value('Vorn::L4PortRange', ** {'rangeStart': %u, 'rangeEnd': %u}), 'ttl': %u, 'includeTtl': %s, "
      "'tcpFlag': Value('Vorn::IpFilter::TcpFlag', ** {'fin': %s, 'syn': %s, 'rst': %s, 'psh': %s, 'ack': %s, "
      "'urg': %s, 'value': %u}), 'established': %s, 'icmpType': %u, 'icmpCode': %u, 'l4Rule': %s}), "
      "'action': '%s', 'log': %s, 'count': %s})",
      s[0], s[1], s[2], s[3], s[4], d[0], d[1], d[2], d[3], d[4], w(r.fragments), r.dscp, w(r.matchDscp), r.proto,
      w(r.matchProto), r.sport[0], r.sport[1], r.dport[0], r.dport[1], r.ttl, w(r.includeTtl), w(r.flags[0]),
      w(r.flags[1]), w(r.flags[2]), w(r.flags[3]), w(r.flags[4]), w(r.flags[5]), r.tcpFlag, w(r.established),
      r.icmpType, r.icmpCode, w(r.l4Rule), r.permit ? "permit" : "deny", w(r.log), w(r.count)));
}

std::vector<Kro::String8> texts() {
  std::vector<Kro::String8> all;
  for (std::uint32_t n = 0; n < rules; ++n) {
    all.push_back(Kro::valueToStrep(ruleOf(n)));
    char again[1024];
    if (std::string_view(again, handPrint(handParse(all.back().view()), again, sizeof again)) != all.back().view()) {
      throw std::logic_error("the text by hand differs");
    }
  }
  return all;
}

/// The text of a record with the attributes of each level in an order of its own. Quoted texts hold no brackets here.
std::string shuffled(std::string_view record, std::mt19937& random) {
  std::size_t const open = record.find('{');
  if (open == std::string_view::npos) {
    return std::string(record);
  }
  std::vector<std::string> attributes;
  std::size_t start = open + 1;
  int depth = 0;
  for (std::size_t at = start; depth >= 0; ++at) {
    depth += record[at] == '{' ? 1 : record[at] == '}' ? -1 : 0;
    if (depth < 0 || (depth == 0 && record[at] == ',' && record[at + 2] == '\'')) {
      attributes.push_back(shuffled(record.substr(start, at - start), random));
      start = at + 2;
    }
  }
  std::shuffle(attributes.begin(), attributes.end(), random);
  std::string text(record.substr(0, open + 1));
  for (std::string const& attribute : attributes) {
    text += text.back() == '{' ? attribute : ", " + attribute;
  }
  return text + std::string(record.substr(start - 2));
}

template <class F>
void loop(benchmark::State& state, F const& step) {
  for (auto _ : state) {
    for (std::uint32_t n = 0; n < rules; ++n) {
      step(n);
    }
  }
  state.SetItemsProcessed(state.iterations() * rules);
}

void printLibrary(benchmark::State& state) {
  std::vector<Vorn::IpRuleConfig> all;
  for (std::uint32_t n = 0; n < rules; ++n) {
    all.push_back(ruleOf(n));
  }
  loop(state, [&](std::uint32_t n) { benchmark::DoNotOptimize(Kro::valueToStrep(all[n]).charPtr()); });
}

void printByHand(benchmark::State& state) {
  std::vector<TextRule> all;
  for (Kro::String8 const& text : texts()) {
    all.push_back(handParse(text.view()));
  }
  char text[1024];
  loop(state, [&](std::uint32_t n) {
    benchmark::DoNotOptimize(handPrint(all[n], text, sizeof text));
    benchmark::ClobberMemory();
  });
}

void parse(benchmark::State& state, std::vector<Kro::String8> const& all) {
  loop(state, [&](std::uint32_t n) {
    auto rule = Kro::strepToValue<Vorn::IpRuleConfig>(all[n]);
    benchmark::DoNotOptimize(rule);
  });
}

void parseLibrary(benchmark::State& state) { parse(state, texts()); }

void parseShuffled(benchmark::State& state) {
  std::mt19937 random(1);
  auto all = texts();
  for (std::uint32_t n = 0; n < rules; ++n) {
    all[n] = Kro::String8(std::string_view(shuffled(all[n].view(), random)));
    if (!(Kro::strepToValue<Vorn::IpRuleConfig>(all[n]) == ruleOf(n))) {
      throw std::logic_error("the shuffled text reads as another rule");
    }
  }
  parse(state, all);
}

void parseByHand(benchmark::State& state) {
  auto const all = texts();
  loop(state, [&](std::uint32_t n) {
    auto rule = handParse(all[n].view());
    benchmark::DoNotOptimize(rule);
  });
}

}  // namespace

void addText() {
  add("print a rule", library, printLibrary);
  add("print a rule", "snprintf", printByHand);
  add("parse a rule", library, parseLibrary);
  add("parse a rule", "from_chars", parseByHand);
  add("parse a rule, any order", library, parseShuffled);
  add("parse a rule, any order", "in order, from_chars", parseByHand);
}

}  // namespace Bench
