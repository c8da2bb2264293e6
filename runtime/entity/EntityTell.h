// How an entity tells its observers of a change. Included by `EntityOps.h`, whose algorithms do so last.
#pragma once

#include <type_traits>

#include "runtime/entity/ChangeObserver.h"
#include "runtime/entity/Dispatch.h"
#include "runtime/entity/EntityAttributes.h"

namespace Kro {

/// Calls `call(observer)` for each observer of the entity; `id` is reported where a call throws.
template <class X, class Call>
void tellObservers(X& entity, AttributeId id, Call const& call) {
  auto& observers = entity.kroObservers();
  if (observers.count() == 0) {
    return;
  }
  using N = typename X::NotifieeConst;
  using List = ListRaw<typename std::remove_reference_t<decltype(observers)>::Element>;
  SnapshotIterator<List> snapshot(observers);
  dispatch(snapshot, id, [&](PtrInterface::NotifieeConst& observer) { call(static_cast<N&>(observer)); });
}

/// The handler of an attribute, as a constant: calling one that is read from a descriptor takes a test more.
template <class X, class D>
inline constexpr auto handlerOf = entityAttribute<X, D::id - firstEntityAttributeId>.handler;

/// Tells a change of a keyed attribute. The key may be that of a record which a handler removes.
template <class X, class D>
void tellKey(X& entity, D const&, typename D::Key const& key) {
  if (entity.kroObservers().count() != 0) {
    tellObservers(entity, D::id, [copy = key](typename X::NotifieeConst& observer) {
      if (observer.isToldById()) {
        static_cast<ChangeObserver<X>&>(observer).onChange(D::id, &copy);
      } else {
        (observer.*handlerOf<X, D>)(copy);
      }
    });
  }
}

/// Tells a change of a scalar or single child.
template <class X, class D>
void tellChange(X& entity, D const&) {
  tellObservers(entity, D::id, [](typename X::NotifieeConst& observer) {
    if (observer.isToldById()) {
      static_cast<ChangeObserver<X>&>(observer).onChange(D::id, nullptr);
    } else {
      (observer.*handlerOf<X, D>)();
    }
  });
}

template <class X>
void tellZeroReferences(X& entity) {
  tellObservers(entity, zeroReferencesId, [](typename X::NotifieeConst& observer) { observer.onZeroReferences(); });
}

}  // namespace Kro
