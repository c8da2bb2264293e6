// The observer that links a stream adapter into its entity's observer list.
#pragma once

#include "runtime/entity/Entity.h"

namespace Kro::NboAttrLog {

/// Base of `X::KroNboAttrLogSa::KroNboAttrLogSaAdapter_`: an observer of `X` that reacts for the adapter that owns it.
/// The type's own class forwards each handler to `adapter()`.
template <class X>
class Registration : public X::Notifiee {
 public:
  using Adapter = typename X::KroNboAttrLogSa;

  explicit Registration(Adapter& adapter) : adapter_(adapter) {}

  Ptr<PtrInterface::NotifieeConst> kroReactor() const override {
    return Ptr<PtrInterface::NotifieeConst>(&adapter_, Share{});
  }
  PtrInterface::NotifieeConst* kroRawReactor() const override { return &adapter_; }
  bool isStreamAdapter() const override { return true; }
  void onZeroReferences() override { adapter_.onZeroReferences(); }
  void onNotificationException(AttributeId id) override { adapter_.onNotificationException(id); }

 protected:
  Adapter& adapter() const { return adapter_; }

 private:
  Adapter& adapter_;
};

}  // namespace Kro::NboAttrLog
