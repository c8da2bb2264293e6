// The match part of an IP rule.
#pragma once

#include "GenRange/L4PortRange.h"
#include "platform/Dorix/IpGenPrefix.h"
#include "platform/Dorix/IpProto.h"
#include "platform/Dorix/IpProtocolNumber.h"

namespace Vorn {

/// What an IP rule matches: addresses, IP header fields each with a flag that says whether it takes part, port ranges,
/// TCP flags, ICMP type and code. It only describes; matching is done by the users of the model.
class VORNACL_API IpFilter : public Kro::Value<IpFilter> {
 public:
  class TcpFlag;

  /// The "any" value of `icmpType` and `icmpCode`.
  static constexpr std::uint16_t icmpAll = 65535;
  /// Widths in bits of the ICMP type, of the code (RFC 792), and of both.
  static constexpr std::uint8_t icmpTypeLen = 8;
  static constexpr std::uint8_t icmpCodeLen = 8;
  static constexpr std::uint8_t icmpLen = 16;

  IpFilter() = default;
  IpFilter(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }
  IpFilter(Kro::NboAttrLog::In* in, Kro::StreamBogon) { readLog(*in); }

  Dorix::IpGenPrefix const& source() const { return source_; }
  void sourceIs(Dorix::IpGenPrefix const& v) { source_ = v; }

  Dorix::IpGenPrefix const& destination() const { return destination_; }
  void destinationIs(Dorix::IpGenPrefix const& v) { destination_ = v; }

  bool fragments() const { return fragments_; }
  void fragmentsIs(bool v) { fragments_ = v; }

  /// Differentiated services code point (RFC 2474), 0 to 63.
  std::uint8_t dscp() const { return dscp_; }
  /// Throws `RangeException` for a value above 63 unless it is the present one; the old value stands then.
  void dscpIs(std::uint8_t v) { setInRange(dscp_, v); }

  bool matchDscp() const { return matchDscp_; }
  void matchDscpIs(bool v) { matchDscp_ = v; }

  Dorix::IpProto proto() const { return proto_; }
  void protoIs(Dorix::IpProto v) { proto_ = v; }

  bool matchProto() const { return matchProto_; }
  void matchProtoIs(bool v) { matchProto_ = v; }

  L4PortRange sportRange() const { return sportRange_; }
  void sportRangeIs(L4PortRange v) { sportRange_ = v; }

  L4PortRange dportRange() const { return dportRange_; }
  void dportRangeIs(L4PortRange v) { dportRange_ = v; }

  std::uint8_t ttl() const { return ttl_; }
  void ttlIs(std::uint8_t v) { ttl_ = v; }

  bool includeTtl() const { return includeTtl_; }
  void includeTtlIs(bool v) { includeTtl_ = v; }

  inline TcpFlag tcpFlag() const;
  /// Stores the whole flag set without a check.
  void tcpFlagIs(TcpFlag const& v);

  bool established() const { return established_; }
  void establishedIs(bool v) { established_ = v; }

  /// ICMP type (RFC 792, RFC 4443), 0 to 255, or `icmpAll`.
  std::uint16_t icmpType() const { return icmpType_; }
  void icmpTypeIs(std::uint16_t v) { icmpType_ = v; }

  std::uint16_t icmpCode() const { return icmpCode_; }
  void icmpCodeIs(std::uint16_t v) { icmpCode_ = v; }

  bool l4Rule() const { return l4Rule_; }
  void l4RuleIs(bool v) { l4Rule_ = v; }

  /// The flags of `tcpFlag` (RFC 9293, section 3.1).
  bool fin() const;
  bool syn() const;
  bool rst() const;
  bool psh() const;
  bool ack() const;
  bool urg() const;
  void finIs(bool v);
  void synIs(bool v);
  void rstIs(bool v);
  void pshIs(bool v);
  void ackIs(bool v);
  void urgIs(bool v);

  /// The number of a protocol, unchanged.
  std::uint8_t convertProtoEnumToValue(Dorix::IpProtocolNumber x) const { return static_cast<std::uint8_t>(x); }
  /// The text people read, as "(sip=10.0.0.0/8, dip=, sport=[0], dport=[80], proto=6, tcp=-S----)".
  Kro::String8 toStr() const;

