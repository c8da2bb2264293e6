#include "VornRootConfig/VornRootConfigLog.h"

#include "runtime/log/EntityType.h"

namespace Vorn {

Kro::Ptr<Kro::Entity::KroNboAttrLogSa> RootConfig::kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask,
                                                                     Kro::Ptr<Kro::NboAttrLog::Out> const& out,
                                                                     Kro::PtrInterface* parent) {
  return Kro::adapterIs(*this, flags, mask, out, parent);
}
Kro::Ptr<Kro::Entity::KroNboAttrLogSa> RootConfigColl::kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask,
                                                                         Kro::Ptr<Kro::NboAttrLog::Out> const& out,
                                                                         Kro::PtrInterface* parent) {
  return Kro::adapterIs(*this, flags, mask, out, parent);
}

}  // namespace Vorn
