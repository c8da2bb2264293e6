// Everything of the runtime that users of the model call.
#pragma once

#include "runtime/core/Exception.h"
#include "runtime/core/Name.h"
#include "runtime/core/Ptr.h"
#include "runtime/core/String8.h"
#include "runtime/entity/Entity.h"
#include "runtime/log/Connection.h"
#include "runtime/reflection/IntrospectionReactor.h"
#include "runtime/reflection/Path.h"
#include "runtime/tree/TreeObserver.h"
#include "runtime/type/KroType.h"
#include "runtime/value/Value.h"
