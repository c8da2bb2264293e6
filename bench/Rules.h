// The rules that are measured with, and what a program would write by hand for the same fields.
#pragma once

#include <array>
#include <cstring>
#include <stdexcept>

#include "VornAclTable/VornAclTable.h"

namespace Bench {

/// The position of the n-th rule; ascending with n.
inline Vorn::AceIndex keyOf(std::uint32_t n) { return {n + 1, 0, 0}; }

/// The n-th rule: IPv4 prefixes, ports, protocol and flags of some variety. Another `round` gives another rule.
inline Vorn::IpRuleConfig ruleOf(std::uint32_t n, std::uint32_t round = 0) {
  std::uint32_t const noise = (n + 1) * 2654435761U;
  auto const prefix = [&](unsigned shift) {
    Dorix::IpBytes bytes{10, static_cast<std::uint8_t>(noise >> 8U), static_cast<std::uint8_t>(noise >> shift), 1};
    return Dorix::IpGenPrefix::fromBytes(Dorix::IpFamily::ipv4, bytes, 16 + (noise >> shift) % 17);
  };
  Vorn::IpFilter filter;
  filter.sourceIs(prefix(16));
  filter.destinationIs(prefix(24));
  filter.protoIs(noise % 3 != 0 ? Dorix::ipProtoTcp : Dorix::ipProtoUdp);
  filter.matchProtoIs(true);
  filter.sportRangeIs({0, 65535});
  Dorix::Port const port = static_cast<std::uint16_t>(noise >> 12U);
  filter.dportRangeIs({port, port});
  filter.tcpFlagIs(Vorn::IpFilter::TcpFlag((noise >> 4U) % 64));
  filter.l4RuleIs(true);
  Vorn::IpRuleConfig rule;
  rule.filterIs(filter);
  rule.actionIs((noise + round) % 2 != 0 ? Acl::permit : Acl::deny);
  rule.logIs(round % 4 >= 2);
  rule.countIs((round % 8) >= 4);
  return rule;
}

using HandKey = std::array<std::uint32_t, 3>;

/// The fields of a rule as a plain structure, with a writer and a reader of the same bytes as the attribute log's.
struct HandRule {
  struct Prefix {
    std::uint8_t family, bytes[16];
    std::uint32_t length;
  };
  Prefix source, destination;
  bool fragments;
  std::uint8_t dscp;
  bool matchDscp;
  std::uint8_t proto;
  bool matchProto;
  std::uint16_t ports[4];
  std::uint8_t ttl;
  bool includeTtl;
  std::uint32_t tcpFlag;
  bool established;
  std::uint16_t icmpType, icmpCode;
  bool l4Rule;
  std::int32_t action;
  bool log, count;
};

struct HandEntry {
  HandKey key;
  HandRule rule;
};

inline constexpr std::size_t handMaxSize = 12 + 2 * 18 + 25 + 6;

template <class U>
U swapped(U value) {
  if constexpr (sizeof(U) == 2) {
    return __builtin_bswap16(value);
  } else {
    return __builtin_bswap32(value);
  }
}

/// Writes behind one check of the room.
class HandWriter {
 public:
  HandWriter(std::uint8_t* to, std::uint8_t const* end) : to_(to) {
    if (end - to < static_cast<std::ptrdiff_t>(handMaxSize)) {
      throw std::length_error("no room");
    }
  }
  std::uint8_t* end() const { return to_; }

  template <class U>
  void operator()(U value) {
    if constexpr (sizeof(U) > 1) {
      value = swapped(value);
    }
    std::memcpy(to_, &value, sizeof value);
    to_ += sizeof value;
  }
  void operator()(std::int32_t value) { (*this)(static_cast<std::uint32_t>(value)); }
  void operator()(HandRule::Prefix const& prefix) {
    *to_++ = prefix.family;
    if (prefix.family != 0) {
      *to_++ = static_cast<std::uint8_t>(prefix.length);
      std::size_t const size = prefix.family == 1 ? 4 : 16;
      std::memcpy(to_, prefix.bytes, size);
      to_ += size;
    }
  }

