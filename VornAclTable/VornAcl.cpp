#include "VornAclTable/VornAcl.h"

#include "runtime/entity/EntityOps.h"

namespace Vorn {

using At = VornAcl::Attributes;

VornAcl::VornAcl(AclId const& aclId, Acl::AclType aclType, Kro::Name cliName)
    : Entity(Kro::Name()), aclId_(aclId), aclType_(aclType), cliName_(std::move(cliName)) {}

VornAcl::~VornAcl() { Kro::forgetObservers(observers_); }

VornAcl::NotifieeConst::~NotifieeConst() = default;
VornAcl::Notifiee::~Notifiee() = default;

IpRuleConfig VornAcl::ipRuleById(AceIndex const& key) const { return Kro::valueAt(*this, At::ipRuleById, key); }
void VornAcl::ipRuleByIdIs(AceIndex const& key, IpRuleConfig const& value) {
  Kro::setMember(*this, At::ipRuleById, key, value);
}
Kro::Ptr<VornAcl::KroIpRuleById> VornAcl::newIpRuleById(AceIndex const& key, IpRuleConfig const& value) {
  return ipRuleById_.newMember(key, value);
}
IpRuleConfig VornAcl::ipRuleByIdDel(AceIndex const& key) { return Kro::removeMember(*this, At::ipRuleById, key); }
IpRuleConfig VornAcl::ipRuleByIdDel(IpRuleByIdMap::Iterator& iterator) {
  return Kro::removeAt(*this, At::ipRuleById, iterator);
}
void VornAcl::ipRuleByIdDelAll() { Kro::removeAll(*this, At::ipRuleById); }
void VornAcl::ipRuleByIdNotify(AceIndex const& key) { Kro::tellKey(*this, At::ipRuleById, key); }

MacRuleConfig VornAcl::macRuleById(AceIndex const& key) const { return Kro::valueAt(*this, At::macRuleById, key); }
void VornAcl::macRuleByIdIs(AceIndex const& key, MacRuleConfig const& value) {
  Kro::setMember(*this, At::macRuleById, key, value);
}
Kro::Ptr<VornAcl::KroMacRuleById> VornAcl::newMacRuleById(AceIndex const& key, MacRuleConfig const& value) {
  return macRuleById_.newMember(key, value);
}
MacRuleConfig VornAcl::macRuleByIdDel(AceIndex const& key) { return Kro::removeMember(*this, At::macRuleById, key); }
MacRuleConfig VornAcl::macRuleByIdDel(MacRuleByIdMap::Iterator& iterator) {
  return Kro::removeAt(*this, At::macRuleById, iterator);
}
void VornAcl::macRuleByIdDelAll() { Kro::removeAll(*this, At::macRuleById); }
void VornAcl::macRuleByIdNotify(AceIndex const& key) { Kro::tellKey(*this, At::macRuleById, key); }

bool VornAcl::equal(Kro::Ptr<VornAcl const> const& acl) const {
  if (!acl || !(aclId() == acl->aclId()) || aclType() != acl->aclType() || !(cliName() == acl->cliName()) ||
      ipRuleByIdSize() != acl->ipRuleByIdSize()) {
    return false;
  }
  for (KroIpRuleById const& rule : ipRuleById_) {
    if (rule.value() != acl->ipRuleById(rule.key())) {
      return false;
    }
  }
  if (macRuleByIdSize() != acl->macRuleByIdSize()) {
    return false;
  }
  for (KroMacRuleById const& rule : macRuleById_) {
    if (rule.value() != acl->macRuleById(rule.key())) {
      return false;
    }
  }
  return true;
}

void VornAcl::zeroReferencesIs(bool) { Kro::tellZeroReferences(*this); }
unsigned VornAcl::auditErrors(unsigned level) const { return Kro::auditEntity(*this, level); }
Kro::String8 VornAcl::attributeString(Kro::AttributeId id) const { return Kro::attributeName<VornAcl>(*this, id); }
Kro::String8 VornAcl::kroKeyText() const { return Kro::valueToStrep(aclId_); }

}  // namespace Vorn
