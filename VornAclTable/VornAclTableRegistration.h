// Registration of this model source. Internal to the library.
#pragma once

#include "runtime/reflection/Register.h"

namespace Vorn {

/// Registers the types of this source with the registry, once; does nothing while the registry is not ready.
void kroInitVornAclTable();
/// What this source's registration keeps.
Kro::RegistrationSource& kroSourceOfVornAclTable();
/// What is done when the library is loaded: places the source's types in the tree of types and registers them.
void kroLoadVornAclTable();

}  // namespace Vorn