 private:
  std::uint8_t* to_;
};

/// Reads with a check of each field.
class HandReader {
 public:
  HandReader(std::uint8_t const* from, std::uint8_t const* end) : from_(from), end_(end) {}

  template <class U>
  void operator()(U& value) {
    need(sizeof(U));
    std::memcpy(&value, from_, sizeof value);
    from_ += sizeof value;
    if constexpr (sizeof(U) > 1) {
      value = swapped(value);
    }
  }
  void operator()(bool& value) {
    std::uint8_t byte = 0;
    (*this)(byte);
    require(byte < 2);
    value = byte != 0;
  }
  void operator()(std::int32_t& value) {
    std::uint32_t number = 0;
    (*this)(number);
    require(number < 2);  // deny, permit
    value = static_cast<std::int32_t>(number);
  }
  void operator()(HandRule::Prefix& prefix) {
    prefix = {};
    (*this)(prefix.family);
    if (prefix.family == 0) {
      return;
    }
    require(prefix.family < 3);
    std::uint8_t length = 0;
    (*this)(length);
    std::size_t const size = prefix.family == 1 ? 4 : 16;
    require(length <= size * 8);
    prefix.length = length;
    need(size);
    std::memcpy(prefix.bytes, from_, size);
    from_ += size;
    requireClearBeyond(prefix, size);
  }
  void requireAtEnd() const { require(from_ == end_); }

 private:
  static void require(bool good) {
    if (!good) {
      throw std::runtime_error("bad bytes");
    }
  }
  void need(std::size_t n) const { require(static_cast<std::size_t>(end_ - from_) >= n); }
  static void requireClearBeyond(HandRule::Prefix const& prefix, std::size_t size) {
    if (size == 4) {
      std::uint32_t word = 0;
      std::memcpy(&word, prefix.bytes, sizeof word);
      require(prefix.length == 32 || swapped(word) << prefix.length == 0);
      return;
    }
    for (std::size_t bit = prefix.length; bit < size * 8; ++bit) {
      require((prefix.bytes[bit / 8] >> (7 - bit % 8) & 1U) == 0);
    }
  }

  std::uint8_t const* from_;
  std::uint8_t const* end_;
};

/// Hands every field to `io`, the key first.
template <class Io, class Key, class Rule>
inline void handFields(Io& io, Key& key, Rule& r) {
  io(key[0]), io(key[1]), io(key[2]);
  io(r.source), io(r.destination);
  io(r.fragments), io(r.dscp), io(r.matchDscp), io(r.proto), io(r.matchProto);
  io(r.ports[0]), io(r.ports[1]), io(r.ports[2]), io(r.ports[3]);
  io(r.ttl), io(r.includeTtl), io(r.tcpFlag), io(r.established), io(r.icmpType), io(r.icmpCode), io(r.l4Rule);
  io(r.action), io(r.log), io(r.count);
}

/// Writes key and rule and returns the place behind them; throws where there is no room.
inline std::uint8_t* handEncode(HandKey const& key, HandRule const& rule, std::uint8_t* to, std::uint8_t const* end) {
  HandWriter io(to, end);
  handFields(io, key, rule);
  return io.end();
}

/// Reads what takes exactly these bytes; throws for any other.
inline HandEntry handDecode(std::uint8_t const* from, std::uint8_t const* end) {
  HandEntry entry;
  HandReader io(from, end);
  handFields(io, entry.key, entry.rule);
  if (entry.rule.tcpFlag > 63) {
    throw std::runtime_error("bad bytes");
  }
  io.requireAtEnd();
  return entry;
}

/// The attribute-log form of a rule, key and value.
struct Encoded {
  explicit Encoded(std::uint32_t n = 0, std::uint32_t round = 0) {
    auto* const end =
        Kro::Codec<Vorn::IpRuleConfig>::put(Kro::Codec<Vorn::AceIndex>::put(bytes.data(), keyOf(n)), ruleOf(n, round));
    size = static_cast<std::size_t>(end - bytes.data());
  }
  HandEntry byHand() const { return handDecode(bytes.data(), bytes.data() + size); }

  std::array<std::uint8_t, handMaxSize> bytes;
  std::size_t size;
};

}  // namespace Bench
