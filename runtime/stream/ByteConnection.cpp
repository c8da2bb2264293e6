#include "runtime/stream/ByteConnection.h"

#include "runtime/core/Exception.h"

namespace Kro {

void InCursor::throwShort(std::size_t n, std::size_t remaining) {
  throw AttrLogEntityException(format("message ends early: expected %lld more bytes, %lld are left",
                                      static_cast<long long>(n), static_cast<long long>(remaining)));
}

void throwNoBool(std::uint8_t byte) {
  throw AttrLogEntityException(format("expected a bool, 0 or 1, not %d", static_cast<int>(byte)));
}

void throwStringTooLong(std::uint32_t length, std::uint32_t limit) {
  throw AttrLogEntityException(
      format("string of %lld bytes, the limit is %lld", static_cast<long long>(length), static_cast<long long>(limit)));
}

ByteConnection::In::In(std::span<std::uint8_t const> payload, std::uint32_t maxString) : maxString_(maxString) {
  payloadIs(payload);
}

ByteConnection::In::~In() = default;

bool ByteConnection::In::nextbool() {
  std::uint8_t const byte = nextU8();
  if (byte > 1) {
    throwNoBool(byte);
  }
  return byte != 0;
}

String8 ByteConnection::In::nextString() {
  std::uint32_t const length = nextU32();
  if (length > maxString_) {
    throwStringTooLong(length, maxString_);
  }
  auto const bytes = cursor_.bytes(length);
  return String8(std::string_view(reinterpret_cast<char const*>(bytes.data()), bytes.size()));
}

}  // namespace Kro
