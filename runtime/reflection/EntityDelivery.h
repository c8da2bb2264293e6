// What `EntityGenericIfOf` hears of its entity and tells, at once or when its activity runs. Included by
// `EntityReflectionOps.h`.
#pragma once

#include "runtime/reflection/EntityReflection.h"

namespace Kro {

template <class X>
EntityGenericIfOf<X>::~EntityGenericIfOf() {
  if (adapter_) {
    adapter_->ownerDel();
    adapter_->notifierIs(nullptr);
  }
}

template <class X>
EntityGenericIfOf<X>::EntityGenericIfOf(Ptr<X> const& entity, bool isConst)
    : GenericIfEntity(entity, isConst), adapter_(adopt(new ReflectionAdapter<X>(this))) {
  adapter_->isRegisteredNotifieeIs(true);
  adapter_->notifierIs(Ptr<PtrInterface const>(entity));
  adapter_->isWeakReferenceIs(true);
  storeRegistered(true);
}

template <class X>
void EntityGenericIfOf<X>::notifierIs(Ptr<PtrInterface const> const& entity) {
  Ptr<X> const wanted = share(const_cast<X*>(dynamic_cast<X const*>(entity.get())));
  if (adapter_) {
    adapter_->notifierIs(Ptr<PtrInterface const>(wanted));
  }
  entityIs(wanted);
}

template <class X>
void EntityGenericIfOf<X>::isRegisteredNotifieeIs(bool registered) const {
  storeRegistered(registered);
  if (adapter_) {
    adapter_->isRegisteredNotifieeIs(registered);
  }
}

template <class X>
void EntityGenericIfOf<X>::onChange(AttributeId id, void const* changedKey) {
  withChange<X>(
      id, changedKey,
      [&]<class D>(D const&, typename D::Key const& key) {
        auto& pending = adapter_->template pending<D>();
        pending.lastKey = key;
        if (kroOnAttribute(id, &pending.count)) {
          pendingIs(id);
        } else {
          onAttribute(id, genericIfOf<typename D::Key>(key));
        }
      },
      [&](auto const&) { onAttribute(id); });
}

/// Tells an attribute that waits: by its key where it changed once, by itself where it changed more often.
template <class X>
template <class D>
void EntityGenericIfOf<X>::deliver(D const&, bool inBulk) {
  try {
    if constexpr (isKeyed<D>) {
      auto& pending = adapter_->template pending<D>();
      unsigned const count = std::exchange(pending.count, std::uint8_t{0});
      if (inBulk || count > 1) {
        onAttribute(D::id);  // the single keys are no longer known
      } else if (count == 1) {
        onAttribute(D::id, genericIfOf<typename D::Key>(pending.lastKey));
      }
    } else if (inBulk) {
      onAttribute(D::id);
    }
  } catch (...) {  // harms no other attribute
    handleNotificationException(D::id);
  }
}

template <class X>
void EntityGenericIfOf<X>::handleNotification(ActivityConfig* config) {
  Ptr<GenericIf> const held = share<GenericIf>(this);  // a handler may drop the last handle
  AttributeId const pending = takePending();
  bool const all = pending == ActivityConfig::several || pending == ActivityConfig::bulk;
  if (all) {
    GenericIfEntity::handleNotification(config);
  }
  bool known = all;
  forEachEntityAttribute<X>([&](auto const& d) {
    using D = std::remove_cvref_t<decltype(d)>;
    if constexpr (isTold<D>) {
      if (!all && D::id != pending) {
        return;
      }
      known = true;
      if (all) {
        redispatch(actsm());  // a handler may have taken the activity away
      }
      deliver(d, pending == ActivityConfig::bulk);
    }
  });
  if (!known) {
    pendingIs(pending);
    GenericIfEntity::handleNotification(config);
  }
}

template <class X>
void EntityGenericIfOf<X>::kroDoZombieReactors(bool zombie) {
  if (zombie == kroMarkedForDeletion()) {
    return;
  }
  if (adapter_) {
    adapter_->kroDoZombieReactors(zombie);
  }
  GenericIfEntity::kroDoZombieReactors(zombie);
}

}  // namespace Kro
