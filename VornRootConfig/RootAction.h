// The commands of a root configuration.
#pragma once

#include "GenRange/VornNames.h"

namespace Vorn {

/// What one process tells another to do with a chip's ACLs; the processes agree on the meaning.
enum RootAction : std::int32_t {
  vornCompute = 0,
  vornLoad = 1,
  vornAbort = 2,
};

constexpr auto kroEnumerators(RootAction) {
  return Kro::Enumerators<RootAction, 3>{
      "Vorn::RootAction", {{{vornCompute, "vornCompute"}, {vornLoad, "vornLoad"}, {vornAbort, "vornAbort"}}}};
}

/// The enumerator of a number or a name; any other throws `RangeException` "RootAction".
VORNACL_API RootAction RootActionInstance(unsigned number);
VORNACL_API RootAction RootActionInstance(Kro::String8 const& name);
/// The type object.
VORNACL_API Kro::Ptr<Kro::KroType const> _fwkType_RootAction();

}  // namespace Vorn
