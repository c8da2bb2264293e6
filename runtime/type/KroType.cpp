#include "runtime/type/KroType.h"

#include <algorithm>
#include <map>
#include <mutex>

namespace Kro {

// --- attributes ---

KroAttr::KroAttr(Name name, Ptr<KroType const> attrType, AttrFlags const& flags, AttributeId id)
    : name_(std::move(name)), attrType_(std::move(attrType)), flags_(flags), id_(id) {}
KroAttr::~KroAttr() = default;

void KroAttr::freeze() const {
  Freezable::freeze();
  name_.string().freeze();
  toolKind_.string().freeze();
  for (Argument const& argument : arguments_) {
    argument.name.string().freeze();
    argument.typeName.string().freeze();
  }
  for (Ptr<KroAttr> const& attribute : attrs_) {
    attribute->freeze();
  }
}

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

void KroAttr::attrEnq(Ptr<KroAttr> const& attribute) {
  if (!attr(attribute->name())) {
    attrs_.push_back(attribute);
  }
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

void KroType::freeze() const {
  KroAttr::freeze();
  fullName_.freeze();
  for (auto const* const names : {&constructorArgNames_, &constructorArgTypes_}) {
    for (Name const& name : *names) {
      name.string().freeze();
    }
  }
  for (Ptr<KroAttr> const& attribute : attributes_) {
    attribute->freeze();
  }
}

void KroType::attributeQEnq(Ptr<KroAttr> const& attribute) {
  attributes_.push_back(attribute);
  attrEnq(attribute);
}

// --- the tree of types ---

namespace {

struct Tree {
  std::recursive_mutex mutex;
  std::map<Name, KroType const*> byName;
  std::vector<Name> inOrder;
};

Tree& tree() {
  static auto* const instance = new Tree;
  return *instance;
}

}  // namespace

RegistryLock::RegistryLock() { tree().mutex.lock(); }
RegistryLock::~RegistryLock() { tree().mutex.unlock(); }

void KroType::typeNodeIs(KroType const* type, Name const& fullName) {
  RegistryLock const lock;
  auto& placed = const_cast<KroType&>(*type);
  placed.fullNameIs(fullName.string());
  if (tree().byName.insert_or_assign(fullName, type).second) {
    tree().inOrder.push_back(fullName);
  }
  placed.isPlaced_ = true;
  placed.freeze();
}

Ptr<KroType const> KroType::typeNode(Name const& fullName) {
  RegistryLock const lock;
  auto const found = tree().byName.find(fullName);
  return found != tree().byName.end() ? share(found->second) : nullptr;
}

std::vector<Ptr<KroType const>> KroType::typeNodes() {
  RegistryLock const lock;
  std::vector<Ptr<KroType const>> all;
  for (Name const& name : tree().inOrder) {
    all.push_back(typeNode(name));
  }
  return all;
}

Ptr<KroType const> PtrInterface::fwkType() const { return nullptr; }

}  // namespace Kro
