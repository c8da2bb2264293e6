// The type object of a C++ type, whatever kind of type it is.
#pragma once

#include <atomic>
#include <concepts>
#include <string_view>

#include "runtime/core/Name.h"
#include "runtime/type/KroType.h"
#include "runtime/value/Enumeration.h"

namespace Kro {

/// The static slot that holds the type object of `T`.
template <class T>
VORNACL_API std::atomic<KroType*>& typeSlot() {
  static constinit std::atomic<KroType*> slot = nullptr;
  return slot;
}

/// The type object in the slot of `T`. An empty slot is filled first: the registration function of the source that
/// declares `T` runs, and if that left it empty, a `Type` is made of `arguments` and kept for ever. A type of no
/// source, one of the platform or of the runtime, is placed in the tree of types at once. Threads may ask at once.
template <class T, class Type, class... A>
Ptr<KroType const> slottedType(void (*registration)(), A const&... arguments) {
  std::atomic<KroType*>& slot = typeSlot<T>();
  KroType* type = slot.load(std::memory_order_acquire);
  if (type == nullptr) [[unlikely]] {
    RegistryLock const lock;
    if (registration != nullptr && slot == nullptr) {
      registration();
    }
    type = slot;
    if (type == nullptr) {
      type = new Type(arguments...);
      type->referencesLeak();
      type->freeze();
      slot = type;
      if (registration == nullptr) {
        KroType::typeNodeIs(type, type->fullName());
      }
    }
  }
  return share<KroType const>(type);
}

/// The names of the runtime's built-in types.
template <class T>
inline constexpr std::string_view builtinName = {};
template <>
inline constexpr std::string_view builtinName<bool> = "bool";
template <>
inline constexpr std::string_view builtinName<std::uint8_t> = "U8";
template <>
inline constexpr std::string_view builtinName<std::uint16_t> = "U16";
template <>
inline constexpr std::string_view builtinName<std::uint32_t> = "U32";
template <>
inline constexpr std::string_view builtinName<std::uint64_t> = "U64";
template <>
inline constexpr std::string_view builtinName<std::int32_t> = "S32";
template <>
inline constexpr std::string_view builtinName<double> = "double";
template <>
inline constexpr std::string_view builtinName<String8> = "Kro::String8";
template <>
inline constexpr std::string_view builtinName<void*> = "void*";
template <>
inline constexpr std::string_view builtinName<Name> = "Kro::Name";

/// A type of the runtime's own.
template <class T>
concept BuiltinType = !builtinName<T>.empty();

/// The type objects of built-in types.
template <BuiltinType T>
class VORNACL_API Builtin {
 public:
  static Ptr<KroType const> _fwkType();
};

/// The type object of `T`: built-in, enumeration or class.
template <class T>
Ptr<KroType const> fwkTypeOf() {
  if constexpr (BuiltinType<T>) {
    return Builtin<T>::_fwkType();
  } else if constexpr (Enumeration<T>) {
    return enumerationType<T>();
  } else {
    return T::_fwkType();
  }
}

/// What an attribute or function yields for reflection: nothing is a `void*`, a counted pointer its entity.
template <class T>
struct ReflectedOf {
  using Type = T;
};
template <>
struct ReflectedOf<void> {
  using Type = void*;
};
template <class T>
struct ReflectedOf<Ptr<T>> {
  using Type = std::remove_const_t<T>;
};
template <class T>
using Reflected = typename ReflectedOf<std::remove_cvref_t<T>>::Type;

}  // namespace Kro
