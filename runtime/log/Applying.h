// What the readers of the attribute log share: values from newer peers, and what user code throws meanwhile.
#pragma once

#include <exception>

#include "runtime/log/Demuxer.h"
#include "runtime/value/Codec.h"

namespace Kro::NboAttrLog::detail {

/// Reads a value whose unknown enumerators are applied as they are, and counted.
template <class T>
T nextLenient(In& in, Demuxer& demuxer) {
  if constexpr (Enumeration<T>) {
    std::uint32_t const number = in.nextU32();
    Expect const expect(Exception::rangeId);
    try {
      return enumeratorOf<T>(number);
    } catch (RangeException const&) {
      demuxer.unknownEnumsInc(1);
      return static_cast<T>(number);
    }
  } else {
    return nextValue<T>(in);
  }
}

/// Holds back what user code throws while a message is applied, until all of it is applied.
class HeldBack {
 public:
  template <class F>
  void run(F const& change) {
    try {
      change();
    } catch (...) {
      first_ = first_ ? first_ : std::current_exception();
    }
  }
  void release() const {
    if (first_) {
      std::rethrow_exception(first_);
    }
  }

 private:
  std::exception_ptr first_;
};

}  // namespace Kro::NboAttrLog::detail
