#include "VornAclTable/VornAclTableRegistration.h"

#include "VornAclTable/VornAclReflection.h"
#include "VornAclTable/VornAclTable.h"

namespace Vorn {

Kro::RegistrationSource& kroSourceOfVornAclTable() {
  static Kro::RegistrationSource source;
  return source;
}

void kroInitVornAclTable() {
  Kro::registerSource<AceIndex, IpFilter, IpRuleConfig, MacFilter, MacRuleConfig, VornAcl, VornAclColl,
                      AclKeyToAclIdMapping>(kroSourceOfVornAclTable(), "Vorn");
}

void kroLoadVornAclTable() {
  Kro::placeType<IpFilter::TcpFlag>();
  Kro::placeType<AceIndex>();
  Kro::placeType<IpFilter>();
  Kro::placeType<IpRuleConfig>();
  Kro::placeType<MacFilter>();
  Kro::placeType<MacRuleConfig>();
  Kro::placeEntityType<VornAcl>();
  Kro::placeEntityType<VornAclColl>();
  Kro::placeEntityType<AclKeyToAclIdMapping>();
  kroInitVornAclTable();
  kroSourceOfVornAclTable().initialised = true;
}

}  // namespace Vorn
