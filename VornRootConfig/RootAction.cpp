#include "VornRootConfig/RootAction.h"

namespace Vorn {

RootAction RootActionInstance(unsigned number) { return Kro::enumeratorOf<RootAction>(number); }
RootAction RootActionInstance(Kro::String8 const& name) { return Kro::enumeratorOf<RootAction>(name); }
Kro::Ptr<Kro::KroType const> _fwkType_RootAction() { return Kro::enumerationType<RootAction>(); }

}  // namespace Vorn
