#include "VornAclTable/VornAclLog.h"

#include "runtime/log/EntityType.h"
#include "runtime/log/Registration.h"

namespace Vorn {

class VornAcl::KroNboAttrLogSa::KroNboAttrLogSaAdapter_ final : public Kro::NboAttrLog::Registration<VornAcl> {
 public:
  using Registration::Registration;
  using VornAcl::Notifiee::onIpRuleById;
  using VornAcl::Notifiee::onMacRuleById;
  void onIpRuleById(AceIndex const& key) override { adapter().onIpRuleById(key); }
  void onMacRuleById(AceIndex const& key) override { adapter().onMacRuleById(key); }
};

class VornAclColl::KroNboAttrLogSa::KroNboAttrLogSaAdapter_ final : public Kro::NboAttrLog::Registration<VornAclColl> {
 public:
  using Registration::Registration;
  using VornAclColl::Notifiee::onAcl;
  void onAcl(AclId const& key) override { adapter().onAcl(key); }
};

class AclKeyToAclIdMapping::KroNboAttrLogSa::KroNboAttrLogSaAdapter_ final
    : public Kro::NboAttrLog::Registration<AclKeyToAclIdMapping> {
 public:
  using AclKeyToAclIdMapping::Notifiee::onKeyToId;
  using Registration::Registration;
  void onKeyToId(Zil::AclKey const& key) override { adapter().onKeyToId(key); }
};

VornAcl::KroNboAttrLogSa::KroNboAttrLogSa(Kro_BitSet flags, VornAcl& acl, Kro::Ptr<Kro::NboAttrLog::Out> const& out,
                                          Kro::PtrInterface* parent)
    : AdapterOf(flags, acl, out, parent) {
  registrationIs(Kro::adopt(new KroNboAttrLogSaAdapter_(*this)));
}

VornAclColl::KroNboAttrLogSa::KroNboAttrLogSa(Kro_BitSet flags, VornAclColl& coll,
                                              Kro::Ptr<Kro::NboAttrLog::Out> const& out, Kro::PtrInterface* parent)
    : AdapterOf(flags, coll, out, parent) {
  registrationIs(Kro::adopt(new KroNboAttrLogSaAdapter_(*this)));
}

AclKeyToAclIdMapping::KroNboAttrLogSa::KroNboAttrLogSa(Kro_BitSet flags, AclKeyToAclIdMapping& mapping,
                                                       Kro::Ptr<Kro::NboAttrLog::Out> const& out,
                                                       Kro::PtrInterface* parent)
    : AdapterOf(flags, mapping, out, parent) {
  registrationIs(Kro::adopt(new KroNboAttrLogSaAdapter_(*this)));
}

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
