// Everything of this model source: root configurations.
#pragma once

#include "VornRootConfig/RootAction.h"
#include "VornRootConfig/RootConfig.h"
#include "VornRootConfig/RootConfigColl.h"
