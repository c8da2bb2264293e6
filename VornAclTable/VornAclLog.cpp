#include "VornAclTable/VornAclLog.h"

#include "runtime/log/EntityType.h"

namespace Vorn {

Kro::Ptr<Kro::Entity::KroNboAttrLogSa> VornAcl::kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask,
                                                                  Kro::Ptr<Kro::NboAttrLog::Out> const& out,
                                                                  Kro::PtrInterface* parent) {
  return Kro::adapterIs(*this, flags, mask, out, parent);
}
Kro::Ptr<Kro::Entity::KroNboAttrLogSa> VornAclColl::kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask,
                                                                      Kro::Ptr<Kro::NboAttrLog::Out> const& out,
                                                                      Kro::PtrInterface* parent) {
  return Kro::adapterIs(*this, flags, mask, out, parent);
}
Kro::Ptr<Kro::Entity::KroNboAttrLogSa> AclKeyToAclIdMapping::kroNboAttrLogSaIs(
    Kro_BitSet flags, unsigned mask, Kro::Ptr<Kro::NboAttrLog::Out> const& out, Kro::PtrInterface* parent) {
  return Kro::adapterIs(*this, flags, mask, out, parent);
}

}  // namespace Vorn
