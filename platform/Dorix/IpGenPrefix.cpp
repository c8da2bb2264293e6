#include "platform/Dorix/IpGenPrefix.h"

#include <ostream>

#include "platform/Dorix/IpText.h"
#include "platform/TypeObject.h"

namespace Dorix {

namespace {

[[noreturn]] void throwNoPrefix(std::string_view text) {
  Kro::throwRangeException("not an IP prefix: \"" + Kro::String8(text) + "\"");
}

}  // namespace

void IpGenPrefix::readBare(std::string_view all) {
  if (all.empty()) {
    return;
  }
  std::size_t const slash = all.find('/');
  std::string_view const address = all.substr(0, slash);
  bool const isIpv6 = address.find(':') != std::string_view::npos;
  family_ = isIpv6 ? IpFamily::ipv6 : IpFamily::ipv4;
  if (slash == std::string_view::npos || !detail::readDecimal(all.substr(slash + 1), maxLength(family_), length_) ||
      !(isIpv6 ? detail::readIpv6(address, bytes_) : detail::readIpv4(address, bytes_.data())) ||
      hasBitsBeyond(detail::wordsOf(bytes_), length_)) {
    throwNoPrefix(all);
  }
}

IpGenPrefix::IpGenPrefix(Kro::String8 const& text) { readBare(text.view()); }

IpGenPrefix::IpGenPrefix(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) {
  Kro::TextCursor in(it, end);
  std::string spare;
  readBare(Kro::readQuoted(in, spare));
}

IpGenPrefix IpGenPrefix::fromBytes(IpFamily family, IpBytes const& bytes, std::uint32_t length) {
  if (family > IpFamily::ipv6) {
    throwFamily(family);
  }
  if (length > maxLength(family)) {
    throwLength(family, length);
  }
  detail::IpWords const words = detail::wordsOf(bytes);
  detail::IpWords const mask = detail::maskOf(length);
  IpBytes cleared{};
  Kro::storeBigEndian(cleared.data(), words.high & mask.high);
  Kro::storeBigEndian(cleared.data() + 8, words.low & mask.low);
  return IpGenPrefix(family, cleared, length);
}

std::uint32_t IpGenPrefix::hash() const {
  Kro::Hash hash;
  hash.mixInteger(static_cast<std::uint32_t>(family_), 1);
  hash.mix(bytes_.data(), static_cast<unsigned>(bytes_.size()));
  hash.mixInteger(length_, 4);
  return hash.value();
}

char* IpGenPrefix::putBare(char* to) const {
  if (family_ == IpFamily::unset) {
    return to;
  }
  to = family_ == IpFamily::ipv4 ? detail::putIpv4(to, bytes_) : detail::putIpv6(to, bytes_);
  *to++ = '/';
  return Kro::putInteger(to, length_);
}

Kro::String8 IpGenPrefix::stringValue() const {
  char text[maxBareText];
  return Kro::String8(std::string_view(text, static_cast<std::size_t>(putBare(text) - text)));
}

void IpGenPrefix::stringTo(std::string& text) const {
  char bare[maxBareText];
  text.append(bare, putBare(bare));
}

char* IpGenPrefix::textTo(char* to) const {
  *to++ = '\'';
  to = putBare(to);
  *to++ = '\'';
  return to;
}

Kro::Ptr<Kro::KroType const> IpGenPrefix::_fwkType() {
  return Kro::detail::platformType<IpGenPrefix>("Dorix::IpGenPrefix");
}

void IpGenPrefix::throwFamily(IpFamily family) {
  Kro::throwRangeException(Kro::format("not an IP prefix: family %d, expected 0, 1 or 2", static_cast<int>(family)));
}

void IpGenPrefix::throwLength(IpFamily family, std::uint32_t length) {
  Kro::throwRangeException(Kro::format("not an IP prefix: length %u, expected at most %u for family %d", length,
                                       maxLength(family), static_cast<int>(family)));
}

void IpGenPrefix::throwBitsBeyondLength() const {
  Kro::throwRangeException("not an IP prefix: \"" + stringValue() + "\", expected no bits beyond the length");
}

std::ostream& operator<<(std::ostream& out, IpGenPrefix const& prefix) {
  std::string text;
  prefix.stringTo(text);
  return out << text;
}

}  // namespace Dorix