  /// What is checked of a filter from the attribute log: the TCP flags, not `dscp`.
  void checkFromLog() const;

  bool operator==(IpFilter const&) const;

  struct Attributes;

 private:
  /// Write constraints of the embedded `tcpFlag`: there are none.
  void tcpFlagDoEmbeddedWriteConstraints() {}
  void flagIs(void (TcpFlag::*set)(bool), bool v);

 public:
  /// The six TCP flags of a filter (RFC 9293, section 3.1), one bit each of `value`, 0 to 63.
  class VORNACL_API TcpFlag : public Kro::Value<TcpFlag> {
   public:
    static constexpr std::uint32_t max = 0x3f;
    /// One flag each, all of them, none.
    static TcpFlag const fin_, syn_, rst_, psh_, ack_, urg_, kroUniversal, kroEmpty;

    constexpr TcpFlag() = default;
    /// Throws `RangeException` for a value above 63.
    constexpr explicit TcpFlag(std::uint32_t value) : value_(value) {
      if (value > max) {
        check();
      }
    }
    TcpFlag(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }
    /// Reads the value without a check.
    TcpFlag(Kro::NboAttrLog::In* in, Kro::StreamBogon) : value_(in->nextU32()) {}

    constexpr std::uint32_t value() const { return value_; }
    bool fin() const { return bit(0); }
    bool syn() const { return bit(1); }
    bool rst() const { return bit(2); }
    bool psh() const { return bit(3); }
    bool ack() const { return bit(4); }
    bool urg() const { return bit(5); }
    void finIs(bool v) { bitIs(0, v); }
    void synIs(bool v) { bitIs(1, v); }
    void rstIs(bool v) { bitIs(2, v); }
    void pshIs(bool v) { bitIs(3, v); }
    void ackIs(bool v) { bitIs(4, v); }
    void urgIs(bool v) { bitIs(5, v); }

    /// An embedded flag set is hashed by its value.
    void mixInto(Kro::Hash& hash) const { hash.mixInteger(value_, 4); }

    bool operator==(TcpFlag const&) const = default;

    struct Attributes;

   private:
    bool bit(unsigned n) const { return ((value_ >> n) & 1U) != 0; }
    void bitIs(unsigned n, bool v) { value_ = v ? value_ | (1U << n) : value_ & ~(1U << n); }

    std::uint32_t value_ = 0;
  };

