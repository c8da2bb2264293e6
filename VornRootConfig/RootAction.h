// The commands of a root configuration.
#pragma once

#include "Vorn/Names.h"

namespace Vorn {

/// What one process tells another to do with a chip's ACLs; the processes agree on the meaning.
enum RootAction : std::int32_t {
  vornCompute = 0,
  vornLoad = 1,
  vornAbort = 2,
};

constexpr auto kroEnumerators(RootAction) {
  return Kro::enumerators<RootAction>("Vorn::RootAction",
                                      {{vornCompute, "vornCompute"}, {vornLoad, "vornLoad"}, {vornAbort, "vornAbort"}});
}

/// The enumerator of a number or a name; any other throws `RangeException` "RootAction".
inline RootAction RootActionInstance(unsigned number) { return Kro::enumeratorOf<RootAction>(number); }
inline RootAction RootActionInstance(Kro::String8 const& name) { return Kro::enumeratorOf<RootAction>(name); }
/// The type object, and the class of it and of reflection objects: `runtime/reflection/ValueReflection.h`.
inline Kro::Ptr<Kro::KroType const> _fwkType_RootAction() { return Kro::enumerationType<RootAction>(); }
using RootAction_GenericIf_ = Kro::ValueGenericIf<RootAction>;
using RootAction__Type = Kro::ValueTypeOf<RootAction>;
VORNACL_API Kro::Ptr<RootAction_GenericIf_> RootAction_GenericIf_Is(RootAction value, bool isConst);

}  // namespace Vorn
