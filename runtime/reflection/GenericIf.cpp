#include "runtime/reflection/GenericIf.h"

namespace Kro {

GenericIf::~GenericIf() = default;
GenericIf::AttributeIteratorConst::State::~State() = default;

Ptr<KroType const> GenericIf::type() const { return nullptr; }

void* GenericIf::voidPtrIs(Ptr<KroType const> const& wanted) const {
  throwTypeException(type() ? type()->name().string() : String8("Kro::GenericIf"),
                     wanted ? wanted->fullName() : String8());
}

String8 GenericIf::attributeString(AttributeId id) const {
  if (type()) {
    for (Ptr<KroAttr> const& attribute : type()->attributeQ()) {
      if (attribute->id() == id) {
        return attribute->name().string();
      }
    }
  }
  return {};
}

AttributeId GenericIf::attributeId(String8 const& name) const {
  if (type()) {
    if (Ptr<KroAttr> const attribute = type()->attr(name)) {
      return attribute->id();
    }
  }
  String8 const typeName = type() ? type()->fullName() : String8("Kro::GenericIf");
  throw UnknownAttrException(typeName, typeName + " has no attribute " + name + ": expected one that the type lists");
}

Ptr<GenericIf> GenericIf::attributeOp(AttributeOp const& op, Ptr<GenericIf const> const&, Ptr<GenericIf> const&) {
  String8 const typeName = type() ? type()->fullName() : String8("Kro::GenericIf");
  throw UnknownAttrException(
      typeName, format("operation %d of attribute %lld of ", op.opId, static_cast<long long>(op.attributeId)) +
                    typeName + ": expected an attribute that the type lists");
}

String8 GenericIf::strRep() const { return {}; }

void GenericIf::kroDoZombieReactors(bool zombie) {
  if (zombie != kroMarkedForDeletion()) {
    kroMarkedForDeletionIs(zombie);
  }
}

namespace {

[[noreturn]] void throwNoCollection(GenericIf const& object, AttributeId id) {
  String8 const typeName = object.type() ? object.type()->fullName() : String8("Kro::GenericIf");
  throw UnknownAttrException(
      typeName, format("attribute %d of ", id) + typeName + " is no collection: expected one to iterate over");
}

}  // namespace

GenericIf::AttributeIteratorConst GenericIf::attributeIteratorConst(AttributeId id) const {
  throwNoCollection(*this, id);
}
GenericIf::AttributeIteratorConst GenericIf::attributeIteratorKeyConst(AttributeId id,
                                                                       Ptr<GenericIf const> const&) const {
  throwNoCollection(*this, id);
}
Ptr<GenericIf> GenericIf::attributeIterator_iterObj(AttributeIteratorConst const& at) const {
  return at.state()->object(isConst_);
}
void GenericIf::attributeIterator_iterInc(AttributeIteratorConst& at) const { at.state()->advance(); }
Ptr<GenericIf> GenericIf::attributeIterator_iterKey(AttributeIteratorConst const& at) const {
  return at.state()->key();
}
GenericIf::AttributeIteratorConst GenericIf::attributeIterator_iterClone(AttributeIteratorConst const& at) const {
  return at;
}
bool GenericIf::attributeIterator_nonNull(AttributeIteratorConst const& at) const {
  return at.state() != nullptr && at.state()->nonNull();
}
void GenericIf::attributeIterator_iterDel(AttributeIteratorConst& at) const { at.stateDel(); }

Ptr<GenericIf> GenericIf::clone() { return share(this); }
void GenericIf::onAttribute(AttributeId id, Ptr<GenericIf> const&) { onAttribute(id); }

Ptr<GenericIf> GenericIf::attribute(String8 const& name) {
  return attributeOp({static_cast<std::uint32_t>(attributeId(name)), AttributeOp::read}, nullptr, nullptr);
}
void GenericIf::attributeIs(String8 const& name, Ptr<GenericIf> const& value) {
  attributeOp({static_cast<std::uint32_t>(attributeId(name)), AttributeOp::write}, nullptr, value);
}
Ptr<GenericIf> GenericIf::call(String8 const& name, std::vector<Ptr<GenericIf>> const& arguments) {
  return attributeOp({static_cast<std::uint32_t>(attributeId(name)), AttributeOp::read}, nullptr, List_::of(arguments));
}

String8 GenericIf::List_::strRep() const {
  String8 text = "[";
  for (Ptr<GenericIf> const& element : elements_) {
    text += (text.length() > 1 ? String8(", ") : String8()) + (element ? element->strRep() : String8("null"));
  }
  return text + "]";
}

LinkedQueue<GenericIf> argumentQueue(GenericIf const* list) {
  if (list == nullptr) {
    throwTypeException("List", "an argument list");
  }
  auto const* const typed = dynamic_cast<GenericIf::List_ const*>(list);
  if (typed == nullptr) {
    throwTypeException("Kro::GenericIf::List_", "an argument list",
                       list->type() ? list->type()->fullName() : String8("another object"));
  }
  return LinkedQueue<GenericIf>(typed->elements());
}

// --- what a type without reflection answers ---

namespace {

[[noreturn]] void throwNoReflection(KroType const& type) {
  throw ReflectionException(type.name().string(), "type " + type.fullName() + " has no reflection");
}

}  // namespace

Ptr<GenericIf> KroType::genericIf(void const*, bool) const { throwNoReflection(*this); }
Ptr<GenericIf> KroType::genericIf(GenericIf const*, bool) const { throwNoReflection(*this); }
Ptr<GenericIf> KroType::genericIf(String8 const&, bool) const { throwNoReflection(*this); }
Ptr<GenericIf> KroType::genericIf_(PtrInterface*, bool) const { throwNoReflection(*this); }

}  // namespace Kro
