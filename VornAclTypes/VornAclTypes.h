// Everything of this model source: the identifiers.
#pragma once

#include "VornAclTypes/AclId.h"
#include "VornAclTypes/ChipId.h"
#include "VornAclTypes/ChipRuleListId.h"
#include "VornAclTypes/TableType.h"
