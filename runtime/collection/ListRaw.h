// The observer list of an entity: intrusive, uncounted, it never keeps an element alive.
#pragma once

#include <cstdint>

#include "runtime/collection/BaseCollection.h"

namespace Kro {

/// A singly linked list of counted objects through a `next` field inside each element. `T` has `T* kroNext() const` and
/// `void kroNextIs(T*) const`. Elements link and unlink themselves.
template <class T>
class ListRaw : public BaseRefCollection<T> {
 public:
  class LrIteratorConst;
  class LrIterator;

  ListRaw() = default;

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
  bool contains(T const* element) const {
    T const* at = head_;
    while (at != nullptr && at != element) {
      at = at->kroNext();
    }
    return at != nullptr;
  }

  void iteratorDelete(BaseCollection::StrepIterator& iterator) const override {
    delete static_cast<LrIterator*>(&iterator);
  }
  BaseCollection::StrepIterator* iteratorSpaceCopy(BaseCollection::StrepIterator const& iterator) const override {
    return new LrIterator(static_cast<LrIteratorConst const&>(iterator));
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

/// Reads the elements from head to tail. Holds the list by plain pointer, so the list must outlive every `advance`, and
/// the current element by a counted one.
template <class T>
class ListRaw<T>::LrIteratorConst : public BaseIteratorConst<T, true> {
 public:
  LrIteratorConst() = default;
  explicit LrIteratorConst(ListRaw const& list)
      : BaseIteratorConst<T, true>(list.head()), list_(&list), version_(list.version()) {}

  ListRaw const* list() const { return list_; }
  /// The list's version when the iterator last moved.
  std::uint32_t version() const { return version_; }

  /// Moves to the element behind the current one; to the end where that has left the list meanwhile, and stays there.
  void advance() {
    T* const current = this->current();
    if (current == nullptr) {
      return;
    }
    bool const isThere = version_ == list_->version() || list_->contains(current);
    version_ = list_->version();
    this->currentIs(isThere ? current->kroNext() : nullptr);
  }
  LrIteratorConst& operator++() {
    advance();
    return *this;
  }

 private:
  ListRaw const* list_ = nullptr;
  std::uint32_t version_ = 0;
};

/// Also yields elements that can be changed.
template <class T>
class ListRaw<T>::LrIterator : public LrIteratorConst {
 public:
  using LrIteratorConst::LrIteratorConst;
  LrIterator() = default;
  Ptr<T> member() const { return share(this->current()); }
  T* operator->() const { return this->current(); }
  T& operator*() const { return *this->current(); }
  LrIterator& operator++() {
    this->advance();
    return *this;
  }

 private:
  friend class ListRaw;
  explicit LrIterator(LrIteratorConst const& other) : LrIteratorConst(other) {}
};

}  // namespace Kro
