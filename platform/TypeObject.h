// Type objects of the platform's types. For the platform's own .cpp files.
#pragma once

#include "runtime/reflection/ValueReflection.h"

namespace Kro::detail {

/// The type object of `T`, made on first use, which lives as long as the process.
template <class T>
Ptr<KroType const> platformType(char const* fullName) {
  return slottedType<T, ValueTypeOf<T>>(nullptr, String8(fullName));
}

}  // namespace Kro::detail
