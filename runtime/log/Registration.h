// The observer that links a stream adapter into its entity's observer list.
#pragma once

#include "runtime/entity/ChangeObserver.h"

namespace Kro::NboAttrLog {

template <class X>
class AdapterOf;

/// An observer of `X` that reacts for the adapter that owns it.
template <class X>
class Registration final : public ChangeObserver<X> {
 public:
  explicit Registration(AdapterOf<X>& adapter) : adapter_(adapter) {}

  Ptr<PtrInterface::NotifieeConst> kroReactor() const override {
    return Ptr<PtrInterface::NotifieeConst>(&adapter_, Share{});
  }
  PtrInterface::NotifieeConst* kroRawReactor() const override { return &adapter_; }
  bool isStreamAdapter() const override { return true; }
  void onChange(AttributeId id, void const* key) override { adapter_.handleChange(id, key); }
  void onZeroReferences() override { adapter_.onZeroReferences(); }
  void onNotificationException(AttributeId id) override { adapter_.onNotificationException(id); }

 private:
  AdapterOf<X>& adapter_;
};

}  // namespace Kro::NboAttrLog
