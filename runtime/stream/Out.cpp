#include "runtime/stream/Out.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "runtime/core/Exception.h"

namespace Kro {

Connection::Out::~Out() = default;

namespace NboAttrLog {

Out::Out(std::size_t limit) : limit_(limit) {}
Out::~Out() = default;

void Out::tokenIs(TransactToken token) {
  if (token == TransactToken::begin) {
    messageStart_ = length();
    inMessage_ = true;
    end_ = room(WireHeader::size) + WireHeader::size;
    return;
  }
  std::uint8_t* const start = begin_ + messageStart_;
  std::size_t const payload = static_cast<std::size_t>(end_ - start) - WireHeader::size;
  if (payload > maxPayload_) {
    messageAbort();
    throwRangeException(format("message of %lld payload bytes, the limit is %lld", static_cast<long long>(payload),
                               static_cast<long long>(maxPayload_)));
  }
  next_.payloadLength = static_cast<std::uint32_t>(payload);
  next_.put(start);
  inMessage_ = false;
  ++messages_;
  bytes_ += payload + WireHeader::size;
}

void Out::messageAbort() {
  if (inMessage_) {
    end_ = begin_ + messageStart_;
    inMessage_ = false;
  }
}

void Out::grow(std::size_t n) {
  std::size_t const used = length();
  std::size_t const size = static_cast<std::size_t>(capacity_ - buffer_.get());
  if (used + n <= size / 2) {  // enough room once what was taken is closed up
    std::memmove(buffer_.get(), begin_, used);
  } else {
    std::size_t const larger = std::max({2 * size, used + n, std::size_t{4096}});
    std::unique_ptr<std::uint8_t[]> fresh(new std::uint8_t[larger]);
    if (used != 0) {
      std::memcpy(fresh.get(), begin_, used);
    }
    buffer_ = std::move(fresh);
    capacity_ = buffer_.get() + larger;
  }
  begin_ = buffer_.get();
  end_ = begin_ + used;
}

void Out::rest() {
  constexpr std::ptrdiff_t mostAtRest = 4096;
  if (std::exchange(restedAt_, bytes_) == bytes_ && capacity_ - buffer_.get() > mostAtRest) {
    buffer_.reset();
    capacity_ = nullptr;
    clear();
  }
}

void Out::taken(std::size_t n) {
  if (n > length()) {
    throwInternalException("Kro::NboAttrLog::Out::taken(std::size_t)");
  }
  begin_ += n;
  if (begin_ == end_) {
    clear();
  }
}

}  // namespace NboAttrLog
}  // namespace Kro
