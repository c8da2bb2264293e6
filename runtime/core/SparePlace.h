// Memory that a thread keeps for itself: whether and how, and the place of the object that went last.
#pragma once

#include <cstddef>
#include <utility>

#include "runtime/core/Export.h"

// A thread's variable in a shared library is found by a call, unless it has its place in what every thread gets from
// the start: 1.6 ns each time. Room there is scarce, but some words fit also when the library is loaded late.
#if defined(__GLIBC__) && defined(__ELF__)
#define KRO_NEAR_THREAD_LOCAL [[gnu::tls_model("initial-exec")]]
#else
#define KRO_NEAR_THREAD_LOCAL
#endif

#if defined(__SANITIZE_ADDRESS__)
#define KRO_SEES_EACH_OBJECT
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer)
#define KRO_SEES_EACH_OBJECT
#endif
#endif

namespace Kro::detail {

/// Optimised builds pool small objects. Debug builds and sanitizers of memory see each object by itself; that of
/// threads is to see the pool.
#if defined(NDEBUG) && !defined(KRO_SEES_EACH_OBJECT)
inline constexpr bool poolsObjects = true;
#else
inline constexpr bool poolsObjects = false;
#endif

/// One place of a counted object that has gone, for the next object of its size that this thread makes: where an object
/// comes and goes at each step, this costs a quarter of what the pool does.
class VORNACL_API SparePlace {
 public:
  /// The kept place if it has this size, else null.
  static void* take(std::size_t size) { return poolsObjects && size_ == size ? (size_ = none, place_) : nullptr; }
  /// Keeps the place of an object, unless one is kept already.
  static bool keep(void* place, std::size_t size) noexcept {
    if (!poolsObjects || size_ != none) {
      return poolsObjects && size_ == unknown && begin(place, size);
    }
    place_ = place;
    size_ = size;
    return true;
  }

 private:
  // No sizes of an object.
  static constexpr std::size_t none = 0;     ///< no place is kept
  static constexpr std::size_t unknown = 1;  ///< none is kept so far: the thread's end must be seen to first
  static constexpr std::size_t over = 2;     ///< the thread ends

  static bool begin(void* place, std::size_t size) noexcept;

  KRO_NEAR_THREAD_LOCAL static constinit thread_local void* place_;
  KRO_NEAR_THREAD_LOCAL static constinit thread_local std::size_t size_;
};

}  // namespace Kro::detail
