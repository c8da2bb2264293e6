#include <charconv>

#include "tools/vornacl/rules/AccessListRule.h"
#include "tools/vornacl/rules/Names.h"
#include "tools/vornacl/rules/Words.h"

namespace Tools {

namespace {

/// Reads the rules of MAC lists.
class MacReader {
 public:
  explicit MacReader(Cursor& line) : line_(line) {}

  MacRule source() {
    auto const [address, mask] = station(true);
    filter_.sourceAddrIs(address);
    filter_.sourceMaskIs(mask);
    return finished();
  }
  MacRule both() {
    auto const [from, fromMask] = station(false);
    filter_.sourceAddrIs(from);
    filter_.sourceMaskIs(fromMask);
    auto const [to, toMask] = station(false);
    filter_.destinationAddrIs(to);
    filter_.destinationMaskIs(toMask);
    etherType();
    return finished();
  }

 private:
  using Bytes = Dorix::EthAddr::Bytes;

  MacRule finished() {
    while (!line_.atEnd()) {
      if (!line_.wordIf("log")) {
        refuseOption(line_);
      }
      rule_.config.logIs(true);
    }
    rule_.config.filterIs(filter_);
    return rule_;
  }

  /// An address and the bits of it that count.
  std::pair<Dorix::EthAddr, Dorix::EthAddr> station(bool maskMayBeMissing) {
    Bytes all;
    all.fill(0xff);
    if (line_.wordIf("any")) {
      return {};
    }
    if (line_.wordIf("host")) {
      return {Dorix::EthAddr(bytes("an Ethernet address, as 0000.5e00.5301")), Dorix::EthAddr(all)};
    }
    Bytes address = bytes("\"any\", \"host\" or an Ethernet address, as 0000.5e00.5301");
    if (maskMayBeMissing && line_.atEnd()) {
      return {Dorix::EthAddr(address), Dorix::EthAddr(all)};
    }
    Bytes care = bytes("a wildcard, as 0000.0000.ffff");
    for (std::size_t i = 0; i < care.size(); ++i) {
      care[i] = static_cast<std::uint8_t>(~care[i]);
      address[i] &= care[i];
    }
    return {Dorix::EthAddr(address), Dorix::EthAddr(care)};
  }

  /// Twelve digits, in groups of four joined by dots or of two joined by colons.
  Bytes bytes(char const* expected) {
    std::size_t const start = line_.position();
    std::string_view const word = line_.word(expected);
    std::string digits(word);
    std::erase(digits, word.size() == 14 ? '.' : ':');
    std::uint64_t number = 0;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    if (digits.size() != 12 || error != std::errc() || end != digits.data() + digits.size() || !isGrouped(word)) {
      line_.fail(start, expected);
    }
    Bytes result;
    for (std::size_t i = 0; i < result.size(); ++i) {
      result[i] = static_cast<std::uint8_t>(number >> (40 - 8 * i));
    }
    return result;
  }
  static bool isGrouped(std::string_view word) {
    std::size_t const step = word.size() == 14 ? 5 : 3;
    char const separator = word.size() == 14 ? '.' : ':';
    for (std::size_t i = 0; i < word.size(); ++i) {
      if ((i % step == step - 1) != (word[i] == separator)) {
        return false;
      }
    }
    return word.size() == 14 || word.size() == 17;
  }

  void etherType() {
    std::string_view const word = line_.peek();
    if (auto const named = etherTypeNumber(word)) {
      line_.word("");
      filter_.protoIs(*named);
    } else if (word.starts_with("0x")) {
      filter_.protoIs(hexadecimal());
    } else {
      return;
    }
    if (line_.peek().starts_with("0x")) {
      rule_.protoCare = static_cast<std::uint16_t>(~hexadecimal());
      filter_.protoIs(rule_.protoCare != 0 ? filter_.proto() & rule_.protoCare : Vorn::MacFilter::protoAll);
    }
  }
  std::uint16_t hexadecimal() {
    constexpr char const* expected = "an EtherType or its wildcard, 0x0 to 0xffff";
    std::size_t const start = line_.position();
    std::string_view const word = line_.word(expected);
    std::uint16_t number = 0;
    auto const [end, error] = std::from_chars(word.data() + 2, word.data() + word.size(), number, 16);
    if (error != std::errc() || end != word.data() + word.size()) {
      line_.fail(start, expected);
    }
    return number;
  }

  Cursor& line_;
  MacRule rule_;
  Vorn::MacFilter filter_;
};

}  // namespace

AccessListRule readMacRule(Cursor& line, RuleGrammar grammar) {
  MacReader reader(line);
  return {grammar == RuleGrammar::mac ? reader.both() : reader.source(), std::nullopt};
}

}  // namespace Tools
