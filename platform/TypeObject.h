// Type objects of the platform's types. For the platform's own .cpp files.
#pragma once

#include "runtime/type/KroType.h"

namespace Kro::detail {

/// A new type object that lives as long as the process.
inline KroType const* immortalType(char const* fullName) {
  auto* const type = new KroType(fullName);
  type->referencesLeak();
  return type;
}

}  // namespace Kro::detail
