#include "VornAclTypes/VornAclTypesRegistration.h"

#include "VornAclTypes/VornAclTypes.h"

namespace Vorn {

Kro::RegistrationSource& kroSourceOfVornAclTypes() {
  static Kro::RegistrationSource source;
  return source;
}

void kroInitVornAclTypes() {
  Kro::registerSource<ChipId, ChipRuleListId, TableType, AclId>(kroSourceOfVornAclTypes(), "Vorn");
}

void kroLoadVornAclTypes() {
  Kro::placeType<ChipId>();
  Kro::placeType<ChipRuleListId>();
  Kro::placeType<TableType>();
  Kro::placeType<AclId>();
  kroInitVornAclTypes();
  kroSourceOfVornAclTypes().initialised = true;
}

}  // namespace Vorn
