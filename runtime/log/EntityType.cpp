#include "runtime/log/EntityType.h"

namespace Kro {

namespace {

EntityType const* firstType = nullptr;

}  // namespace

EntityType::EntityType(String8 fullName) : KroType(std::move(fullName)) {
  RegistryLock const lock;
  next_ = std::exchange(firstType, this);
}
EntityType::~EntityType() = default;

EntityType const* EntityType::first() {
  RegistryLock const lock;
  return firstType;
}

EntityType const* EntityType::find(String8 const& fullName) {
  EntityType const* type = first();
  while (type != nullptr && !(type->fullName() == fullName)) {
    type = type->next();
  }
  return type;
}

}  // namespace Kro
