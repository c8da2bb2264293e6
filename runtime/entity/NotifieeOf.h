// The generated part of an entity type's observer interface.
#pragma once

#include <type_traits>

#include "runtime/entity/Dispatch.h"
#include "runtime/entity/Entity.h"

namespace Kro {

/// Whether the object that reacts for an observer is the stream adapter of an entity.
VORNACL_API bool reactsForStream(PtrInterface::NotifieeConst const& observer);

/// Base of `X::NotifieeConst`.
template <class X>
class NotifieeOf : public Entity::NotifieeConst {
 public:
  NotifieeOf() = default;
  /// Takes itself out of the observer list, also where it is marked for deletion: anybody may mark an observer that is
  /// registered.
  ~NotifieeOf() override {
    if (X const* const entity = notifier()) {
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

  mutable NotifieeOf* next_ = nullptr;
};

/// What an entity type has that forgot its observers.
template <class X>
struct MissingObserver {
  static_assert(!std::is_same_v<X, X>,
                "give the entity type a class NotifieeConst, derived from Kro::NotifieeOf of "
                "that type, with a handler for each attribute that is told");
};

/// An observer that may change the `X` that it observes: what `X::Notifiee` is.
template <class X>
class VORNACL_API NotifieeFor : public X::NotifieeConst {
 public:
  using Notifiee = NotifieeFor;
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
