// One tree becomes equal to another one.
#pragma once

#include "tools/common/Trees.h"

namespace Tools {

/// Changes a tree where it differs from another one, and nowhere else, so that its observers hear the difference alone.
/// Throws `std::runtime_error` where the roots have different names.
void merge(Tree const& tree, Tree const& wanted);

}  // namespace Tools
