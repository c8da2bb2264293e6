// The registry of types, for people.
#pragma once

#include <string>

namespace Demo {

/// Every registered type in registration order: its full name, its constructor's parameters, and a line for each of its
/// attributes with number, name, kind, type, and a collection's key type or an operation's arguments.
std::string typesText();

}  // namespace Demo
