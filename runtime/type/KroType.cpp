#include "runtime/type/KroType.h"

#include <algorithm>
#include <map>

namespace Kro {

// --- attributes ---

KroAttr::KroAttr(Name name, Ptr<KroType const> attrType, AttrFlags const& flags, AttributeId id)
    : name_(std::move(name)), attrType_(std::move(attrType)), flags_(flags), id_(id) {}
KroAttr::~KroAttr() = default;

Ptr<KroAttr> KroAttr::attr(Name const& name) const {
  auto const found = std::find_if(attrs_.begin(), attrs_.end(), [&](auto const& a) { return a->name() == name; });
  return found != attrs_.end() ? *found : nullptr;
}

Ptr<KroAttr> KroAttr::attrIs(Name const& name, Ptr<KroType const> const& attrType, KroAttr*, KroAttr*,
                             AttrFlags const& flags, AttributeId id) {
  attrDel(name);
  attrs_.push_back(adopt(new KroAttr(name, attrType, flags, id)));
  return attrs_.back();
}

void KroAttr::attrDel(Name const& name) {
  std::erase_if(attrs_, [&](auto const& a) { return a->name() == name; });
}

// --- types ---

KroType::KroType(String8 fullName)
    : KroAttr(String8(shortTypeName(fullName.view())), nullptr, {}, 0), fullName_(std::move(fullName)) {}

KroType::KroType(Name shortName, KroType* scope, KroType*, KroTypeFlags const&)
    : KroAttr(shortName, nullptr, {}, 0),
      fullName_(scope != nullptr ? scope->fullName() + "::" + shortName.string() : shortName.string()) {}

KroType::~KroType() = default;

void KroType::attributesDel() {
  for (Ptr<KroAttr> const& attribute : std::exchange(attributes_, {})) {
    attrDel(attribute->name());
  }
  constructorArgNames_.clear();
  constructorArgTypes_.clear();
  valAttr_ = nullptr;
}

// --- the tree of types ---

namespace {

struct Tree {
  std::map<std::string_view, KroType const*> byName;  // the names live in the type objects, which live for ever
  std::vector<KroType const*> inOrder;
};

Tree& tree() {
  static auto* const instance = new Tree;
  return *instance;
}

}  // namespace

void KroType::typeNodeIs(KroType const* type, Name const& fullName) {
  if (!(fullName == Name(type->fullName()))) {
    const_cast<KroType*>(type)->fullNameIs(fullName.string());
  }
  if (tree().byName.insert_or_assign(type->fullName().view(), type).second) {
    tree().inOrder.push_back(type);
  }
}

Ptr<KroType const> KroType::typeNode(Name const& fullName) {
  auto const found = tree().byName.find(fullName.view());
  return found != tree().byName.end() ? share(found->second) : nullptr;
}

std::vector<Ptr<KroType const>> KroType::typeNodes() {
  std::vector<Ptr<KroType const>> all;
  for (KroType const* const type : tree().inOrder) {
    all.push_back(share(type));
  }
  return all;
}

Ptr<KroType const> PtrInterface::fwkType() const { return nullptr; }

}  // namespace Kro
