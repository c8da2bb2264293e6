#include "platform/Dorix/IpGenPrefix.h"

#include <ostream>

#include "platform/Dorix/IpText.h"
#include "platform/TypeObject.h"

namespace Dorix {

namespace {

[[noreturn]] void throwNoPrefix(Kro::String8 const& text) {
  Kro::throwRangeException("not an IP prefix: \"" + text + "\"");
}

}  // namespace

IpGenPrefix::IpGenPrefix(Kro::String8 const& text) {
  if (text.empty()) {
    return;
  }
  std::string_view const all = text.view();
  std::size_t const slash = all.find('/');
  std::string_view const address = all.substr(0, slash);
  bool const isIpv6 = address.find(':') != std::string_view::npos;
  family_ = isIpv6 ? IpFamily::ipv6 : IpFamily::ipv4;
  if (slash == std::string_view::npos || !detail::readDecimal(all.substr(slash + 1), maxLength(family_), length_) ||
      !(isIpv6 ? detail::readIpv6(address, bytes_) : detail::readIpv4(address, bytes_.data())) ||
      hasBitsBeyond(detail::wordsOf(bytes_), length_)) {
    throwNoPrefix(text);
  }
}

IpGenPrefix::IpGenPrefix(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end)
    : IpGenPrefix(Kro::sequenceToValue(it, end, static_cast<Kro::String8*>(nullptr))) {}

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

Kro::String8 IpGenPrefix::stringValue() const {
  std::string text;
  stringTo(text);
  return Kro::String8(std::string_view(text));
}

void IpGenPrefix::stringTo(std::string& text) const {
  if (family_ == IpFamily::unset) {
    return;
  }
  if (family_ == IpFamily::ipv4) {
    detail::appendIpv4(text, bytes_);
  } else {
    detail::appendIpv6(text, bytes_);
  }
  text += '/';
  Kro::appendInteger(text, length_);
}

void IpGenPrefix::strepTo(std::string& text) const {
  text += '\'';
  stringTo(text);
  text += '\'';
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
