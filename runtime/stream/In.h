// The input of the attribute log: the payload of one message, with entity references resolved to local entities.
#pragma once

#include <functional>

#include "runtime/core/Exception.h"
#include "runtime/stream/ByteConnection.h"
#include "runtime/stream/EntityId.h"

namespace Kro {

class Entity;

namespace NboAttrLog {

/// Finds the local entities behind ids; given to an input by the connection that it belongs to.
class VORNACL_API EntityResolver {
 public:
  virtual ~EntityResolver();
  /// The entity, or null where this end has none of that id.
  virtual Entity* entityById(EntityId id) const = 0;
};

/// Input stream of one connection.
class VORNACL_API In : public ByteConnection::In {
 public:
  using ByteConnection::In::In;
  ~In() override;

  EntityId nextEntityId() { return EntityId{nextU64()}; }
  /// Reads an id and puts the read position back.
  EntityId peekEntityId();
  /// Reads an entity reference; null where there is no such entity here.
  Ptr<Entity> nextEntity();
  /// The same as a `T`: null stays null, an entity of another type throws `AttrLogEntityException` "Entity is the wrong
  /// type".
  template <class T>
  Ptr<T> nextEntity();

  void resolverIs(EntityResolver const* resolver) { resolver_ = resolver; }

 private:
  EntityResolver const* resolver_ = nullptr;
};

template <class T>
Ptr<T> In::nextEntity() {
  Ptr<Entity> const entity = nextEntity();
  Ptr<T> const typed = ptrCast<T>(entity);
  if (entity && !typed) {
    throw AttrLogEntityException("Entity is the wrong type");
  }
  return typed;
}

}  // namespace NboAttrLog
}  // namespace Kro
