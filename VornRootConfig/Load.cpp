// What happens when the library is loaded: the model sources are placed and registered, in this order. One initialiser
// runs them all, since those of several translation units have no order among each other.
#include "GenRange/GenRangeRegistration.h"
#include "VornAclTable/VornAclTableRegistration.h"
#include "VornAclTypes/VornAclTypesRegistration.h"
#include "VornRootConfig/VornRootConfigRegistration.h"

namespace Vorn {

namespace {

struct Load {
  Load() {
    kroLoadGenRange();
    kroLoadVornAclTypes();
    kroLoadVornAclTable();
    kroLoadVornRootConfig();
  }
};

Load const load;

// The full names of the library's types, for tools that look into its file: NUL-terminated, nothing between them, and
// referred to from nowhere.
#if defined(__GNUC__) && defined(__ELF__)
[[gnu::used, gnu::retain, gnu::section(".kro.type")]] char const typeNames[] =
    "Vorn::GenRange\0"
    "Vorn::GenRangeType\0"
    "Vorn::L4PortRange\0"
    "Vorn::AclId\0"
    "Vorn::TableType\0"
    "Vorn::ChipRuleListId\0"
    "Vorn::ChipId\0"
    "Vorn::AclKeyToAclIdMapping\0"
    "Vorn::VornAclColl\0"
    "Vorn::VornAcl\0"
    "Vorn::MacRuleConfig\0"
    "Vorn::MacFilter\0"
    "Vorn::IpRuleConfig\0"
    "Vorn::IpFilter\0"
    "Vorn::AceIndex\0"
    "Vorn::IpFilter::TcpFlag\0"
    "Vorn::RootConfigColl\0"
    "Vorn::RootConfig\0"
    "Vorn::RootAction";
static_assert(sizeof typeNames == 337);
#endif

}  // namespace

}  // namespace Vorn
