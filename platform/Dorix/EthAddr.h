// Ethernet addresses.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>

#include "platform/KroOperations.h"

namespace Dorix {

/// A 48-bit Ethernet address (IEEE 802), all zero by default. Bare text is `00:00:5e:00:53:01`, written in lower case
/// and read in both; the text form is the same in single quotes, the attribute-log form the six bytes.
class VORNACL_API EthAddr {
 public:
  using Bytes = std::array<std::uint8_t, 6>;

  constexpr EthAddr() = default;
  constexpr explicit EthAddr(Bytes const& bytes) : bytes_(bytes) {}
  /// From bare text; throws `Kro::RangeException` for any other.
  explicit EthAddr(Kro::String8 const& text);
  /// Reads the text form; throws as the constructor from bare text does.
  EthAddr(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end);
  EthAddr(Kro::NboAttrLog::In* in, Kro::StreamBogon) : EthAddr(Kro::NboAttrLog::nextValue<EthAddr>(*in)) {}

  /// The six bytes in the order of transmission.
  constexpr Bytes const& bytes() const { return bytes_; }

  friend constexpr bool operator==(EthAddr const&, EthAddr const&) = default;
  /// By unsigned bytes.
  friend constexpr bool operator<(EthAddr const& a, EthAddr const& b) { return a.number() < b.number(); }
  friend constexpr bool operator<=(EthAddr const& a, EthAddr const& b) { return !(b < a); }
  friend constexpr bool operator>(EthAddr const& a, EthAddr const& b) { return b < a; }
  friend constexpr bool operator>=(EthAddr const& a, EthAddr const& b) { return !(a < b); }

  /// Murmur hash of the six bytes.
  std::uint32_t hash() const;
  /// The bare text.
  Kro::String8 stringValue() const;
  /// Appends the bare text.
  void stringTo(std::string& text) const;
  /// Writes the text form.
  std::size_t textRoom() const { return bareLength + 2; }
  char* textTo(char* to) const;

  static constexpr std::size_t logMaxSize = 6;
  std::uint8_t* logTo(std::uint8_t* to) const {
    std::memcpy(to, bytes_.data(), bytes_.size());
    return to + bytes_.size();
  }
  static EthAddr fromLog(Kro::InCursor& in) {
    EthAddr addr;
    std::memcpy(addr.bytes_.data(), in.bytes(logMaxSize).data(), logMaxSize);
    return addr;
  }

  static Kro::Ptr<Kro::KroType const> _fwkType();
  Kro::Ptr<Kro::KroType const> fwkType() const { return _fwkType(); }

 private:
  static constexpr std::size_t bareLength = 17;
  char* putBare(char* to) const;
  constexpr std::uint64_t number() const {
    // Written out, since g++ makes a loop of a loop.
    return std::uint64_t{bytes_[0]} << 40 | std::uint64_t{bytes_[1]} << 32 | std::uint64_t{bytes_[2]} << 24 |
           std::uint64_t{bytes_[3]} << 16 | std::uint64_t{bytes_[4]} << 8 | std::uint64_t{bytes_[5]};
  }

  Bytes bytes_{};
};

/// Writes the bare text.
VORNACL_API std::ostream& operator<<(std::ostream& out, EthAddr const& addr);

}  // namespace Dorix
