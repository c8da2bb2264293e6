#include "VornAclTable/VornAclColl.h"

#include "runtime/entity/EntityOps.h"

namespace Vorn {

using At = VornAclColl::Attributes;

VornAclColl::VornAclColl(Kro::Name name) : Entity(std::move(name)), acl_(4) {}

VornAclColl::~VornAclColl() {
  Kro::removeAllFinally(*this, At::acl);
  Kro::forgetObservers(observers_);
}

VornAclColl::NotifieeConst::~NotifieeConst() = default;
VornAclColl::Notifiee::~Notifiee() = default;

Kro::Ptr<VornAclColl> vornAclCollFactory(Kro::Name name) { return Kro::adopt(new VornAclColl(std::move(name))); }

Kro::Ptr<VornAcl> VornAclColl::acl(AclId const& aclId) const {
  kroCountRead();
  return acl_[aclId];
}

std::uint32_t VornAclColl::aclSize() const {
  kroCountRead();
  return acl_.size();
}

Kro::Ptr<VornAcl> VornAclColl::aclIs(AclId const& aclId, Acl::AclType aclType, Kro::Name cliName) {
  return Kro::getOrCreate(
      *this, At::acl, aclId, [&] { return newAcl(aclId, aclType, cliName); }, aclType, cliName);
}

Kro::Ptr<VornAcl> VornAclColl::newAcl(AclId const& aclId, Acl::AclType aclType, Kro::Name cliName) {
  auto member = Kro::adopt(new VornAcl(aclId, aclType, std::move(cliName)));
  Kro::adoptMember(*this, At::acl, member);
  return member;
}

Kro::Ptr<VornAcl> VornAclColl::aclDel(AclId const& aclId) { return Kro::removeEntityByKey(*this, At::acl, aclId); }
Kro::Ptr<VornAcl> VornAclColl::aclDel(AclMap::Iterator& iterator) {
  return Kro::removeEntityAt(*this, At::acl, iterator);
}
void VornAclColl::aclDelAll() { Kro::removeAll(*this, At::acl); }
void VornAclColl::aclNotify(AclId const& aclId) { Kro::tellKey(*this, At::acl, aclId); }

bool VornAclColl::equal(Kro::Ptr<VornAclColl const> const& vornAclColl) const {
  if (!vornAclColl || aclSize() != vornAclColl->aclSize()) {
    return false;
  }
  for (VornAcl const& member : acl_) {
    if (!member.equal(vornAclColl->acl(VornAcl::KroHashLink::key(member)))) {
      return false;
    }
  }
  return true;
}

void VornAclColl::zeroReferencesIs(bool) { Kro::tellZeroReferences(*this); }
unsigned VornAclColl::auditErrors(unsigned level) const { return Kro::auditEntity(*this, level); }
Kro::String8 VornAclColl::attributeString(Kro::AttributeId id) const {
  return Kro::attributeName<VornAclColl>(*this, id);
}

}  // namespace Vorn
