#include "VornAclTable/VornAcl.h"

#include "VornAclTable/VornAclLog.h"
#include "runtime/reflection/EntityOfOps.h"

template class Kro::EntityOf<Vorn::VornAcl>;
template class Kro::EntityGenericIfOf<Vorn::VornAcl>;

namespace Vorn {

using T = VornAcl;

VornAcl::VornAcl(AclId const& aclId, Acl::AclType aclType, Kro::Name cliName)
    : EntityOf(Kro::Name()), aclId_(aclId), aclType_(aclType), cliName_(std::move(cliName)) {}

VornAcl::~VornAcl() { Kro::endEntity(*this); }

VornAcl::NotifieeConst::~NotifieeConst() = default;

bool VornAcl::equal(Kro::Ptr<VornAcl const> const& acl) const {
  return acl && aclId() == acl->aclId() && aclType() == acl->aclType() && cliName() == acl->cliName() &&
         Kro::haveEqualValues(*this, *acl, row<&T::ipRuleById_>) &&
         Kro::haveEqualValues(*this, *acl, row<&T::macRuleById_>);
}

IpRuleConfig VornAcl::ipRuleById(AceIndex const& key) const { return Kro::valueAt(*this, row<&T::ipRuleById_>, key); }
void VornAcl::ipRuleByIdIs(AceIndex const& key, IpRuleConfig const& value) {
  Kro::setMember(*this, row<&T::ipRuleById_>, key, value);
}
Kro::Ptr<VornAcl::KroIpRuleById> VornAcl::newIpRuleById(AceIndex const& key, IpRuleConfig const& value) {
  return ipRuleById_.newMember(key, value);
}
IpRuleConfig VornAcl::ipRuleByIdDel(AceIndex const& key) { return Kro::removeMember(*this, row<&T::ipRuleById_>, key); }
IpRuleConfig VornAcl::ipRuleByIdDel(IpRuleByIdMap::Iterator& iterator) {
  return Kro::removeAt(*this, row<&T::ipRuleById_>, iterator);
}
void VornAcl::ipRuleByIdDelAll() { Kro::removeAll(*this, row<&T::ipRuleById_>); }
void VornAcl::ipRuleByIdNotify(AceIndex const& key) { Kro::tellKey(*this, row<&T::ipRuleById_>, key); }

MacRuleConfig VornAcl::macRuleById(AceIndex const& key) const {
  return Kro::valueAt(*this, row<&T::macRuleById_>, key);
}
void VornAcl::macRuleByIdIs(AceIndex const& key, MacRuleConfig const& value) {
  Kro::setMember(*this, row<&T::macRuleById_>, key, value);
}
Kro::Ptr<VornAcl::KroMacRuleById> VornAcl::newMacRuleById(AceIndex const& key, MacRuleConfig const& value) {
  return macRuleById_.newMember(key, value);
}
MacRuleConfig VornAcl::macRuleByIdDel(AceIndex const& key) {
  return Kro::removeMember(*this, row<&T::macRuleById_>, key);
}
MacRuleConfig VornAcl::macRuleByIdDel(MacRuleByIdMap::Iterator& iterator) {
  return Kro::removeAt(*this, row<&T::macRuleById_>, iterator);
}
void VornAcl::macRuleByIdDelAll() { Kro::removeAll(*this, row<&T::macRuleById_>); }
void VornAcl::macRuleByIdNotify(AceIndex const& key) { Kro::tellKey(*this, row<&T::macRuleById_>, key); }

}  // namespace Vorn
