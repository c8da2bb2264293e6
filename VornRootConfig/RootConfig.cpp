#include "VornRootConfig/RootConfig.h"

#include "VornRootConfig/VornRootConfigLog.h"
#include "runtime/reflection/EntityOfOps.h"

template class Kro::EntityOf<Vorn::RootConfig>;
template class Kro::EntityGenericIfOf<Vorn::RootConfig>;

namespace Vorn {

using T = RootConfig;

RootConfig::RootConfig(Kro::Name name, std::uint32_t rootConfigId, ChipId chipId)
    : EntityOf(std::move(name)), rootConfigId_(rootConfigId), chipId_(chipId) {}

RootConfig::~RootConfig() { Kro::endEntity(*this); }

RootConfig::NotifieeConst::~NotifieeConst() = default;

Kro::Ptr<RootConfig> rootConfigFactory(Kro::Name name, std::uint32_t rootConfigId, ChipId chipId) {
  return Kro::adopt(new RootConfig(std::move(name), rootConfigId, chipId));
}

void RootConfig::activeIs(bool active) { Kro::setScalar(*this, row<&T::active_>, active); }
void RootConfig::actionIs(RootAction action) { Kro::setScalar(*this, row<&T::action_>, action); }
void RootConfig::vornRootKickTimeIs(double const& seconds) {
  Kro::setScalar(*this, row<&T::vornRootKickTime_>, seconds);
}
void RootConfig::vornRootKickIs(std::uint32_t kick) { Kro::setScalar(*this, row<&T::vornRootKick_>, kick); }
std::uint32_t RootConfig::vornRootKickInc(std::uint32_t n) {
  return Kro::incrementCounter(*this, row<&T::vornRootKick_>, n);
}
void RootConfig::initializedIs(bool initialized) { Kro::setScalar(*this, row<&T::initialized_>, initialized); }

Kro::Ptr<VornAclColl> RootConfig::vornAclCollIs(Kro::Name name) {
  return Kro::setChild(*this, row<&T::vornAclColl_>, name);
}
Kro::Ptr<VornAclColl> RootConfig::newVornAclColl(Kro::Name name) {
  return Kro::newChild(*this, row<&T::vornAclColl_>, name);
}
Kro::Ptr<VornAclColl> RootConfig::vornAclCollDel() { return Kro::removeChild(*this, row<&T::vornAclColl_>); }

Kro::Ptr<AclKeyToAclIdMapping> RootConfig::aclKeyToAclIdIs(Kro::Name name) {
  return Kro::setChild(*this, row<&T::aclKeyToAclId_>, name);
}
Kro::Ptr<AclKeyToAclIdMapping> RootConfig::newAclKeyToAclId(Kro::Name name) {
  return Kro::newChild(*this, row<&T::aclKeyToAclId_>, name);
}
Kro::Ptr<AclKeyToAclIdMapping> RootConfig::aclKeyToAclIdDel() {
  return Kro::removeChild(*this, row<&T::aclKeyToAclId_>);
}

void RootConfig::initialize() {
  if (initialized()) {
    return;
  }
  Kro::Ptr<RootConfig> const held = Kro::share(this);  // an observer of the first child may drop the last handle
  vornAclCollIs("VornAclColl");
  aclKeyToAclIdIs("AclKeyToAclId");
  initializedIs(true);
}

namespace {

template <class C>
bool equalChildren(Kro::Ptr<C> const& mine, Kro::Ptr<C> const& other) {
  return mine && other ? mine->equal(other) : !mine && !other;
}

}  // namespace

bool RootConfig::equal(Kro::Ptr<RootConfig const> const& rootConfig) const {
  return rootConfig && chipId() == rootConfig->chipId() && equalChildren(vornAclColl(), rootConfig->vornAclColl()) &&
         equalChildren(aclKeyToAclId(), rootConfig->aclKeyToAclId());
}

}  // namespace Vorn
