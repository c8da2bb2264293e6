// IP addresses, and prefixes of one known family.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Dorix {

/// The family of an address or a prefix; the number is the one in hash and attribute log.
enum class IpFamily : std::uint8_t { unset = 0, ipv4 = 1, ipv6 = 2 };

/// An address of either family in network order; an IPv4 address takes the first four bytes, the rest is 0.
using IpBytes = std::array<std::uint8_t, 16>;

/// Bits of one address of either family.
inline constexpr std::uint32_t ipv4Bits = 32;
inline constexpr std::uint32_t ipv6Bits = 128;

namespace detail {

/// Sixteen bytes as two numbers; the most significant bit is the first on the wire.
struct IpWords {
  std::uint64_t high = 0;
  std::uint64_t low = 0;
};

/// Eight bytes as a number. Written out, since both compilers make one load and one swap of it, g++ a loop of a loop.
constexpr std::uint64_t wordAt(std::uint8_t const* from) {
  return std::uint64_t{from[0]} << 56 | std::uint64_t{from[1]} << 48 | std::uint64_t{from[2]} << 40 |
         std::uint64_t{from[3]} << 32 | std::uint64_t{from[4]} << 24 | std::uint64_t{from[5]} << 16 |
         std::uint64_t{from[6]} << 8 | std::uint64_t{from[7]};
}

constexpr IpWords wordsOf(IpBytes const& bytes) { return {wordAt(bytes.data()), wordAt(bytes.data() + 8)}; }

/// A number whose first `n` bits are set; all of them from 64 on.
constexpr std::uint64_t leadingOnes(std::uint32_t n) { return n >= 64 ? ~std::uint64_t{0} : ~(~std::uint64_t{0} >> n); }

/// The first `length` of 128 bits set.
constexpr IpWords maskOf(std::uint32_t length) {
  return {leadingOnes(length), leadingOnes(length < 64 ? 0 : length - 64)};
}

/// The same sixteen bytes. The library's comparison of arrays ends in a call that costs more than all else here.
constexpr bool sameBytes(IpBytes const& a, IpBytes const& b) {
  auto const x = std::bit_cast<std::array<std::uint64_t, 2>>(a);
  auto const y = std::bit_cast<std::array<std::uint64_t, 2>>(b);
  return ((x[0] ^ y[0]) | (x[1] ^ y[1])) == 0;
}

}  // namespace detail

/// An IPv4 address.
class Ip4Addr {
 public:
  constexpr Ip4Addr() = default;
  /// `number`: the most significant bit is the first on the wire, 10.0.0.1 is 0x0a000001.
  constexpr explicit Ip4Addr(std::uint32_t number) : number_(number) {}

  constexpr std::uint32_t number() const { return number_; }

  friend constexpr bool operator==(Ip4Addr, Ip4Addr) = default;

 private:
  std::uint32_t number_ = 0;
};

/// An IPv6 address.
class Ip6Addr {
 public:
  constexpr Ip6Addr() = default;
  constexpr explicit Ip6Addr(IpBytes const& bytes) : bytes_(bytes) {}

  constexpr IpBytes const& bytes() const { return bytes_; }

  friend constexpr bool operator==(Ip6Addr const& a, Ip6Addr const& b) { return detail::sameBytes(a.bytes_, b.bytes_); }

 private:
  IpBytes bytes_{};
};

/// An IPv4 prefix of 0 to 32 bits.
class Ip4Prefix {
 public:
  constexpr Ip4Prefix() = default;
  constexpr Ip4Prefix(Ip4Addr addr, std::uint32_t length) : addr_(addr), length_(length) {}

  constexpr Ip4Addr addr() const { return addr_; }
  constexpr std::uint32_t length() const { return length_; }

  /// The first `length()` bits of the address are those of the prefix.
  constexpr bool contains(Ip4Addr addr) const {
    std::uint64_t const differing = addr.number() ^ addr_.number();
    return ((differing << 32) & detail::leadingOnes(length_)) == 0;
  }

 private:
  Ip4Addr addr_;
  std::uint32_t length_ = 0;
};

/// An IPv6 prefix of 0 to 128 bits.
class Ip6Prefix {
 public:
  constexpr Ip6Prefix() = default;
  constexpr Ip6Prefix(Ip6Addr const& addr, std::uint32_t length) : addr_(addr), length_(length) {}

  constexpr Ip6Addr const& addr() const { return addr_; }
  constexpr std::uint32_t length() const { return length_; }

  /// The first `length()` bits of the address are those of the prefix.
  constexpr bool contains(Ip6Addr const& addr) const {
    detail::IpWords const mask = detail::maskOf(length_);
    detail::IpWords const mine = detail::wordsOf(addr_.bytes());
    detail::IpWords const other = detail::wordsOf(addr.bytes());
    return ((mine.high ^ other.high) & mask.high) == 0 && ((mine.low ^ other.low) & mask.low) == 0;
  }

 private:
  Ip6Addr addr_;
  std::uint32_t length_ = 0;
};

/// An address of either family, or of none.
class IpGenAddr {
 public:
  constexpr IpGenAddr() = default;
  constexpr IpGenAddr(IpFamily family, IpBytes const& bytes) : family_(family), bytes_(bytes) {}

  constexpr IpFamily family() const { return family_; }
  /// The IPv4 address; meaningful for that family only.
  constexpr Ip4Addr v4Addr() const { return Ip4Addr(static_cast<std::uint32_t>(detail::wordAt(bytes_.data()) >> 32)); }
  /// The IPv6 address; meaningful for that family only.
  constexpr Ip6Addr v6Addr() const { return Ip6Addr(bytes_); }

  friend constexpr bool operator==(IpGenAddr const& a, IpGenAddr const& b) {
    return a.family_ == b.family_ && detail::sameBytes(a.bytes_, b.bytes_);
  }

 private:
  IpFamily family_ = IpFamily::unset;
  IpBytes bytes_{};
};

}  // namespace Dorix
