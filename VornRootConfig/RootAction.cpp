#include "VornRootConfig/RootAction.h"

#include "runtime/reflection/TypeObjects.h"

template VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Vorn::RootAction>();

namespace Vorn {

Kro::Ptr<RootAction_GenericIf_> RootAction_GenericIf_Is(RootAction value, bool isConst) {
  return RootAction_GenericIf_::GenericIf_Is(value, isConst);
}

}  // namespace Vorn
