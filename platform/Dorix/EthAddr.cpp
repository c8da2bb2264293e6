#include "platform/Dorix/EthAddr.h"

#include <charconv>
#include <ostream>

#include "platform/TypeObject.h"

namespace Dorix {

namespace {

constexpr std::size_t digitsPerByte = 2;
constexpr std::size_t textStep = digitsPerByte + 1;  // the digits and a colon
constexpr std::size_t textLength = 6 * textStep - 1;

bool readBytes(std::string_view text, EthAddr::Bytes& bytes) {
  if (text.size() != textLength) {
    return false;
  }
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    char const* const digits = text.data() + i * textStep;
    auto const done = std::from_chars(digits, digits + digitsPerByte, bytes[i], 16);
    bool const isLast = i + 1 == bytes.size();
    if (done.ptr != digits + digitsPerByte || (!isLast && *done.ptr != ':')) {
      return false;
    }
  }
  return true;
}

}  // namespace

EthAddr::EthAddr(Kro::String8 const& text) {
  if (!readBytes(text.view(), bytes_)) {
    Kro::throwRangeException("not an Ethernet address: \"" + text + "\"");
  }
}

EthAddr::EthAddr(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end)
    : EthAddr(Kro::sequenceToValue(it, end, static_cast<Kro::String8*>(nullptr))) {}

std::uint32_t EthAddr::hash() const {
  Kro::Hash hash;
  hash.mix(bytes_.data(), static_cast<unsigned>(bytes_.size()));
  return hash.value();
}

Kro::String8 EthAddr::stringValue() const {
  char text[bareLength];
  return Kro::String8(std::string_view(text, static_cast<std::size_t>(putBare(text) - text)));
}

void EthAddr::stringTo(std::string& text) const {
  char bare[bareLength];
  text.append(bare, putBare(bare));
}

char* EthAddr::putBare(char* to) const {
  constexpr char const* digits = "0123456789abcdef";
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    if (i != 0) {
      *to++ = ':';
    }
    *to++ = digits[bytes_[i] >> 4U];
    *to++ = digits[bytes_[i] & 15U];
  }
  return to;
}

char* EthAddr::textTo(char* to) const {
  *to++ = '\'';
  to = putBare(to);
  *to++ = '\'';
  return to;
}

Kro::Ptr<Kro::KroType const> EthAddr::_fwkType() { return Kro::detail::platformType<EthAddr>("Dorix::EthAddr"); }

std::ostream& operator<<(std::ostream& out, EthAddr const& addr) {
  std::string text;
  addr.stringTo(text);
  return out << text;
}

}  // namespace Dorix
