// Numbers of attributes, shared by reflection, notification and the attribute log.
#pragma once

#include <cstdint>

namespace Kro {

/// The number of an attribute within its type. Value types number theirs from 2, enumerations by enumerator, entity
/// types from 258; smaller numbers belong to the base types. The attribute log writes a removal as the negated number.
using AttributeId = std::int32_t;

/// First number of an entity type's own attributes.
inline constexpr AttributeId firstEntityAttributeId = 258;

/// The reference-count event in `onNotificationException` reports; it is no attribute.
inline constexpr AttributeId zeroReferencesId = 5;

}  // namespace Kro
