// The observer that hears of all attributes in one place: what a type's list tells of an attribute is all that it needs
// to know.
#pragma once

#include "runtime/entity/EntityAttributes.h"
#include "runtime/entity/Notifiee.h"

namespace Kro {

/// An observer of `X` that is told each change by the attribute's id. The entity calls `onChange` in the place of the
/// handlers with names, for each attribute of the list, so that none can be left out.
template <class X>
class ChangeObserver : public X::Notifiee {
 public:
  /// `key` points to the key of a keyed attribute, an object of its descriptor's type `Key`; null for any other.
  virtual void onChange(AttributeId id, void const* key) = 0;

 protected:
  ChangeObserver() { this->toldById_ = true; }
};

/// Calls `keyed(descriptor, key)` or `single(descriptor)` for the attribute that a change is about.
template <class X, class Keyed, class Single>
void withChange(AttributeId id, void const* key, Keyed const& keyed, Single const& single) {
  withEntityAttribute<X>(id, [&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (isKeyed<D>) {
      keyed(d, *static_cast<typename D::Key const*>(key));
    } else if constexpr (isTold<D>) {
      single(d);
    }
  });
}

}  // namespace Kro
