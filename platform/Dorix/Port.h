// Layer-4 ports.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "platform/KroOperations.h"

namespace Dorix {

/// A TCP or UDP port (RFC 9293, RFC 768): a number from 0 to 65535. Converts from and to that number and compares as
/// it. Text form and stream output are decimal, the attribute-log form is two bytes.
class VORNACL_API Port {
 public:
  constexpr Port() = default;
  constexpr Port(std::uint16_t number) : number_(number) {}
  /// Reads the text form; throws `Kro::RangeException` for what is no number or does not fit.
  Port(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end);
  Port(Kro::NboAttrLog::In* in, Kro::StreamBogon) : number_(in->nextU16()) {}

  constexpr operator std::uint16_t() const { return number_; }

  /// Murmur hash of the two bytes, low byte first.
  std::uint32_t hash() const;
  /// Takes part in the hash of a record with its two bytes, low byte first.
  void mixInto(Kro::Hash& hash) const { hash.mixInteger(number_, 2); }

  /// Writes the text form.
  std::size_t textRoom() const { return Kro::maxDigits<std::uint16_t>; }
  char* textTo(char* to) const { return Kro::putInteger(to, number_); }

  static constexpr std::size_t logMaxSize = 2;
  std::uint8_t* logTo(std::uint8_t* to) const { return Kro::storeBigEndian(to, number_); }
  static Port fromLog(Kro::InCursor& in) { return in.next<std::uint16_t>(); }

  static Kro::Ptr<Kro::KroType const> _fwkType();
  Kro::Ptr<Kro::KroType const> fwkType() const { return _fwkType(); }

 private:
  std::uint16_t number_ = 0;
};

/// Writes the decimal number, whatever base or locale the stream is set to.
VORNACL_API std::ostream& operator<<(std::ostream& out, Port port);

}  // namespace Dorix
