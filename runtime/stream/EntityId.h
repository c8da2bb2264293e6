// Identifiers that travel in the attribute log.
#pragma once

#include <cstdint>
#include <functional>

#include "runtime/core/String8.h"

namespace Kro {

/// Identifies an entity within one connection. 0 is null, 1 the header id of root creations; the side that opened the
/// connection gives odd ids from 3, the other even ids from 2, never twice.
struct EntityId {
  std::uint64_t value = 0;

  friend bool operator==(EntityId const&, EntityId const&) = default;
  friend auto operator<=>(EntityId const&, EntityId const&) = default;
};

inline constexpr EntityId nullEntityId{0};
inline constexpr EntityId rootCreationEntityId{1};

/// Identifies a type between processes: its full name.
struct TypeId {
  String8 fullName;
};

}  // namespace Kro

template <>
struct std::hash<Kro::EntityId> {
  std::size_t operator()(Kro::EntityId id) const noexcept { return std::hash<std::uint64_t>()(id.value); }
};
