// The members of hash maps that are made rather than written: how entities are chained, and records that refer to
// entities.
#pragma once

#include <type_traits>
#include <utility>

#include "runtime/core/Ptr.h"

namespace Kro {

/// The `KroHashLink` of an entity type: the field that is the key, and the pointer to the next one of a chain.
template <auto keyField, auto nextField>
struct MemberLink;
template <class X, class K, K X::*keyField, Ptr<X> X::*nextField>
struct MemberLink<keyField, nextField> {
  static K const& key(X const& member) { return member.*keyField; }
  static Ptr<X>& next(X& member) { return member.*nextField; }
  static void nextChanged(X& member) { member.kroCountMutation(); }
};

/// A record that refers to an `M`, which gives it its key by the accessor `get`.
template <class M, auto get>
class ReferenceRecord : public PtrInterface {
 public:
  using Key = std::remove_cvref_t<std::invoke_result_t<decltype(get), M const&>>;

  explicit ReferenceRecord(Ptr<M const> referenced) : referenced_(std::move(referenced)) {}

  Ptr<M const> const& referenced() const { return referenced_; }
  void referencedIs(Ptr<M const> const& referenced) { referenced_ = referenced; }

  struct KroHashLink {
    static Key key(ReferenceRecord const& entry) { return keyOfReferenced(*entry.referenced_); }
    static Key keyOfReferenced(M const& referenced) { return (referenced.*get)(); }
    static Ptr<ReferenceRecord>& next(ReferenceRecord& entry) { return entry.next_; }
    static void nextChanged(ReferenceRecord&) {}
  };

 private:
  Ptr<M const> referenced_;
  Ptr<ReferenceRecord> next_;
};

}  // namespace Kro
