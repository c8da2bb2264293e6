#include "VornRootConfig/VornRootConfigRegistration.h"

#include "VornRootConfig/VornRootConfig.h"
#include "VornRootConfig/VornRootConfigReflection.h"

namespace Vorn {

Kro::RegistrationSource& kroSourceOfVornRootConfig() {
  static Kro::RegistrationSource source;
  return source;
}

void kroInitVornRootConfig() {
  Kro::registerSource<RootAction, RootConfig, RootConfigColl>(kroSourceOfVornRootConfig(), "Vorn");
}

void kroLoadVornRootConfig() {
  Kro::placeType<RootAction>();
  Kro::placeEntityType<RootConfig>();
  Kro::placeEntityType<RootConfigColl>();
  kroInitVornRootConfig();
  kroSourceOfVornRootConfig().initialised = true;
}

}  // namespace Vorn
