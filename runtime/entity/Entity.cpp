#include "runtime/entity/Entity.h"

#include "runtime/entity/EntityOps.h"
#include "runtime/entity/NotifieeOf.h"
#include "runtime/entity/StreamAdapter.h"
#include "runtime/type/KroType.h"
#include "runtime/value/Text.h"

namespace Kro {

namespace {

/// Appends a name or key as it stands in a path: characters that have a meaning there as \xHH.
void appendPathText(std::string& path, std::string_view text, std::string_view special) {
  for (char const c : text) {
    auto const byte = static_cast<unsigned char>(c);
    if (special.find(c) != std::string_view::npos || byte < 0x20 || byte == 0x7f) {
      path += "\\x";
      path += "0123456789abcdef"[byte >> 4U];
      path += "0123456789abcdef"[byte & 15U];
    } else {
      path += c;
    }
  }
}

void appendPath(std::string& path, Entity const& entity) {
  Ptr<Entity const> const parent = entity.parent();
  if (!parent) {
    Name const name = entity.name();
    if (!name.view().empty()) {
      appendPathText(path, name.view(), "/[]:'\"\\");
    } else if (Ptr<KroType const> const type = entity.fwkType()) {
      path += type->name().view();
    }
    return;
  }
  appendPath(path, *parent);
  path += '/';
  path += entity.parentAttr().view();
  if (String8 const key = entity.kroKeyText(); !key.empty()) {
    path += '[';
    path += key.view();
    path += ']';
  }
}

}  // namespace

Entity::Entity(Name name) : name_(std::move(name)) {}

Entity::~Entity() = default;

Name Entity::name() const { return name_; }
Ptr<Entity const> Entity::parent() const { return share<Entity const>(parent_); }
Ptr<Entity> Entity::parent() { return share(parent_); }

void Entity::parentIs(Ptr<Entity> const& parent) {
  parent_ = parent.get();
  if (parent_ == nullptr) {
    retireAdapters();
  }
  handleParent(parent);
}

void Entity::retireAdapters() {
  while (firstAdapter_ != nullptr) {
    firstAdapter_->retire();
  }
}

String8 Entity::parentAttr() const { return parent_ != nullptr ? parent_->attributeString(parentAttrId_) : String8(); }
AttributeId Entity::parentAttrId() const { return parentAttrId_; }
void Entity::parentAttrIdIs(AttributeId id) { parentAttrId_ = id; }
String8 Entity::uriPath() const { return "/" + fullName(); }

String8 Entity::fullName() const {
  std::string path;
  appendPath(path, *this);
  return String8(std::string_view(path));
}

String8 Entity::attributeString(AttributeId id) const {
  switch (id) {
    case kroHasAttrLogInterfaceId:
      return "kroHasAttrLogInterface";
    case kroNboAttrLogSaForMsgChannelId:
      return "kroNboAttrLogSaForMsgChannel";
    default:
      return {};
  }
}

void Entity::kroNotifieeAdapterIs(Ptr<Entity const> const&) {}
void Entity::handleParent(Ptr<Entity> const&) {}
String8 Entity::kroKeyText() const { return {}; }
TreeNode* Entity::kroNewTreeNode(TreeFollower&) { return nullptr; }

Ptr<Entity::KroNboAttrLogSa> Entity::kroNboAttrLogSa(Ptr<NboAttrLog::Out const> const& out) {
  for (KroNboAttrLogSa* at = firstAdapter_; at != nullptr; at = at->nextOfEntity()) {
    if (at->nboAttrLogOut() == out) {
      return share(at);
    }
  }
  return nullptr;
}

Ptr<Entity::KroNboAttrLogSa const> Entity::kroNboAttrLogSa(Ptr<NboAttrLog::Out const> const& out) const {
  return const_cast<Entity*>(this)->kroNboAttrLogSa(out);
}

bool Entity::kroHasAttrLogInterface() const { return false; }

Ptr<Entity::KroNboAttrLogSa> Entity::kroNboAttrLogSaForMsgChannel(Ptr<KroNboAttrLogSa> const&) const {
  return nullptr;  // no adapter belongs to a message channel in this runtime
}

Ptr<Entity::KroNboAttrLogSa> Entity::kroNboAttrLogSaIs(Kro_BitSet, unsigned, Ptr<NboAttrLog::Out> const&,
                                                       PtrInterface*) {
  throwInternalException("entity without attribute-log interface: " + fullName());
}

Ptr<Entity::KroNboAttrLogSa> Entity::kroNboAttrLogSaDel(Ptr<NboAttrLog::Out const> const& out) {
  Ptr<KroNboAttrLogSa> const adapter = kroNboAttrLogSa(out);
  if (adapter) {
    adapter->retire();
  }
  return adapter;
}

Entity::NotifieeConst::~NotifieeConst() = default;
void Entity::NotifieeConst::onParent() {}
void Entity::NotifieeConst::onVersion() {}

bool reactsForStream(PtrInterface::NotifieeConst const& observer) {
  return dynamic_cast<Entity::KroNboAttrLogSa const*>(observer.kroReactor().get()) != nullptr;
}

void detail::throwNullReference(std::string_view typeName, std::string_view attribute) {
  throwRangeException("null _" + String8(attribute) + " parameter to mutator for " + String8(typeName) +
                      "::" + String8(attribute) + " not allowed\"");
}

void detail::throwNullNewReference(std::string_view typeName, std::string_view attribute) {
  throwInternalException(String8(typeName) + "::" + String8(attribute) + ": a new reference to nothing");
}

void detail::throwNameInUse(Name const& entity, std::string_view parameter, String8 const& requested,
                            String8 const& current) {
  throwNameInUseException("Reinstantiating the entity with name " + valueToStrep(entity) +
                          " where constructor parameter attribute _" + String8(parameter) +
                          " has a different value of " + requested + " than the current value of " + current +
                          " not allowed");
}

}  // namespace Kro
