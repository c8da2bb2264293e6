// The observer base: what every observer, reflection object and stream adapter has in common.
#pragma once

#include "runtime/core/AttributeId.h"
#include "runtime/core/BitSet.h"
#include "runtime/core/Ptr.h"
#include "runtime/core/String8.h"

namespace Kro {

class ActivityConfig;
class ActivitySm;

/// Base of all observers: a counted object that may be attached to one notifier. It holds a counted reference to the
/// notifier unless it is weak. Handlers do nothing in the base.
class VORNACL_API PtrInterface::NotifieeConst : public PtrInterface {
 public:
  using Kro_BitSet = BitSet<29, unsigned>;

  /// Bits of the flag word.
  static constexpr std::uint32_t writableBit = 0x4000000;  ///< set on construction; stream adapters write only with it
  static constexpr std::uint32_t wasRegisteredBit = 0x80000;  ///< bit 19: the registration while notification is off

  /// Constructed detached, with notification active.
  NotifieeConst() : PtrInterface(notificationActiveBit), flagWord_(writableBit) {}
  NotifieeConst(NotifieeConst const&) = delete;
  NotifieeConst& operator=(NotifieeConst const&) = delete;
  ~NotifieeConst() override {
    if (notifier_ != nullptr && !weak_) {
      notifier_->referencesDec();
    }
  }

  /// Switching off unlinks the observer and remembers whether it was registered; switching on restores exactly that.
  void hasNotificationActiveIs(bool active) override;
  unsigned auditErrors(unsigned level) const override;

  /// The object that really reacts: the observer itself, or the owner of an adapter.
  virtual Ptr<PtrInterface::NotifieeConst> kroReactor() const;
  /// The same without counting.
  virtual PtrInterface::NotifieeConst* kroRawReactor() const;
  virtual bool isStreamAdapter() const;
  /// Links the observer into its notifier's observer list or out of it; it stays attached either way.
  virtual void isRegisteredNotifieeIs(bool registered) const;
  virtual void kro_bitSetIs(Kro_BitSet bits);
  /// The notifier's name, empty while detached.
  virtual String8 name() const;
  /// Attaches the observer, moves it, or detaches it with null; an object of another type than it observes counts as
  /// null.
  virtual void notifierIs(Ptr<PtrInterface const> const& notifier);
  /// Delivers what the deferred path has collected.
  virtual void handleNotification(ActivityConfig* config);
  virtual void handleDefault(ActivityConfig* config, AttributeId id, bool bulk);
  /// Any attribute changed, key unknown.
  virtual void onAttribute(AttributeId id);
  virtual void onNotification();
  virtual void onCollectionNotification(String8 name);
  virtual void onNotificationException();
  /// A handler of this observer threw, for the attribute with this id; called inside the catch block, so that `throw;`
  /// lets the exception pass on to the caller of the mutator. Does nothing in the base.
  virtual void onNotificationException(AttributeId id);
  virtual void handleNotificationException(AttributeId id);
  virtual void handleNotificationException();
  /// The last counted reference to the notifier went; only weak observers can hear it.
  virtual void onZeroReferences();
  virtual ActivityConfig* activityPtr() const;
  virtual ActivityConfig* kroFwkActivity();
  virtual ActivityConfig const* kroFwkActivity() const;
  virtual ActivitySm* actsm();

  /// Whether a change of a collection is told later: the runtime then has counted it in `pendingCount`, which stays at
  /// 255 once it is there, and scheduled the observer's activity.
  bool kroOnAttribute(AttributeId id, unsigned char* pendingCount);
  /// Lets others run between two deliveries.
  void redispatch(ActivitySm* machine);

  /// Makes the observer weak: it holds no count on its notifier. A notifier that dies detaches its weak observers.
  void isWeakReferenceIs(bool weak);
  bool isWeakReference() const { return weak_; }
  bool isRegisteredNotifiee() const { return registered_; }
  /// Whether entities tell this observer of changes by the attribute's id; see `ChangeObserver`.
  bool isToldById() const { return toldById_; }
  std::uint32_t flagWord() const { return flagWord_; }
  void flagWordIs(std::uint32_t word) { flagWord_ = word; }

 protected:
  PtrInterface const* rawNotifier() const { return notifier_; }
  /// Stores another notifier, counting it unless the observer is weak.
  void storeNotifier(PtrInterface const* notifier);
  void storeRegistered(bool registered) const { registered_ = registered; }
  /// The notifier died: forgets it without giving a count back.
  void forgetNotifier() { notifier_ = nullptr; }
  /// The observer became weak or strong while attached and unregistered.
  virtual void weaknessChanged() {}

 private:
  template <class X>
  friend class ChangeObserver;

  std::uint32_t flagWord_ = 0;
  [[maybe_unused]] std::uint32_t runtimeWord_ = 0;
  PtrInterface const* notifier_ = nullptr;
  bool weak_ = false;
  bool toldById_ = false;
  mutable bool registered_ = false;
};

/// An observer that may change what it observes.
class VORNACL_API PtrInterface::Notifiee : public PtrInterface::NotifieeConst {};

}  // namespace Kro
