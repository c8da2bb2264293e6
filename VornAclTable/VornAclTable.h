// Everything of this model source: rules, ACLs, key mappings.
#pragma once

#include "VornAclTable/AceIndex.h"
#include "VornAclTable/AclKeyToAclIdMapping.h"
#include "VornAclTable/IpFilter.h"
#include "VornAclTable/IpRuleConfig.h"
#include "VornAclTable/MacFilter.h"
#include "VornAclTable/MacRuleConfig.h"
#include "VornAclTable/VornAcl.h"
#include "VornAclTable/VornAclColl.h"
