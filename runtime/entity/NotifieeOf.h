// The generated part of an entity type's observer interface.
#pragma once

#include <tuple>

#include "runtime/entity/Dispatch.h"
#include "runtime/entity/Entity.h"

namespace Kro {

/// Whether the object that reacts for an observer is the stream adapter of an entity.
VORNACL_API bool reactsForStream(PtrInterface::NotifieeConst const& observer);

/// Base of `X::NotifieeConst`. `Keys` are the key types of the collection attributes of `X`, in declaration order: for
/// each the observer keeps the last key and the number of changes that deferred delivery has not yet told.
template <class X, class... Keys>
class NotifieeOf : public Entity::NotifieeConst {
 public:
  template <class Key>
  struct Pending {
    Key lastKey{};
    std::uint8_t count = 0;
  };

  NotifieeOf() = default;
  /// Takes itself out of the observer list, unless it is marked for deletion: the notification of such a one was
  /// switched off before, so that it is not registered.
  ~NotifieeOf() override {
    X const* const entity = notifier();
    if (entity != nullptr && !(isRegisteredNotifiee() && kroMarkedForDeletion())) {
      unlink(*entity);
    }
  }

  void isRegisteredNotifieeIs(bool registered) const override {
    if (registered == isRegisteredNotifiee()) {
      return;
    }
    if (X const* const entity = notifier()) {
      unlink(*entity);
      storeRegistered(registered);
      link(*entity);
    } else {
      storeRegistered(registered);
    }
  }

  String8 name() const override { return notifier() != nullptr ? notifier()->name().string() : String8(); }

  void notifierIs(Ptr<PtrInterface const> const& wanted) override {
    Ptr<X const> const entity = ptrCast<X const>(wanted);
    Ptr<X const> const old = share(notifier());
    if (entity == old) {
      return;
    }
    if (old) {
      unlink(*old);
    }
    storeNotifier(entity.get());
    if (entity) {
      link(*entity);
    }
  }

  /// The observed entity, null while detached; not counted.
  X const* notifier() const { return static_cast<X const*>(static_cast<Entity const*>(rawNotifier())); }

  /// The deferred-delivery state of the I-th collection attribute.
  template <std::size_t I>
  auto& pending() {
    return std::get<I>(pending_);
  }

  NotifieeOf* kroNext() const { return next_; }
  void kroNextIs(NotifieeOf* next) const { next_ = next; }
  /// The entity is dying.
  void kroForget() { forgetNotifier(); }

 protected:
  void weaknessChanged() override {
    if (X const* const entity = notifier(); entity != nullptr && !isRegisteredNotifiee()) {
      (isWeakReference() ? entity->kroObservers().silent().pushBack(self())
                         : void(entity->kroObservers().silent().remove(self())));
    }
  }

 private:
  NotifieeOf* self() const { return const_cast<NotifieeOf*>(this); }

  void link(X const& entity) const {
    auto& list = entity.kroObservers();
    if (!isRegisteredNotifiee()) {
      if (isWeakReference()) {
        list.silent().pushBack(self());
      }
    } else if (reactsForStream(*this)) {
      list.pushFront(self());
    } else {
      list.pushBack(self());
    }
  }
  void unlink(X const& entity) const {
    auto& list = entity.kroObservers();
    if (isRegisteredNotifiee()) {
      list.remove(self());
    } else if (isWeakReference()) {
      list.silent().remove(self());
    }
  }

  std::tuple<Pending<Keys>...> pending_;
  mutable NotifieeOf* next_ = nullptr;
};

/// Empties the observer list of a dying entity without telling anyone; its weak observers are detached.
template <class N>
void forgetObservers(ObserverList<N>& list) {
  for (ListRaw<N>* part : {static_cast<ListRaw<N>*>(&list), &list.silent()}) {
    for (N* at = part->head(); at != nullptr; at = at->kroNext()) {
      at->kroForget();
    }
    part->deleteAll();
  }
}

}  // namespace Kro
