// The registry of types, for people.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Tools {

/// Every registered type in registration order: its full name, its constructor's parameters, and a line for each of its
/// attributes with number, name, kind, type, and a collection's key type or an operation's arguments. With a name, that
/// type alone, by its full or its short name; empty where there is none.
std::string typesText(std::string_view name = {});

/// The full names of all types.
std::vector<std::string> typeNames();

}  // namespace Tools
