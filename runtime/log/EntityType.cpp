#include "runtime/log/EntityType.h"

namespace Kro {

namespace {

EntityType const* firstType = nullptr;

}  // namespace

EntityType::EntityType(String8 fullName) : KroType(std::move(fullName)), next_(std::exchange(firstType, this)) {}
EntityType::~EntityType() = default;

EntityType const* EntityType::first() { return firstType; }

EntityType const* EntityType::find(String8 const& fullName) {
  EntityType const* type = firstType;
  while (type != nullptr && !(type->fullName() == fullName)) {
    type = type->next();
  }
  return type;
}

}  // namespace Kro
