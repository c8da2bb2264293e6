#include "tools/vornacl/match/Packet.h"

#include <algorithm>
#include <charconv>

#include "runtime/core/Exception.h"
#include "tools/vornacl/rules/Names.h"
#include "tools/vornacl/rules/Words.h"

namespace Tools {

namespace {

class Reader {
 public:
  Reader(std::string_view text, std::string const& name, std::size_t line) : text_(text), name_(name), line_(line) {
    packet_.cell = anyCell().corner();
  }

  Packet read() {
    for (at_ = text_.find_first_not_of(separators); at_ < text_.size();
         at_ = text_.find_first_not_of(separators, at_)) {
      std::size_t const end = std::min(text_.find_first_of(separators, at_), text_.size());
      field(text_.substr(at_, end - at_));
      at_ = end;
    }
    for (CubeField const address : {sourceField, destinationField}) {
      if (!types_[address]) {
        fail(text_.size(), address == sourceField ? "\"src=ADDRESS\"" : "\"dst=ADDRESS\"");
      }
    }
    if (types_[sourceField] != types_[destinationField]) {
      throw BadData({name_, line_, 0}, "source and destination are addresses of different kinds");
    }
    packet_.type = *types_[sourceField];
    return packet_;
  }

 private:
  static constexpr std::string_view separators = " ,\t";

  struct Number {
    std::string_view key;
    IntervalField field;
    std::uint32_t max;
    char const* expected;
  };

  void field(std::string_view word) {
    static constexpr Number numbers[] = {
        {"sport", sportField, 65535, "a port, 0 to 65535"},
        {"dport", dportField, 65535, "a port, 0 to 65535"},
        {"dscp", dscpField, 63, "a code point, 0 to 63"},
        {"ttl", ttlField, 255, "a time to live, 0 to 255"},
    };
    std::size_t const equals = std::min(word.find('='), word.size());
    std::string_view const key = word.substr(0, equals);
    std::string_view const value = word.substr(std::min(equals + 1, word.size()));
    valueAt_ = at_ + equals + 1;
    auto const number =
        std::find_if(std::begin(numbers), std::end(numbers), [&](Number const& known) { return known.key == key; });
    if (number != std::end(numbers)) {
      set(number->field, numberOf(value, number->max), number->expected);
    } else if (key == "src" || key == "dst") {
      address(key == "src" ? sourceField : destinationField, value);
    } else if (key == "proto") {
      auto const named = protocolNumber(value);
      set(protocolField, named ? std::optional<std::uint32_t>(*named) : numberOf(value, 255), "a protocol");
    } else if (key == "icmp") {
      std::size_t const slash = std::min(value.find('/'), value.size());
      set(icmpTypeField, numberOf(value.substr(0, slash), 255), "an ICMP type, 0 to 255, and a code behind \"/\"");
      set(icmpCodeField, slash < value.size() ? numberOf(value.substr(slash + 1), 255) : 0, "an ICMP code, 0 to 255");
    } else if (key == "flags") {
      flags(value);
    } else if (key == "ethertype") {
      etherType(value);
    } else if (word == "fragment") {
      set(fragmentField, 1, "");
    } else {
      fail(at_, "src=, dst=, proto=, sport=, dport=, flags=, icmp=, dscp=, ttl=, ethertype= or fragment");
    }
  }

  void set(IntervalField field, std::optional<std::uint32_t> number, char const* expected) {
    if (!number) {
      fail(valueAt_, expected);
    }
    packet_.cell.intervals[field] = {static_cast<std::uint16_t>(*number), static_cast<std::uint16_t>(*number)};
  }

  void address(CubeField field, std::string_view text) {
    Bits& value = packet_.cell.cubes[field].value;
    if (auto const v4 = addressBytes(text, Dorix::IpFamily::ipv4)) {
      types_[field] = Acl::ip;
      value = bitsOf(*v4);
    } else if (auto const v6 = addressBytes(text, Dorix::IpFamily::ipv6)) {
      types_[field] = Acl::ipv6;
      value = bitsOf(*v6);
    } else {
      try {
        value.high = bitsOf(Dorix::EthAddr(Kro::String8(text))).high;
        types_[field] = Acl::mac;
      } catch (Kro::RangeException const&) {
        fail(valueAt_, "an IPv4, IPv6 or Ethernet address");
      }
    }
  }
  void flags(std::string_view text) {
    std::uint64_t& set = packet_.cell.cubes[flagsField].value.low;
    while (!text.empty()) {
      std::string_view const name = text.substr(0, text.find('+'));
      auto const bit = tcpFlagBit(name);
      if (!bit) {
        fail(valueAt_, "TCP flags, as syn+ack");
      }
      set |= *bit;
      text.remove_prefix(std::min(name.size() + 1, text.size()));
    }
  }
  void etherType(std::string_view text) {
    auto const named = etherTypeNumber(text);
    unsigned number = named ? *named : 65536;
    if (text.starts_with("0x")) {
      std::from_chars(text.data() + 2, text.data() + text.size(), number, 16);
    }
    if (number > 65535) {
      fail(valueAt_, "an EtherType, as 0x0806");
    }
    packet_.cell.cubes[destinationField].value.low |= number;
  }

  [[noreturn]] void fail(std::size_t at, std::string_view expected) const {
    Cursor const line(text_, name_, line_);
    at = std::min(at, text_.size());
    throw BadData({name_, line_, at + 1}, line.mismatch(at, expected));
  }

  std::string_view text_;
  std::string const& name_;
  std::size_t line_;
  std::size_t at_ = 0;       ///< of the field that is read
  std::size_t valueAt_ = 0;  ///< of its value
  Packet packet_;
  std::optional<Acl::AclType> types_[cubeFields];
};

}  // namespace

Packet readPacket(std::string_view text, std::string const& name, std::size_t line) {
  return Reader(text, name, line).read();
}

}  // namespace Tools
