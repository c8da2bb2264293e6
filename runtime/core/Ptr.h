// The counted pointer.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

#include "runtime/core/PtrInterface.h"

namespace Kro {

/// Says that a `Ptr` takes over a reference that was counted already, as that of a new object.
struct Adopt {};
/// Says that a `Ptr` counts a reference of its own.
struct Share {};

/// A counted pointer, possibly null. Copying counts one reference, destroying gives it back. Dereferencing null is a
/// violated precondition.
template <class T>
class Ptr {
 public:
  constexpr Ptr() noexcept = default;
  constexpr Ptr(std::nullptr_t) noexcept {}
  Ptr(T* target, Adopt) noexcept : target_(target) {}
  Ptr(T* target, Share) noexcept : target_(target) { take(); }
  Ptr(Ptr const& other) noexcept : target_(other.target_) { take(); }
  Ptr(Ptr&& other) noexcept : target_(other.release()) {}
  template <class U>
  requires(std::convertible_to<U*, T*> && !std::same_as<U, T>) Ptr(Ptr<U> const& other)
  noexcept : target_(other.get()) { take(); }
  template <class U>
  requires(std::convertible_to<U*, T*> && !std::same_as<U, T>) Ptr(Ptr<U>&& other)
  noexcept : target_(other.release()) {}
  ~Ptr() { drop(target_); }

  /// The new target is counted and stored before the old one is given back, so that the destructors which that may run
  /// see the field whole. Equal targets do nothing.
  Ptr& operator=(Ptr const& other) noexcept {
    assign(other.target_);
    return *this;
  }
  Ptr& operator=(Ptr&& other) noexcept {
    if (this != &other) {
      drop(std::exchange(target_, other.release()));
    }
    return *this;
  }
  Ptr& operator=(std::nullptr_t) noexcept {
    drop(std::exchange(target_, nullptr));
    return *this;
  }

  T* get() const noexcept { return target_; }
  T* operator->() const noexcept { return target_; }
  T& operator*() const noexcept { return *target_; }
  explicit operator bool() const noexcept { return target_ != nullptr; }

  /// Gives up the reference without giving it back; the caller owns it now.
  [[nodiscard]] T* release() noexcept { return std::exchange(target_, nullptr); }

 private:
  void take() const noexcept {
    if (target_ != nullptr) {
      target_->referencesInc();
    }
  }
  static void drop(T* target) noexcept {
    if (target != nullptr) {
      target->referencesDec();
    }
  }
  void assign(T* target) noexcept {
    if (target == target_) {
      return;
    }
    if (target != nullptr) {
      target->referencesInc();
    }
    drop(std::exchange(target_, target));
  }

  T* target_ = nullptr;
};

template <class T, class U>
bool operator==(Ptr<T> const& a, Ptr<U> const& b) noexcept {
  return a.get() == b.get();
}
template <class T>
bool operator==(Ptr<T> const& a, std::nullptr_t) noexcept {
  return a.get() == nullptr;
}

/// Takes over the reference of a new object.
template <class T>
[[nodiscard]] Ptr<T> adopt(T* target) noexcept {
  return Ptr<T>(target, Adopt{});
}
/// Counts one more reference of an object that others hold.
template <class T>
[[nodiscard]] Ptr<T> share(T* target) noexcept {
  return Ptr<T>(target, Share{});
}
/// The same object as a `T`, or null when it is none.
template <class T, class U>
[[nodiscard]] Ptr<T> ptrCast(Ptr<U> const& from) noexcept {
  return Ptr<T>(dynamic_cast<T*>(from.get()), Share{});
}

}  // namespace Kro

template <class T>
struct std::hash<Kro::Ptr<T>> {
  std::size_t operator()(Kro::Ptr<T> const& p) const noexcept { return std::hash<T*>()(p.get()); }
};
