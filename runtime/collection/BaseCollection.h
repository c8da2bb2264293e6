// The bases that the ordered map and the observer list share, and the base of their iterators.
#pragma once

#include <utility>

#include "runtime/core/Ptr.h"

namespace Kro {

/// Base of the collections whose iterators tools hold without knowing the collection's type.
class VORNACL_API BaseCollection {
 public:
  /// Base of all iterators, the form in which tools hold one: they copy it with `iteratorSpaceCopy`, advance it through
  /// its own type and give it back to `iteratorDelete`.
  class StrepIterator {
   protected:
    StrepIterator() = default;
    StrepIterator(StrepIterator const&) = default;
    StrepIterator& operator=(StrepIterator const&) = default;
    ~StrepIterator() = default;
  };

  virtual ~BaseCollection() = default;
  /// Destroys an iterator that `iteratorSpaceCopy` of the same collection type made.
  virtual void iteratorDelete(StrepIterator& iterator) const = 0;
  /// A copy on the heap of an iterator of this collection; owned by the caller until `iteratorDelete`.
  virtual StrepIterator* iteratorSpaceCopy(StrepIterator const& iterator) const = 0;

 protected:
  BaseCollection() = default;
  BaseCollection(BaseCollection const&) = delete;
  BaseCollection& operator=(BaseCollection const&) = delete;
};

/// A collection of counted objects whose common base is `T`.
template <class T>
class BaseRefCollection : public BaseCollection {};

/// What all iterators have: the member they stand on, kept alive by a reference of their own, so that a member that is
/// removed meanwhile stays valid (detached) until the iterator moves on.
template <class Node, bool isCounted>
class BaseIteratorConst : public BaseCollection::StrepIterator {
  static_assert(isCounted, "an iterator keeps the member that it stands on alive: pass true");

 public:
  /// Whether there is a current member; false at the end.
  explicit operator bool() const { return static_cast<bool>(current_); }
  /// The current member, null at the end.
  Ptr<Node const> member() const { return current_; }
  /// Precondition: not at the end.
  Node const* operator->() const { return current_.get(); }
  /// Precondition: not at the end.
  Node const& operator*() const { return *current_; }

 protected:
  BaseIteratorConst() = default;
  explicit BaseIteratorConst(Node* first) : current_(first, Share{}) {}
  ~BaseIteratorConst() = default;
  BaseIteratorConst(BaseIteratorConst const&) = default;
  BaseIteratorConst& operator=(BaseIteratorConst const&) = default;

  Node* current() const { return current_.get(); }
  /// The old member may be destroyed by this; call it last.
  void currentIs(Node* next) { current_ = Ptr<Node>(next, Share{}); }

 private:
  Ptr<Node> current_;
};

}  // namespace Kro
