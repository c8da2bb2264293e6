#include "runtime/type/KroType.h"

namespace Kro {

KroType::KroType(String8 fullName) : fullName_(std::move(fullName)), name_(String8(shortTypeName(fullName_.view()))) {}
KroType::~KroType() = default;

Ptr<KroType const> PtrInterface::fwkType() const { return nullptr; }

namespace {

KroType const* nameType = nullptr;

}  // namespace

Ptr<KroType const> Name::_fwkType() {
  if (nameType == nullptr) {
    nameType = new KroType("Kro::Name");
    nameType->referencesLeak();
  }
  return share(nameType);
}

}  // namespace Kro
