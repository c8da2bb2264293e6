// A tree as text that two of them can be compared by, and that can be read again.
#pragma once

#include <functional>
#include <string>

#include "tools/common/Trees.h"

namespace Tools {

/// Appends a line for each attribute of each entity of a tree, or of what is below an entity of it, for each rule, key
/// mapping and reference: the entity's path, the attribute, the key where it has one, and the value's text form, with
/// tabs between. Which attributes there are is taken from the types' own lists. `lineDone` is called behind each line,
/// and may take the text away.
void appendTree(std::string& text, Kro::Entity const& entity, std::function<void()> const& lineDone);

}  // namespace Tools
