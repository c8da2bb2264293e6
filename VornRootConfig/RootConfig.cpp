#include "VornRootConfig/RootConfig.h"

#include "runtime/entity/EntityOps.h"

namespace Vorn {

using At = RootConfig::Attributes;

RootConfig::RootConfig(Kro::Name name, std::uint32_t rootConfigId, ChipId chipId)
    : Entity(std::move(name)), rootConfigId_(rootConfigId), chipId_(chipId) {}

RootConfig::~RootConfig() {
  Kro::removeChildFinally(*this, At::vornAclColl);
  Kro::removeChildFinally(*this, At::aclKeyToAclId);
  Kro::dropChild(*this, At::vornAclColl);
  Kro::dropChild(*this, At::aclKeyToAclId);
  Kro::forgetObservers(observers_);
}

RootConfig::NotifieeConst::~NotifieeConst() = default;
RootConfig::Notifiee::~Notifiee() = default;

Kro::Ptr<RootConfig> rootConfigFactory(Kro::Name name, std::uint32_t rootConfigId, ChipId chipId) {
  return Kro::adopt(new RootConfig(std::move(name), rootConfigId, chipId));
}

void RootConfig::activeIs(bool active) { Kro::setScalar(*this, At::active, active); }
void RootConfig::actionIs(RootAction action) { Kro::setScalar(*this, At::action, action); }
void RootConfig::vornRootKickTimeIs(double const& seconds) { Kro::setScalar(*this, At::vornRootKickTime, seconds); }
void RootConfig::vornRootKickIs(std::uint32_t kick) { Kro::setScalar(*this, At::vornRootKick, kick); }
void RootConfig::initializedIs(bool initialized) { Kro::setScalar(*this, At::initialized, initialized); }
std::uint32_t RootConfig::vornRootKickInc(std::uint32_t n) { return Kro::incrementCounter(*this, At::vornRootKick, n); }

Kro::Ptr<VornAclColl> RootConfig::newVornAclColl(Kro::Name name) { return Kro::newChild(*this, At::vornAclColl, name); }
Kro::Ptr<AclKeyToAclIdMapping> RootConfig::newAclKeyToAclId(Kro::Name name) {
  return Kro::newChild(*this, At::aclKeyToAclId, name);
}
Kro::Ptr<VornAclColl> RootConfig::vornAclCollIs(Kro::Name name) { return Kro::setChild(*this, At::vornAclColl, name); }
Kro::Ptr<AclKeyToAclIdMapping> RootConfig::aclKeyToAclIdIs(Kro::Name name) {
  return Kro::setChild(*this, At::aclKeyToAclId, name);
}
Kro::Ptr<VornAclColl> RootConfig::vornAclCollDel() { return Kro::removeChild(*this, At::vornAclColl); }
Kro::Ptr<AclKeyToAclIdMapping> RootConfig::aclKeyToAclIdDel() { return Kro::removeChild(*this, At::aclKeyToAclId); }

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

void RootConfig::zeroReferencesIs(bool) { Kro::tellZeroReferences(*this); }
unsigned RootConfig::auditErrors(unsigned level) const { return Kro::auditEntity(*this, level); }
Kro::String8 RootConfig::attributeString(Kro::AttributeId id) const {
  return Kro::attributeName<RootConfig>(*this, id);
}
Kro::String8 RootConfig::kroKeyText() const { return Kro::valueToStrep(rootConfigId_); }

}  // namespace Vorn
