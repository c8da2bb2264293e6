#include "runtime/core/String8.h"

#include <algorithm>
#include <limits>
#include <new>
#include <ostream>

#include "runtime/core/Exception.h"
#include "runtime/core/Hash.h"

namespace Kro {

template <class Char>
typename StringN<Char>::Data* StringN<Char>::newData(std::string_view head, std::string_view tail) {
  std::size_t const length = head.size() + tail.size();
  if (length > std::numeric_limits<std::uint32_t>::max() - sizeof(Data) - 1) {
    throwRangeException("string longer than 4294967000 characters");
  }
  void* const place = ::operator new(sizeof(Data) + length + 1);
  auto* const data = new (place) Data(static_cast<std::uint32_t>(length));
  char* const chars = reinterpret_cast<char*>(data + 1);
  std::copy(head.begin(), head.end(), chars);
  std::copy(tail.begin(), tail.end(), chars + head.size());
  chars[length] = '\0';
  return data;
}

template <class Char>
typename StringN<Char>::Data const& StringN<Char>::nullData() {
  // In static storage, so that asking for the characters of an empty string never fails; the zero behind it is its NUL.
  alignas(Data) static unsigned char place[sizeof(Data) + 1];
  static Data const* const block = new (place) Data(0);
  return *block;
}

template <class Char>
void StringN<Char>::assignNew(std::string_view text) {
  if (!text.empty()) {
    data_ = newData(text, {});
  }
}

template <class Char>
void StringN<Char>::drop(Data const* data) noexcept {
  if (data != nullptr && !data->isFrozen() && data->subtractReference() == 0) [[unlikely]] {
    ::operator delete(const_cast<Data*>(data));  // the block has no destructor
  }
}

template <class Char>
StringN<Char> StringN<Char>::operator+(StringN const& tail) const {
  if (tail.empty()) {
    return *this;
  }
  if (empty()) {
    return tail;
  }
  StringN joined;
  joined.data_ = newData(view(), tail.view());
  return joined;
}

template <class Char>
StringN<Char> StringN<Char>::substr(long long start, unsigned wanted) const {
  if (start < 0 || start >= static_cast<long long>(length())) {
    return {};
  }
  return StringN(view().substr(static_cast<std::size_t>(start), wanted));
}

template <class Char>
std::uint32_t StringN<Char>::hash() const {
  Hash h;
  h.mix(charPtr(), length());
  return h.value();
}

template class StringN<unsigned char>;

std::ostream& operator<<(std::ostream& out, String8 const& text) { return out << text.view(); }

}  // namespace Kro
