// The reflection objects of this source's entity types.
#pragma once

#include "VornAclTable/VornAclReflection.h"
#include "VornRootConfig/RootConfigColl.h"
#include "VornRootConfig/VornRootConfigLog.h"

namespace Vorn {

/// Reflects a `RootConfig`.
class VORNACL_API RootConfig::GenericIf_ final : public Kro::EntityGenericIfOf<RootConfig> {
 public:
  class GenericIf_Adapter_;
  GenericIf_(Kro::Ptr<RootConfig> const& entity, bool isConst);
};

class VORNACL_API RootConfig::GenericIf_::GenericIf_Adapter_ final : public Kro::ReflectionAdapter<RootConfig> {
 public:
  using ReflectionAdapter::ReflectionAdapter;
  void onActive() override { owner().onAttribute(Attributes::active.id); }
  void onVornAclColl() override { owner().onAttribute(Attributes::vornAclColl.id); }
  void onAclKeyToAclId() override { owner().onAttribute(Attributes::aclKeyToAclId.id); }
  void onAction() override { owner().onAttribute(Attributes::action.id); }
  void onVornRootKickTime() override { owner().onAttribute(Attributes::vornRootKickTime.id); }
  void onVornRootKick() override { owner().onAttribute(Attributes::vornRootKick.id); }
  void onInitialized() override { owner().onAttribute(Attributes::initialized.id); }
};

/// Reflects a `RootConfigColl`.
class VORNACL_API RootConfigColl::GenericIf_ final : public Kro::EntityGenericIfOf<RootConfigColl> {
 public:
  class GenericIf_Adapter_;
  GenericIf_(Kro::Ptr<RootConfigColl> const& entity, bool isConst);
};

class VORNACL_API RootConfigColl::GenericIf_::GenericIf_Adapter_ final : public Kro::ReflectionAdapter<RootConfigColl> {
 public:
  using ReflectionAdapter::ReflectionAdapter;
  using RootConfigColl::Notifiee::onChipRootConfig;
  using RootConfigColl::Notifiee::onChipRootConfigLastFailed;
  void onChipRootConfig(std::uint32_t key) override { owner().onKey(Attributes::chipRootConfig, *this, key); }
  void onChipRootConfigLastFailed(ChipId key) override {
    owner().onKey(Attributes::chipRootConfigLastFailed, *this, key);
  }
};

}  // namespace Vorn
