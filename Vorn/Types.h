// The types of the model, by source and in the order of their registration. A new type is named here and nowhere else.
#pragma once

#include <cstdint>

#include "runtime/core/Export.h"
#include "runtime/type/Model.h"

namespace Vorn {

// Exported: what the library makes of them for its users could not be otherwise.
enum VORNACL_API GenRangeType : std::int32_t;
enum VORNACL_API TableType : std::int32_t;
enum VORNACL_API RootAction : std::int32_t;

/// Register the types of one source, once; do nothing while the registry is not ready. Internal to the library.
void kroInitGenRange();
void kroInitVornAclTypes();
void kroInitVornAclTable();
void kroInitVornRootConfig();

using GenRangeTypes = Kro::TypesOf<&kroInitGenRange, class L4PortRange, GenRangeType, class GenRange>;
using VornAclTypesTypes =
    Kro::TypesOf<&kroInitVornAclTypes, class ChipId, class ChipRuleListId, TableType, class AclId>;
using VornAclTableTypes =
    Kro::TypesOf<&kroInitVornAclTable, class AceIndex, class IpFilter, class IpRuleConfig, class MacFilter,
                 class MacRuleConfig, class VornAcl, class VornAclColl, class AclKeyToAclIdMapping>;
using VornRootConfigTypes = Kro::TypesOf<&kroInitVornRootConfig, RootAction, class RootConfig, class RootConfigColl>;

/// What the runtime takes the list from.
Kro::Model<GenRangeTypes, VornAclTypesTypes, VornAclTableTypes, VornRootConfigTypes> kroModel(void const*);

}  // namespace Vorn
