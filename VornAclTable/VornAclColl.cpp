#include "VornAclTable/VornAclColl.h"

#include "VornAclTable/VornAclLog.h"
#include "runtime/reflection/EntityOfOps.h"

template class Kro::EntityOf<Vorn::VornAclColl>;
template class Kro::EntityGenericIfOf<Vorn::VornAclColl>;

namespace Vorn {

using T = VornAclColl;

VornAclColl::VornAclColl(Kro::Name name) : EntityOf(std::move(name)) {}
VornAclColl::~VornAclColl() { Kro::endEntity(*this); }

VornAclColl::NotifieeConst::~NotifieeConst() = default;

Kro::Ptr<VornAclColl> vornAclCollFactory(Kro::Name name) { return Kro::adopt(new VornAclColl(std::move(name))); }

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

Kro::Ptr<VornAcl> VornAclColl::aclIs(AclId const& aclId, Acl::AclType aclType, Kro::Name cliName) {
  return Kro::getOrCreate(
      *this, row<&T::acl_>, aclId, [&] { return newAcl(aclId, aclType, cliName); }, aclType, cliName);
}
Kro::Ptr<VornAcl> VornAclColl::newAcl(AclId const& aclId, Acl::AclType aclType, Kro::Name cliName) {
  auto member = Kro::adopt(new VornAcl(aclId, aclType, std::move(cliName)));
  Kro::adoptMember(*this, row<&T::acl_>, member);
  return member;
}
Kro::Ptr<VornAcl> VornAclColl::aclDel(AclId const& aclId) {
  return Kro::removeEntityByKey(*this, row<&T::acl_>, aclId);
}
Kro::Ptr<VornAcl> VornAclColl::aclDel(AclMap::Iterator& iterator) {
  return Kro::removeEntityAt(*this, row<&T::acl_>, iterator);
}
void VornAclColl::aclDelAll() { Kro::removeAll(*this, row<&T::acl_>); }
void VornAclColl::aclNotify(AclId const& aclId) { Kro::tellKey(*this, row<&T::acl_>, aclId); }

}  // namespace Vorn
