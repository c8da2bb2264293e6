// The reflection objects of this source's entity types.
#pragma once

#include "VornAclTable/AclKeyToAclIdMapping.h"
#include "VornAclTable/VornAclColl.h"
#include "VornAclTable/VornAclLog.h"
#include "runtime/reflection/EntityReflection.h"

namespace Kro {

extern template class EntityGenericIfOf<Vorn::VornAcl>;
extern template class EntityGenericIfOf<Vorn::VornAclColl>;
extern template class EntityGenericIfOf<Vorn::AclKeyToAclIdMapping>;

}  // namespace Kro

namespace Vorn {

// Once more, for a using-declaration does not see what is declared behind it: here the readers of entity references.
using Kro::sequenceToValue;
using Kro::strepToValue;

/// Reflects a `VornAcl`. Derive from it and override `onAttribute` to hear changes.
class VORNACL_API VornAcl::GenericIf_ : public Kro::EntityGenericIfOf<VornAcl> {
 public:
  using EntityGenericIfOf::EntityGenericIfOf;
  static Kro::Ptr<GenericIf_> GenericIf_Is(Kro::Ptr<VornAcl> const& entity, bool isConst) {
    return Kro::adopt(new GenericIf_(entity, isConst));
  }
};

/// The type object.
class VORNACL_API VornAcl::_Type : public Kro::ReflectedEntityType<VornAcl> {};

/// Reflects a `VornAclColl`. Derive from it and override `onAttribute` to hear changes.
class VORNACL_API VornAclColl::GenericIf_ : public Kro::EntityGenericIfOf<VornAclColl> {
 public:
  using EntityGenericIfOf::EntityGenericIfOf;
  static Kro::Ptr<GenericIf_> GenericIf_Is(Kro::Ptr<VornAclColl> const& entity, bool isConst) {
    return Kro::adopt(new GenericIf_(entity, isConst));
  }
};

/// The type object.
class VORNACL_API VornAclColl::_Type : public Kro::ReflectedEntityType<VornAclColl> {
 public:
  /// Gives a member its own adapter on a stream that mirrors the collection, and announces it there. `attribute` is
  /// "acl". Null where the member is not that one's, and where the collection has no adapter on the stream.
  Kro::Ptr<Kro::Entity::KroNboAttrLogSa> childAttrLogIs(Kro::Name const& attribute, Kro::Ptr<Kro::Entity> const& child,
                                                        Kro::Ptr<Kro::NboAttrLog::Out> const& out) const;
};

/// Reflects an `AclKeyToAclIdMapping`. Derive from it and override `onAttribute` to hear changes.
class VORNACL_API AclKeyToAclIdMapping::GenericIf_ : public Kro::EntityGenericIfOf<AclKeyToAclIdMapping> {
 public:
  using EntityGenericIfOf::EntityGenericIfOf;
  static Kro::Ptr<GenericIf_> GenericIf_Is(Kro::Ptr<AclKeyToAclIdMapping> const& entity, bool isConst) {
    return Kro::adopt(new GenericIf_(entity, isConst));
  }
};

/// The type object.
class VORNACL_API AclKeyToAclIdMapping::_Type : public Kro::ReflectedEntityType<AclKeyToAclIdMapping> {};

}  // namespace Vorn
