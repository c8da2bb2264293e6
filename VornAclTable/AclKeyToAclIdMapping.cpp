#include "VornAclTable/AclKeyToAclIdMapping.h"

#include "runtime/entity/EntityOps.h"

namespace Vorn {

using At = AclKeyToAclIdMapping::Attributes;

AclKeyToAclIdMapping::AclKeyToAclIdMapping(Kro::Name name) : Entity(std::move(name)) {}
AclKeyToAclIdMapping::~AclKeyToAclIdMapping() { Kro::forgetObservers(observers_); }

AclKeyToAclIdMapping::NotifieeConst::~NotifieeConst() = default;
AclKeyToAclIdMapping::Notifiee::~Notifiee() = default;

Kro::Ptr<AclKeyToAclIdMapping> aclKeyToAclIdMappingFactory(Kro::Name name) {
  return Kro::adopt(new AclKeyToAclIdMapping(std::move(name)));
}

AclId AclKeyToAclIdMapping::keyToId(Zil::AclKey const& key) const { return Kro::valueAt(*this, At::keyToId, key); }

std::uint32_t AclKeyToAclIdMapping::keyToIdSize() const {
  kroCountRead();
  return keyToId_.size();
}

void AclKeyToAclIdMapping::keyToIdIs(Zil::AclKey const& key, AclId const& id) {
  Kro::setMember(*this, At::keyToId, key, id);
}
Kro::Ptr<AclKeyToAclIdMapping::KroKeyToId> AclKeyToAclIdMapping::newKeyToId(Zil::AclKey const& key, AclId const& id) {
  return keyToId_.newMember(key, id);
}
AclId AclKeyToAclIdMapping::keyToIdDel(Zil::AclKey const& key) { return Kro::removeMember(*this, At::keyToId, key); }
AclId AclKeyToAclIdMapping::keyToIdDel(KeyToIdMap::Iterator& iterator) {
  return Kro::removeAt(*this, At::keyToId, iterator);
}
void AclKeyToAclIdMapping::keyToIdDelAll() { Kro::removeAll(*this, At::keyToId); }
void AclKeyToAclIdMapping::keyToIdNotify(Zil::AclKey const& key) { Kro::tellKey(*this, At::keyToId, key); }

bool AclKeyToAclIdMapping::equal(Kro::Ptr<AclKeyToAclIdMapping const> const& keyToIdMapping) const {
  if (!keyToIdMapping || keyToIdSize() != keyToIdMapping->keyToIdSize()) {
    return false;
  }
  for (KroKeyToId const& entry : keyToId_) {
    if (!(entry.value() == keyToIdMapping->keyToId(entry.key()))) {
      return false;
    }
  }
  return true;
}

void AclKeyToAclIdMapping::zeroReferencesIs(bool) { Kro::tellZeroReferences(*this); }
unsigned AclKeyToAclIdMapping::auditErrors(unsigned level) const { return Kro::auditEntity(*this, level); }
Kro::String8 AclKeyToAclIdMapping::attributeString(Kro::AttributeId id) const {
  return Kro::attributeName<AclKeyToAclIdMapping>(*this, id);
}

}  // namespace Vorn
