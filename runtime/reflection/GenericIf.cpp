#include "runtime/reflection/GenericIf.h"

namespace Kro {

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

namespace {

String8 typeNameOf(GenericIf const& object) {
  Ptr<KroType const> const type = object.type();
  return type ? type->fullName() : String8("Kro::GenericIf");
}

/// "expected one of rangeStart, rangeEnd, hash".
String8 expectedAttributes(GenericIf const& object) {
  String8 text;
  if (Ptr<KroType const> const type = object.type()) {
    for (Ptr<KroAttr> const& attribute : type->attributeQ()) {
      text += (text.empty() ? String8() : String8(", ")) + attribute->name().string();
    }
  }
  return text.empty() ? String8("it has none") : "expected one of " + text;
}

[[noreturn]] void throwUnknownAttr(GenericIf const& object, String8 const& asked) {
  throw UnknownAttrException(typeNameOf(object), "no such attribute: " + asked + " of " + typeNameOf(object) + ": " +
                                                     expectedAttributes(object));
}

}  // namespace

AttributeId GenericIf::attributeId(String8 const& name) const {
  if (Ptr<KroType const> const own = type()) {
    if (Ptr<KroAttr> const attribute = own->attr(name)) {
      return attribute->id();
    }
  }
  throwUnknownAttr(*this, name);
}

Ptr<GenericIf> GenericIf::attributeOp(AttributeOp const& op, Ptr<GenericIf const> const&, Ptr<GenericIf> const&) {
  throwUnknownAttr(*this, format("operation %d of attribute %lld", op.opId, static_cast<long long>(op.attributeId)));
}

String8 GenericIf::strRep() const { return {}; }

void GenericIf::kroDoZombieReactors(bool zombie) {
  if (zombie != kroMarkedForDeletion()) {
    kroMarkedForDeletionIs(zombie);
  }
}

namespace {

[[noreturn]] void throwNoCollection(GenericIf const& object, AttributeId id) {
  String8 const name = object.attributeString(id);
  String8 const typeName = typeNameOf(object);
  throw UnknownAttrException(typeName, format("iterator over attribute %d", id) + (name.empty() ? name : " " + name) +
                                           " of " + typeName + ": expected a collection");
}

GenericIf::AttributeIteratorConst::State& currentOf(GenericIf::AttributeIteratorConst const& at) {
  if (at.state() == nullptr || !at.state()->nonNull()) {
    throwInternalException("Kro::GenericIf::AttributeIteratorConst: no current member");
  }
  return *at.state();
}

}  // namespace

GenericIf const& GenericIf::AttributeIteratorConst::owner() const {
  if (!owner_) {
    throwInternalException("Kro::GenericIf::AttributeIteratorConst: no current member");
  }
  return *owner_;
}

GenericIf::AttributeIteratorConst GenericIf::attributeIteratorConst(AttributeId id) const {
  throwNoCollection(*this, id);
}
GenericIf::AttributeIteratorConst GenericIf::attributeIteratorKeyConst(AttributeId id,
                                                                       Ptr<GenericIf const> const&) const {
  throwNoCollection(*this, id);
}
Ptr<GenericIf> GenericIf::attributeIterator_iterObj(AttributeIteratorConst const& at) {
  return static_cast<GenericIf const*>(this)->attributeIterator_iterObj(at);
}
Ptr<GenericIf> GenericIf::attributeIterator_iterObj(AttributeIteratorConst const& at) const {
  return currentOf(at).object(isConst_);
}
void GenericIf::attributeIterator_iterInc(AttributeIteratorConst& at) const { currentOf(at).advance(); }
Ptr<GenericIf> GenericIf::attributeIterator_iterKey(AttributeIteratorConst const& at) const {
  return currentOf(at).key();
}
GenericIf::AttributeIteratorConst GenericIf::attributeIterator_iterClone(AttributeIteratorConst const& at) const {
  return at;
}
bool GenericIf::attributeIterator_nonNull(AttributeIteratorConst const& at) const {
  return at.state() != nullptr && at.state()->nonNull();
}
void GenericIf::attributeIterator_iterDel(AttributeIteratorConst& at) const { at.stateDel(); }
GenericIf::AttributeIterator GenericIf::attributeIterator(AttributeId id) { return attributeIteratorConst(id); }
GenericIf::AttributeIterator GenericIf::attributeIteratorKey(AttributeId id, Ptr<GenericIf const> const& key) {
  return attributeIteratorKeyConst(id, key);
}

Ptr<GenericIf> GenericIf::clone() { return share(this); }
void GenericIf::onAttribute(AttributeId id, Ptr<GenericIf> const&) { onAttribute(id); }

Ptr<GenericIf> GenericIf::attribute(String8 const& name, Ptr<GenericIf const> const& key) {
  return attributeOp({static_cast<std::uint32_t>(attributeId(name)), AttributeOp::read}, key, nullptr);
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
    throwTypeException("Kro::GenericIf::List_", "an argument list", typeNameOf(*list));
  }
  return LinkedQueue<GenericIf>(typed->elements());
}

void* argumentOf(GenericIf const* argument, Ptr<KroType const> const& wanted, std::string_view parameter) {
  Ptr<KroType const> const given = argument != nullptr ? argument->type() : nullptr;
  if (argument == nullptr || !(given == wanted)) {
    throwTypeException(String8(parameter), wanted->fullName(),
                       given                 ? given->fullName()
                       : argument != nullptr ? String8("an argument list")
                                             : String8());
  }
  return argument->voidPtrIs(wanted);
}

Ptr<GenericIf> KroType::genericIf(char const* text, bool isConst) const { return genericIf(String8(text), isConst); }

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
