// The whole library.
#pragma once

#include "GenRange/GenRange.h"
#include "VornAclTable/VornAclTable.h"
#include "VornAclTypes/VornAclTypes.h"
#include "VornRootConfig/VornRootConfig.h"
#include "VornRootConfig/VornRootConfigReflection.h"
#include "runtime/Kro.h"
#include "runtime/reflection/ValueReflection.h"
