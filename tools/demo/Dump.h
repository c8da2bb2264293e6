// What a process holds, as text that two processes can be compared by.
#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "tools/demo/Tree.h"

namespace Demo {

/// Writes the tree as text. Throws `std::system_error`.
void writeDump(Tree const& tree, std::FILE* to);

/// Writes the canonical lines of all IP rules, whose index is their `ruleId`. Throws `std::system_error`.
void writeCanonicalLines(Tree const& tree, std::FILE* to);

/// Where two dumps begin to differ, with what stands there in each of them; nothing where they are equal byte by byte.
std::optional<std::string> firstDifference(std::string_view source, std::string_view mirror);

}  // namespace Demo
