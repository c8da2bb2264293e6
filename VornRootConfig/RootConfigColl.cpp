#include "VornRootConfig/RootConfigColl.h"

#include "VornRootConfig/VornRootConfigLog.h"
#include "runtime/reflection/EntityOfOps.h"

template class Kro::EntityOf<Vorn::RootConfigColl>;
template class Kro::EntityGenericIfOf<Vorn::RootConfigColl>;

namespace Vorn {

using T = RootConfigColl;

RootConfigColl::RootConfigColl(Kro::Name name) : EntityOf(std::move(name)) {}
RootConfigColl::~RootConfigColl() { Kro::endEntity(*this); }

RootConfigColl::NotifieeConst::~NotifieeConst() = default;

Kro::Ptr<RootConfigColl> rootConfigCollFactory(Kro::Name name) {
  return Kro::adopt(new RootConfigColl(std::move(name)));
}

Kro::Ptr<RootConfig> RootConfigColl::chipRootConfigIs(std::uint32_t rootConfigId, ChipId chipId) {
  return Kro::getOrCreate(
      *this, row<&T::chipRootConfig_>, rootConfigId, [&] { return newChipRootConfig(rootConfigId, chipId); }, chipId);
}
Kro::Ptr<RootConfig> RootConfigColl::newChipRootConfig(std::uint32_t rootConfigId, ChipId chipId) {
  auto member = rootConfigFactory(Kro::valueToStrep(rootConfigId), rootConfigId, chipId);
  Kro::adoptMember(*this, row<&T::chipRootConfig_>, member);
  return member;
}
Kro::Ptr<RootConfig> RootConfigColl::chipRootConfigDel(std::uint32_t rootConfigId) {
  return Kro::removeEntityByKey(*this, row<&T::chipRootConfig_>, rootConfigId);
}
Kro::Ptr<RootConfig> RootConfigColl::chipRootConfigDel(ChipRootConfigMap::Iterator& iterator) {
  return Kro::removeEntityAt(*this, row<&T::chipRootConfig_>, iterator);
}
void RootConfigColl::chipRootConfigDelAll() { Kro::removeAll(*this, row<&T::chipRootConfig_>); }
void RootConfigColl::chipRootConfigNotify(std::uint32_t rootConfigId) {
  Kro::tellKey(*this, row<&T::chipRootConfig_>, rootConfigId);
}

Kro::Ptr<RootConfig const> RootConfigColl::chipRootConfigLastFailed(ChipId chipId) const {
  return Kro::referenceAt(*this, row<&T::chipRootConfigLastFailed_>, chipId);
}
void RootConfigColl::chipRootConfigLastFailedIs(Kro::Ptr<RootConfig const> const& configuration) {
  Kro::setReference(*this, row<&T::chipRootConfigLastFailed_>, configuration);
}
Kro::Ptr<RootConfigColl::KroChipRootConfigLastFailed> RootConfigColl::newChipRootConfigLastFailed(
    Kro::Ptr<RootConfig const> const& configuration) {
  return Kro::newReference(*this, row<&T::chipRootConfigLastFailed_>, configuration);
}
Kro::Ptr<RootConfig const> RootConfigColl::chipRootConfigLastFailedDel(ChipId chipId) {
  return Kro::removeReferenceByKey(*this, row<&T::chipRootConfigLastFailed_>, chipId);
}
Kro::Ptr<RootConfig const> RootConfigColl::chipRootConfigLastFailedDel(
    ChipRootConfigLastFailedMap::Iterator& iterator) {
  return Kro::removeReferenceAt(*this, row<&T::chipRootConfigLastFailed_>, iterator);
}
void RootConfigColl::chipRootConfigLastFailedDelAll() { Kro::removeAll(*this, row<&T::chipRootConfigLastFailed_>); }
void RootConfigColl::chipRootConfigLastFailedNotify(ChipId chipId) {
  Kro::tellKey(*this, row<&T::chipRootConfigLastFailed_>, chipId);
}

}  // namespace Vorn
