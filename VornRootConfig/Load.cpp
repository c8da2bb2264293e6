// What happens when the library is loaded: the types of the model are placed and registered, source by source. One
// initialiser does it all, since those of several translation units have no order among each other.
#include "runtime/reflection/Load.h"

#include "GenRange/GenRange.h"
#include "VornAclTable/VornAclTable.h"
#include "VornAclTypes/VornAclTypes.h"
#include "VornRootConfig/VornRootConfig.h"

namespace Vorn {

void kroInitGenRange() { Kro::registerSource(GenRangeTypes(), "Vorn"); }
void kroInitVornAclTypes() { Kro::registerSource(VornAclTypesTypes(), "Vorn"); }
void kroInitVornAclTable() { Kro::registerSource(VornAclTableTypes(), "Vorn"); }
void kroInitVornRootConfig() { Kro::registerSource(VornRootConfigTypes(), "Vorn"); }

namespace {

using Types = decltype(kroModel(nullptr));

struct Load {
  Load() { Kro::loadModel(Types()); }
};

Load const load;

// The full names of the library's types, for tools that look into its file: nothing between them, and referred to from
// nowhere.
#if defined(__GNUC__) && defined(__ELF__)
[[gnu::used, gnu::retain, gnu::section(".kro.type")]] constexpr auto typeNames = Kro::typeNamesOf(Types());
#endif

}  // namespace

}  // namespace Vorn
