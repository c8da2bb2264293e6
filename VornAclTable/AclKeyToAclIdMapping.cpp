#include "VornAclTable/AclKeyToAclIdMapping.h"

#include "VornAclTable/VornAclLog.h"
#include "runtime/reflection/EntityOfOps.h"

template class Kro::EntityOf<Vorn::AclKeyToAclIdMapping>;
template class Kro::EntityGenericIfOf<Vorn::AclKeyToAclIdMapping>;

namespace Vorn {

using T = AclKeyToAclIdMapping;

AclKeyToAclIdMapping::AclKeyToAclIdMapping(Kro::Name name) : EntityOf(std::move(name)) {}
AclKeyToAclIdMapping::~AclKeyToAclIdMapping() { Kro::endEntity(*this); }

AclKeyToAclIdMapping::NotifieeConst::~NotifieeConst() = default;

Kro::Ptr<AclKeyToAclIdMapping> aclKeyToAclIdMappingFactory(Kro::Name name) {
  return Kro::adopt(new AclKeyToAclIdMapping(std::move(name)));
}

bool AclKeyToAclIdMapping::equal(Kro::Ptr<AclKeyToAclIdMapping const> const& keyToIdMapping) const {
  return keyToIdMapping && Kro::haveEqualValues(*this, *keyToIdMapping, row<&T::keyToId_>);
}

AclId AclKeyToAclIdMapping::keyToId(Zil::AclKey const& key) const {
  return Kro::valueAt(*this, row<&T::keyToId_>, key);
}
void AclKeyToAclIdMapping::keyToIdIs(Zil::AclKey const& key, AclId const& id) {
  Kro::setMember(*this, row<&T::keyToId_>, key, id);
}
Kro::Ptr<AclKeyToAclIdMapping::KroKeyToId> AclKeyToAclIdMapping::newKeyToId(Zil::AclKey const& key, AclId const& id) {
  return keyToId_.newMember(key, id);
}
AclId AclKeyToAclIdMapping::keyToIdDel(Zil::AclKey const& key) {
  return Kro::removeMember(*this, row<&T::keyToId_>, key);
}
AclId AclKeyToAclIdMapping::keyToIdDel(KeyToIdMap::Iterator& iterator) {
  return Kro::removeAt(*this, row<&T::keyToId_>, iterator);
}
void AclKeyToAclIdMapping::keyToIdDelAll() { Kro::removeAll(*this, row<&T::keyToId_>); }
void AclKeyToAclIdMapping::keyToIdNotify(Zil::AclKey const& key) { Kro::tellKey(*this, row<&T::keyToId_>, key); }

}  // namespace Vorn
