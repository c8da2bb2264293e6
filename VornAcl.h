// The whole library.
#pragma once

#include "GenRange/GenRange.h"
#include "GenRange/GenRangeReflection.h"
#include "VornAclTable/VornAclTable.h"
#include "VornAclTypes/VornAclTypes.h"
#include "VornAclTypes/VornAclTypesReflection.h"
#include "VornRootConfig/VornRootConfig.h"
#include "VornRootConfig/VornRootConfigReflection.h"
#include "runtime/Kro.h"
