#include "runtime/entity/Notifiee.h"

namespace Kro {

void PtrInterface::NotifieeConst::hasNotificationActiveIs(bool active) {
  if (active == hasNotificationActive()) {
    return;
  }
  if (active) {
    PtrInterface::hasNotificationActiveIs(true);
    if ((flagWord_ & wasRegisteredBit) != 0) {
      isRegisteredNotifieeIs(true);
    }
  } else {
    flagWord_ = registered_ ? flagWord_ | wasRegisteredBit : flagWord_ & ~wasRegisteredBit;
    PtrInterface::hasNotificationActiveIs(false);
    isRegisteredNotifieeIs(false);
  }
}

void PtrInterface::NotifieeConst::isWeakReferenceIs(bool weak) {
  if (weak == weak_) {
    return;
  }
  PtrInterface const* const notifier = notifier_;
  weak_ = weak;
  weaknessChanged();
  if (notifier == nullptr) {
    return;
  }
  if (weak) {
    notifier->referencesDec();  // may be the last one: the notifier then detaches this observer
  } else {
    notifier->referencesInc();
  }
}

void PtrInterface::NotifieeConst::storeNotifier(PtrInterface const* notifier) {
  PtrInterface const* const old = notifier_;
  if (!weak_ && notifier != nullptr) {
    notifier->referencesInc();
  }
  notifier_ = notifier;
  if (!weak_ && old != nullptr) {
    old->referencesDec();
  }
}

unsigned PtrInterface::NotifieeConst::auditErrors(unsigned level) const { return kroAuditErrors(level); }
Ptr<PtrInterface::NotifieeConst> PtrInterface::NotifieeConst::kroReactor() const { return share(kroRawReactor()); }
PtrInterface::NotifieeConst* PtrInterface::NotifieeConst::kroRawReactor() const {
  return const_cast<NotifieeConst*>(this);
}
bool PtrInterface::NotifieeConst::isStreamAdapter() const { return false; }
void PtrInterface::NotifieeConst::isRegisteredNotifieeIs(bool registered) const { storeRegistered(registered); }
void PtrInterface::NotifieeConst::kro_bitSetIs(Kro_BitSet bits) { flagWord_ = bits.word(); }
String8 PtrInterface::NotifieeConst::name() const { return {}; }
void PtrInterface::NotifieeConst::notifierIs(Ptr<PtrInterface const> const& notifier) { storeNotifier(notifier.get()); }
void PtrInterface::NotifieeConst::handleNotification(ActivityConfig*) {}
void PtrInterface::NotifieeConst::handleDefault(ActivityConfig*, AttributeId, bool) {}
void PtrInterface::NotifieeConst::onAttribute(AttributeId) {}
void PtrInterface::NotifieeConst::onNotification() {}
void PtrInterface::NotifieeConst::onCollectionNotification(String8) {}
void PtrInterface::NotifieeConst::onNotificationException() {}
void PtrInterface::NotifieeConst::onNotificationException(AttributeId) {}
void PtrInterface::NotifieeConst::handleNotificationException(AttributeId) {}
void PtrInterface::NotifieeConst::handleNotificationException() {}
void PtrInterface::NotifieeConst::onZeroReferences() {}
ActivityConfig* PtrInterface::NotifieeConst::activityPtr() const { return nullptr; }
ActivityConfig* PtrInterface::NotifieeConst::kroFwkActivity() { return nullptr; }
ActivityConfig const* PtrInterface::NotifieeConst::kroFwkActivity() const { return nullptr; }
ActivitySm* PtrInterface::NotifieeConst::actsm() { return nullptr; }

}  // namespace Kro
