// IP protocol numbers as they stand in a packet.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "platform/KroOperations.h"

namespace Dorix {

/// The protocol field of an IPv4 header or the next-header field of an IPv6 one (RFC 791, RFC 8200): a number from 0 to
/// 255, with or without an enumerator in `IpProtocolNumber`. Converts from and to that number and compares as it. Text
/// form and stream output are decimal, the attribute-log form is one byte.
class VORNACL_API IpProto {
 public:
  constexpr IpProto() = default;
  constexpr IpProto(std::uint8_t number) : number_(number) {}
  /// Reads the text form; throws `Kro::RangeException` for what is no number or does not fit.
  IpProto(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end);
  IpProto(Kro::NboAttrLog::In* in, Kro::StreamBogon) : number_(in->nextU8()) {}

  constexpr operator std::uint8_t() const { return number_; }

  /// Murmur hash of the one byte.
  std::uint32_t hash() const;

  /// Writes the text form.
  std::size_t textRoom() const { return Kro::maxDigits<std::uint8_t>; }
  char* textTo(char* to) const { return Kro::putInteger(to, number_); }

  static constexpr std::size_t logMaxSize = 1;
  std::uint8_t* logTo(std::uint8_t* to) const { return Kro::storeBigEndian(to, number_); }
  static IpProto fromLog(Kro::InCursor& in) { return in.next<std::uint8_t>(); }

  static Kro::Ptr<Kro::KroType const> _fwkType();
  Kro::Ptr<Kro::KroType const> fwkType() const { return _fwkType(); }

 private:
  std::uint8_t number_ = 0;
};

/// Writes the decimal number, whatever base or locale the stream is set to.
VORNACL_API std::ostream& operator<<(std::ostream& out, IpProto proto);

}  // namespace Dorix
