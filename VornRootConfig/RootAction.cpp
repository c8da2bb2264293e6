#include "VornRootConfig/RootAction.h"

#include "VornRootConfig/VornRootConfigRegistration.h"

template <>
VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Vorn::RootAction>() {
  return detail::enumerationTypeOf<Vorn::RootAction>(&Vorn::kroInitVornRootConfig);
}

namespace Vorn {

RootAction RootActionInstance(unsigned number) { return Kro::enumeratorOf<RootAction>(number); }
RootAction RootActionInstance(Kro::String8 const& name) { return Kro::enumeratorOf<RootAction>(name); }
Kro::Ptr<Kro::KroType const> _fwkType_RootAction() { return Kro::enumerationType<RootAction>(); }

}  // namespace Vorn
