// Paths to entities, resolved by reflection alone.
#pragma once

#include "runtime/entity/Entity.h"
#include "runtime/reflection/GenericIf.h"

namespace Kro {

/// A reflection object of an entity of whatever type, not const.
VORNACL_API Ptr<GenericIf> reflectionOf(Ptr<Entity> const& entity, bool isConst = false);

/// The reflection object of the entity at `path`, as `root/chipRootConfig[5]/vornAclColl/acl[ipv4PAcl:5:in]`: the
/// `fullName` of `root` (of a root that has no parent: its name, or its type's short name where that is empty), then
/// attributes; a member is matched by the printed text of its key. Throws `RangeException` that names the part which
/// leads nowhere, and what was expected there.
VORNACL_API Ptr<GenericIf> entityAtPath(Ptr<Entity> const& root, String8 const& path);

}  // namespace Kro
