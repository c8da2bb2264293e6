// Following a whole tree with one function.
#pragma once

#include <exception>
#include <functional>
#include <string_view>
#include <typeinfo>

#include "runtime/entity/Entity.h"
#include "runtime/value/Codec.h"

namespace Kro {

class TreeFollower;

/// A key or a value of whatever type, as a change tells it; good while the callable runs.
class TreeValue {
 public:
  TreeValue() = default;
  template <HasStrep T>
  explicit TreeValue(T const& value)
      : value_(&value),
        type_(&typeid(T)),
        print_([](void const* at) { return valueToStrep(*static_cast<T const*>(at)); }) {}

  /// Whether there is one.
  explicit operator bool() const { return value_ != nullptr; }
  /// The value as a `T`; null where there is none or it is of another type.
  template <class T>
  T const* as() const {
    return value_ != nullptr && *type_ == typeid(T) ? static_cast<T const*>(value_) : nullptr;
  }
  /// The value as it prints itself; empty where there is none.
  String8 text() const { return value_ != nullptr ? print_(value_) : String8(); }

 private:
  void const* value_ = nullptr;
  std::type_info const* type_ = nullptr;
  String8 (*print_)(void const*) = nullptr;
};

/// One change in a followed tree.
struct TreeChange {
  enum class Kind {
    added,    ///< an entry of a collection, or a single child, that was not there
    changed,  ///< another value under the same key, or of a scalar
    removed
  };

  Kind kind = Kind::changed;
  Entity& entity;              ///< the entity whose attribute it is
  String8 const& path;         ///< that entity's `fullName` when it came into the tree
  AttributeId id = 0;          ///< which attribute
  std::string_view attribute;  ///< its name
  TreeValue key;               ///< in a collection: of which entry
  TreeValue before;            ///< of a value: what stood there, unless nothing did or values are not remembered
  TreeValue now;               ///< of a value: what stands there, unless nothing does
  Ptr<Entity const> target;    ///< of an entity that is contained or referred to: the one that came or went

  /// The entity as an `X`, null where it is none.
  template <class X>
  X* of() const {
    return dynamic_cast<X*>(&entity);
  }
};

/// What a `TreeObserver` follows and what it tells.
struct TreeOptions {
  /// Tells what is there at the beginning, too, as if it came just then.
  bool tellsPresent = false;
  /// Keeps a copy of each value of the collections of values. Without the copies `TreeChange::before` is empty when an
  /// entry is set, and setting it is always told as `changed`.
  bool remembersValues = true;
  /// Which entities are followed; one that is not is not told, nor anything below it. Asked once when an entity comes.
  /// Without a function all are.
  std::function<bool(Entity const&)> follows;
  /// Which attributes are followed, in the same way. Asked once for each attribute of an entity that comes.
  std::function<bool(Entity const&, AttributeId)> selects;
  /// Is handed what the callable threw, and a lack of memory. Without a function the first exception of a change
  /// leaves the mutator that made it; then the observers behind this one are not told of that change.
  std::function<void(std::exception_ptr)> onException;
};

/// Follows an entity and everything below it: entities that come are followed from then on, those that go are let go.
///
///     Kro::TreeObserver const observer(tree, [&](Kro::TreeChange const& change) {
///       if (auto const* const acl = change.of<Vorn::VornAcl>(); acl != nullptr && change.id == rules) { ... }
///     });
///
/// Told are differences: each scalar, value, entity and reference that is another one than the callable was told last.
/// Of scalars the default is taken for told. An entity that comes is told before its contents, one that goes after its
/// contents, each entry of which is told as removed; its scalars are not.
///
/// The callable may do anything, to the tree and to the observer: what it changes is told within that change, and once
/// the observer is gone nothing more is told. The observer holds what it follows; it belongs to the tree's thread.
///
/// A change costs about what one hand-written observer costs and, where values are remembered, a look-up in the copy.
class VORNACL_API TreeObserver {
 public:
  using Callable = std::function<void(TreeChange const&)>;

  /// Throws `RangeException` for a null root, and what the callable throws without `onException`.
  TreeObserver(Ptr<Entity> const& root, Callable callable, TreeOptions options = {});
  ~TreeObserver();
  TreeObserver(TreeObserver&& other) noexcept;
  TreeObserver& operator=(TreeObserver&& other) noexcept;

  /// Compares the whole tree with what was told, and tells what differs. Needed only where a lack of memory kept a
  /// change from being told.
  void refresh();

 private:
  Ptr<TreeFollower> follower_;
};

}  // namespace Kro
