// The observer list of an entity: intrusive, uncounted, it never keeps an element alive.
#pragma once

#include <cstdint>

namespace Kro {

/// A singly linked list through a `next` field inside each element. `T` has `T* kroNext() const` and
/// `void kroNextIs(T*) const`. Elements link and unlink themselves.
template <class T>
class ListRaw {
 public:
  ListRaw() = default;
  ListRaw(ListRaw const&) = delete;
  ListRaw& operator=(ListRaw const&) = delete;

  /// Counts insertions and removals; starts at 0.
  std::uint32_t version() const { return version_; }
  std::uint32_t count() const { return count_; }
  T* head() const { return head_; }
  T* tail() const { return tail_; }

  void pushFront(T* element) {
    element->kroNextIs(head_);
    head_ = element;
    if (tail_ == nullptr) {
      tail_ = element;
    }
    changed(+1);
  }
  void pushBack(T* element) {
    element->kroNextIs(nullptr);
    (tail_ != nullptr ? tail_->kroNextIs(element) : void(head_ = element));
    tail_ = element;
    changed(+1);
  }
  /// Takes an element out; one that is not there leaves the list as it is.
  bool remove(T* element) {
    T* before = nullptr;
    for (T* at = head_; at != nullptr; before = at, at = at->kroNext()) {
      if (at != element) {
        continue;
      }
      (before != nullptr ? before->kroNextIs(at->kroNext()) : void(head_ = at->kroNext()));
      if (tail_ == at) {
        tail_ = before;
      }
      at->kroNextIs(nullptr);
      changed(-1);
      return true;
    }
    return false;
  }
  /// Unlinks every element without telling it.
  void deleteAll() {
    for (T* at = head_; at != nullptr;) {
      T* const next = at->kroNext();
      at->kroNextIs(nullptr);
      at = next;
    }
    head_ = tail_ = nullptr;
    count_ = 0;
    ++version_;
  }
  /// Number of broken things: count and tail against the chain.
  unsigned auditErrors() const {
    std::uint32_t found = 0;
    T* last = nullptr;
    for (T* at = head_; at != nullptr && found <= count_; at = at->kroNext()) {
      last = at;
      ++found;
    }
    return (found != count_ ? 1U : 0U) + (last != tail_ ? 1U : 0U);
  }

 private:
  void changed(int by) {
    ++version_;
    count_ += static_cast<std::uint32_t>(by);
  }

  std::uint32_t version_ = 0;
  std::uint32_t count_ = 0;
  T* head_ = nullptr;
  T* tail_ = nullptr;
};

}  // namespace Kro