 private:
  Dorix::IpGenPrefix source_;
  Dorix::IpGenPrefix destination_;
  bool fragments_ = false;
  std::uint8_t dscp_ = 0;
  bool matchDscp_ = false;
  Dorix::IpProto proto_ = 0;
  bool matchProto_ = false;
  L4PortRange sportRange_;
  L4PortRange dportRange_;
  std::uint8_t ttl_ = 0;
  bool includeTtl_ = false;
  TcpFlag tcpFlag_;
  bool established_ = false;
  std::uint16_t icmpType_ = icmpAll;
  std::uint16_t icmpCode_ = icmpAll;
  bool l4Rule_ = false;
};

inline IpFilter::TcpFlag IpFilter::tcpFlag() const { return tcpFlag_; }
inline void IpFilter::tcpFlagIs(TcpFlag const& v) { tcpFlag_ = v; }
inline bool IpFilter::operator==(IpFilter const&) const = default;

inline constexpr IpFilter::TcpFlag IpFilter::TcpFlag::fin_(1);
inline constexpr IpFilter::TcpFlag IpFilter::TcpFlag::syn_(2);
inline constexpr IpFilter::TcpFlag IpFilter::TcpFlag::rst_(4);
inline constexpr IpFilter::TcpFlag IpFilter::TcpFlag::psh_(8);
inline constexpr IpFilter::TcpFlag IpFilter::TcpFlag::ack_(16);
inline constexpr IpFilter::TcpFlag IpFilter::TcpFlag::urg_(32);
inline constexpr IpFilter::TcpFlag IpFilter::TcpFlag::kroUniversal(max);
inline constexpr IpFilter::TcpFlag IpFilter::TcpFlag::kroEmpty(0);

struct IpFilter::TcpFlag::Attributes {
  using T = TcpFlag;
  using Within = IpFilter;
  static constexpr std::string_view typeName = "Vorn::IpFilter::TcpFlag";
  static constexpr auto all = std::tuple{
      Kro::bit(2, "fin", &T::fin, &T::finIs),
      Kro::bit(3, "syn", &T::syn, &T::synIs),
      Kro::bit(4, "rst", &T::rst, &T::rstIs),
      Kro::bit(5, "psh", &T::psh, &T::pshIs),
      Kro::bit(6, "ack", &T::ack, &T::ackIs),
      Kro::bit(7, "urg", &T::urg, &T::urgIs),
      Kro::fixed(8, "value", &T::value_, Kro::atMost(T::max, "TcpFlag::value > 0x3f not allowed")),
      Kro::constant(9, "fin_", T::fin_),
      Kro::constant(10, "syn_", T::syn_),
      Kro::constant(11, "rst_", T::rst_),
      Kro::constant(12, "psh_", T::psh_),
      Kro::constant(13, "ack_", T::ack_),
      Kro::constant(14, "urg_", T::urg_),
      Kro::constant(15, "kroUniversal", T::kroUniversal),
      Kro::constant(16, "kroEmpty", T::kroEmpty),
      Kro::function(0, "hash", &T::hash),
  };
};

struct IpFilter::Attributes {
  using T = IpFilter;
  static constexpr std::string_view typeName = "Vorn::IpFilter";
  static constexpr auto all = std::tuple{
      Kro::stored(2, "source", &T::source_, &T::sourceIs),
      Kro::stored(3, "destination", &T::destination_, &T::destinationIs),
      Kro::stored(4, "fragments", &T::fragments_, &T::fragmentsIs),
      Kro::stored(5, "dscp", &T::dscp_, &T::dscpIs, Kro::atMost(63)),
      Kro::stored(6, "matchDscp", &T::matchDscp_, &T::matchDscpIs),
      Kro::stored(7, "proto", &T::proto_, &T::protoIs),
      Kro::stored(8, "matchProto", &T::matchProto_, &T::matchProtoIs),
      Kro::stored(9, "sportRange", &T::sportRange_, &T::sportRangeIs),
      Kro::stored(10, "dportRange", &T::dportRange_, &T::dportRangeIs),
      Kro::stored(11, "ttl", &T::ttl_, &T::ttlIs),
      Kro::stored(12, "includeTtl", &T::includeTtl_, &T::includeTtlIs),
      Kro::stored(13, "tcpFlag", &T::tcpFlag_, &T::tcpFlagIs),
      Kro::computed(14, "fin", &T::fin, &T::finIs),
      Kro::computed(15, "syn", &T::syn, &T::synIs),
      Kro::computed(16, "rst", &T::rst, &T::rstIs),
      Kro::computed(17, "psh", &T::psh, &T::pshIs),
      Kro::computed(18, "ack", &T::ack, &T::ackIs),
      Kro::computed(19, "urg", &T::urg, &T::urgIs),
      Kro::stored(20, "established", &T::established_, &T::establishedIs),
      Kro::stored(21, "icmpType", &T::icmpType_, &T::icmpTypeIs),
      Kro::stored(22, "icmpCode", &T::icmpCode_, &T::icmpCodeIs),
      Kro::constant(23, "icmpAll", T::icmpAll),
      Kro::constant(24, "icmpTypeLen", T::icmpTypeLen),
      Kro::constant(25, "icmpCodeLen", T::icmpCodeLen),
      Kro::constant(26, "icmpLen", T::icmpLen),
      Kro::stored(27, "l4Rule", &T::l4Rule_, &T::l4RuleIs),
      Kro::function(28, "toStr", &T::toStr),
      Kro::function(29, "convertProtoEnumToValue", &T::convertProtoEnumToValue, "x"),
      Kro::function(30, "hash", &T::hash),
  };
};

}  // namespace Vorn
