// IPv4 and IPv6 prefixes as one value.
#pragma once

#include <cstring>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/Dorix/IpAddr.h"
#include "platform/KroOperations.h"

namespace Dorix {

/// An IPv4 or IPv6 prefix, or none (unset, the default). Invariants:
///   1. an unset prefix is all zero; the length is at most 32 for IPv4, 128 for IPv6
///   2. bits beyond the length are zero
///
/// Bare text is `10.0.0.0/8` or `2001:db8::/32`, empty when unset; the length is always there. IPv6 is written as
/// RFC 5952 recommends, always hexadecimal, and read in every form of RFC 4291, section 2.2, without a zone. Decimal
/// numbers take no leading zeros, which some would read as octal. The text form is the bare text in single quotes.
///
/// The attribute-log form is the family, U8, then unless it is 0 the length, U8, and the 4 or 16 address bytes.
class VORNACL_API IpGenPrefix {
 public:
  constexpr IpGenPrefix() = default;
  /// From bare text; throws `Kro::RangeException` for text that is no prefix or has bits set beyond its length.
  explicit IpGenPrefix(Kro::String8 const& text);
  /// Reads the text form; throws as the constructor from bare text does.
  IpGenPrefix(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end);
  IpGenPrefix(Kro::NboAttrLog::In* in, Kro::StreamBogon) : IpGenPrefix(Kro::NboAttrLog::nextValue<IpGenPrefix>(*in)) {}
  /// Clears the bits beyond the length; throws `Kro::RangeException` for an unknown family and for a length beyond that
  /// of the family, which is 0 for an unset prefix.
  static IpGenPrefix fromBytes(IpFamily family, IpBytes const& bytes, std::uint32_t length);

  constexpr IpFamily family() const { return family_; }
  constexpr IpBytes const& addressBytes() const { return bytes_; }
  /// Number of leading bits that count.
  constexpr std::uint32_t length() const { return length_; }

  constexpr IpGenAddr ipGenAddr() const { return {family_, bytes_}; }
  /// The IPv4 prefix; meaningful for that family only.
  constexpr Ip4Prefix v4Prefix() const { return {ipGenAddr().v4Addr(), length_}; }
  /// The IPv6 prefix; meaningful for that family only.
  constexpr Ip6Prefix v6Prefix() const { return {Ip6Addr(bytes_), length_}; }

  friend constexpr bool operator==(IpGenPrefix const& a, IpGenPrefix const& b) {
    return a.family_ == b.family_ && a.length_ == b.length_ && detail::sameBytes(a.bytes_, b.bytes_);
  }
  /// By family, address bytes, length.
  friend constexpr bool operator<(IpGenPrefix const& a, IpGenPrefix const& b) {
    if (a.family_ != b.family_) {
      return a.family_ < b.family_;
    }
    detail::IpWords const x = detail::wordsOf(a.bytes_);
    detail::IpWords const y = detail::wordsOf(b.bytes_);
    return x.high != y.high ? x.high < y.high : x.low != y.low ? x.low < y.low : a.length_ < b.length_;
  }
  friend constexpr bool operator<=(IpGenPrefix const& a, IpGenPrefix const& b) { return !(b < a); }
  friend constexpr bool operator>(IpGenPrefix const& a, IpGenPrefix const& b) { return b < a; }
  friend constexpr bool operator>=(IpGenPrefix const& a, IpGenPrefix const& b) { return !(a < b); }

  /// Murmur hash of family (1 byte), address (16 bytes) and length (4 bytes, low byte first).
  std::uint32_t hash() const;
  /// The bare text.
  Kro::String8 stringValue() const;
  /// Appends the bare text.
  void stringTo(std::string& text) const;
  /// Writes the text form.
  std::size_t textRoom() const { return maxBareText + 2; }
  char* textTo(char* to) const;

  static constexpr std::size_t logMaxSize = 18;
  inline std::uint8_t* logTo(std::uint8_t* to) const;
  /// Throws `Kro::RangeException` for bytes that break the invariants.
  static inline IpGenPrefix fromLog(Kro::InCursor& in);

  static Kro::Ptr<Kro::KroType const> _fwkType();
  Kro::Ptr<Kro::KroType const> fwkType() const { return _fwkType(); }

 private:
  static constexpr std::size_t maxBareText = 48;
  char* putBare(char* to) const;
  void readBare(std::string_view text);

  constexpr IpGenPrefix(IpFamily family, IpBytes const& bytes, std::uint32_t length)
      : family_(family), bytes_(bytes), length_(length) {}

  static constexpr std::uint32_t maxLength(IpFamily family) {
    return family == IpFamily::ipv6 ? ipv6Bits : family == IpFamily::ipv4 ? ipv4Bits : 0;
  }
  static constexpr bool hasBitsBeyond(detail::IpWords words, std::uint32_t length) {
    detail::IpWords const mask = detail::maskOf(length);
    return ((words.high & ~mask.high) | (words.low & ~mask.low)) != 0;
  }
  [[noreturn]] static void throwFamily(IpFamily family);
  [[noreturn]] static void throwLength(IpFamily family, std::uint32_t length);
  [[noreturn]] void throwBitsBeyondLength() const;

  IpFamily family_ = IpFamily::unset;
  IpBytes bytes_{};
  std::uint32_t length_ = 0;
};
static_assert(sizeof(IpGenPrefix) == 24);

/// Writes the bare text, nothing when unset.
VORNACL_API std::ostream& operator<<(std::ostream& out, IpGenPrefix const& prefix);

inline std::uint8_t* IpGenPrefix::logTo(std::uint8_t* to) const {
  *to++ = static_cast<std::uint8_t>(family_);
  if (family_ == IpFamily::unset) {
    return to;
  }
  *to++ = static_cast<std::uint8_t>(length_);
  if (family_ == IpFamily::ipv4) {
    std::memcpy(to, bytes_.data(), 4);
    return to + 4;
  }
  std::memcpy(to, bytes_.data(), 16);
  return to + 16;
}

inline IpGenPrefix IpGenPrefix::fromLog(Kro::InCursor& in) {
  IpGenPrefix prefix;
  prefix.family_ = static_cast<IpFamily>(in.next<std::uint8_t>());
  if (prefix.family_ == IpFamily::unset) {
    return prefix;
  }
  if (prefix.family_ > IpFamily::ipv6) [[unlikely]] {
    throwFamily(prefix.family_);
  }
  prefix.length_ = in.next<std::uint8_t>();
  if (prefix.length_ > maxLength(prefix.family_)) [[unlikely]] {
    throwLength(prefix.family_, prefix.length_);
  }
  // The bits are judged where they stand: loaded as a word from where they were just stored in parts they are slow.
  detail::IpWords words;
  if (prefix.family_ == IpFamily::ipv4) {
    std::uint8_t const* const from = in.bytes(4).data();
    words.high = std::uint64_t{Kro::loadBigEndian<std::uint32_t>(from)} << 32U;
    std::memcpy(prefix.bytes_.data(), from, 4);
  } else {
    std::uint8_t const* const from = in.bytes(16).data();
    words = {detail::wordAt(from), detail::wordAt(from + 8)};
    std::memcpy(prefix.bytes_.data(), from, 16);
  }
  if (hasBitsBeyond(words, prefix.length_)) [[unlikely]] {
    prefix.throwBitsBeyondLength();
  }
  return prefix;
}

}  // namespace Dorix
