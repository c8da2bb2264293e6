#include "runtime/reflection/IntrospectionReactor.h"

#include "runtime/core/Exception.h"

namespace Kro {

IntrospectionReactor::~IntrospectionReactor() = default;

Ptr<IntrospectionReactor> IntrospectionReactor::global() {
  static auto* const instance = [] {
    auto* const made = new IntrospectionReactor;
    made->referencesLeak();
    made->freeze();
    return made;
  }();
  return share(instance);
}

void IntrospectionReactor::handleNameSpace(char const*) {
  ++events_;
  ++openScopes_;
}

void IntrospectionReactor::handleType(Ptr<KroType const> const& type, Ptr<KroType const> const& base) {
  ++events_;
  ++openScopes_;
  const_cast<KroType&>(*type).baseTypeIs(base);
  types_.push_back(type.get());
}

Ptr<KroAttr> IntrospectionReactor::defNoninstantiatingAttr(KroType& type, Name const& name,
                                                           Ptr<KroType const> const& attrType,
                                                           Ptr<KroType const> const&, KroAttr::AttrFlags const& flags,
                                                           KroAttr::KroAttrIntrospectionFlags introspection,
                                                           AttributeId id) {
  Ptr<KroAttr> attribute = type.attrIs(name, attrType, nullptr, nullptr, flags, id);
  attribute->introspectionFlagsIs(introspection);
  type.attributeQEnq(attribute);
  handleAttr(attribute);
  handleAttrContextExit();
  return attribute;
}

void IntrospectionReactor::handleAttr(Ptr<KroAttr> const&) {
  ++events_;
  ++openScopes_;
}

void IntrospectionReactor::handleAttrContextExit() { handleScopeExit(); }

void IntrospectionReactor::handleScopeExit() {
  if (openScopes_ == 0) {
    throwInternalException("Kro::IntrospectionReactor::handleScopeExit()");
  }
  --openScopes_;
}

std::vector<Ptr<KroType const>> IntrospectionReactor::types() const {
  RegistryLock const lock;
  std::vector<Ptr<KroType const>> all;
  for (KroType const* const type : types_) {
    all.push_back(share(type));
  }
  return all;
}

}  // namespace Kro
