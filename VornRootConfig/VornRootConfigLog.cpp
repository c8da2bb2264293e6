#include "VornRootConfig/VornRootConfigLog.h"

#include "runtime/log/EntityType.h"
#include "runtime/log/Registration.h"

namespace Vorn {

class RootConfig::KroNboAttrLogSa::KroNboAttrLogSaAdapter_ final : public Kro::NboAttrLog::Registration<RootConfig> {
 public:
  using Registration::Registration;
  void onActive() override { adapter().onActive(); }
  void onVornAclColl() override { adapter().onVornAclColl(); }
  void onAclKeyToAclId() override { adapter().onAclKeyToAclId(); }
  void onAction() override { adapter().onAction(); }
  void onVornRootKickTime() override { adapter().onVornRootKickTime(); }
  void onVornRootKick() override { adapter().onVornRootKick(); }
  void onInitialized() override { adapter().onInitialized(); }
};

class RootConfigColl::KroNboAttrLogSa::KroNboAttrLogSaAdapter_ final
    : public Kro::NboAttrLog::Registration<RootConfigColl> {
 public:
  using Registration::Registration;
  using RootConfigColl::Notifiee::onChipRootConfig;
  using RootConfigColl::Notifiee::onChipRootConfigLastFailed;
  void onChipRootConfig(std::uint32_t key) override { adapter().onChipRootConfig(key); }
  void onChipRootConfigLastFailed(ChipId key) override { adapter().onChipRootConfigLastFailed(key); }
};

RootConfig::KroNboAttrLogSa::KroNboAttrLogSa(Kro_BitSet flags, RootConfig& configuration,
                                             Kro::Ptr<Kro::NboAttrLog::Out> const& out, Kro::PtrInterface* parent)
    : AdapterOf(flags, configuration, out, parent) {
  registrationIs(Kro::adopt(new KroNboAttrLogSaAdapter_(*this)));
}

RootConfigColl::KroNboAttrLogSa::KroNboAttrLogSa(Kro_BitSet flags, RootConfigColl& coll,
                                                 Kro::Ptr<Kro::NboAttrLog::Out> const& out, Kro::PtrInterface* parent)
    : AdapterOf(flags, coll, out, parent) {
  registrationIs(Kro::adopt(new KroNboAttrLogSaAdapter_(*this)));
}

Kro::Ptr<Kro::Entity::KroNboAttrLogSa> RootConfig::kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask,
                                                                     Kro::Ptr<Kro::NboAttrLog::Out> const& out,
                                                                     Kro::PtrInterface* parent) {
  return Kro::adapterIs(*this, flags, mask, out, parent);
}
Kro::Ptr<Kro::Entity::KroNboAttrLogSa> RootConfigColl::kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask,
                                                                         Kro::Ptr<Kro::NboAttrLog::Out> const& out,
                                                                         Kro::PtrInterface* parent) {
  return Kro::adapterIs(*this, flags, mask, out, parent);
}

}  // namespace Vorn
