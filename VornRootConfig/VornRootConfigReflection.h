// The reflection objects of this source's entity types.
#pragma once

#include "VornAclTable/VornAclReflection.h"
#include "VornRootConfig/RootConfigColl.h"
#include "VornRootConfig/VornRootConfigLog.h"

namespace Kro {

extern template class EntityGenericIfOf<Vorn::RootConfig>;
extern template class EntityGenericIfOf<Vorn::RootConfigColl>;

}  // namespace Kro

namespace Vorn {

/// Reflects a `RootConfig`. Derive from it and override `onAttribute` to hear changes.
class VORNACL_API RootConfig::GenericIf_ : public Kro::EntityGenericIfOf<RootConfig> {
 public:
  using EntityGenericIfOf::EntityGenericIfOf;
  static Kro::Ptr<GenericIf_> GenericIf_Is(Kro::Ptr<RootConfig> const& entity, bool isConst) {
    return Kro::adopt(new GenericIf_(entity, isConst));
  }
};

/// The type object.
class VORNACL_API RootConfig::_Type : public Kro::ReflectedEntityType<RootConfig> {
 public:
  /// Gives the child of a configuration its own adapter on a stream that mirrors the configuration, and announces it
  /// there. `attribute` names the child: "vornAclColl" or "aclKeyToAclId". Null where the child is not that one's, and
  /// where the configuration has no adapter on the stream.
  Kro::Ptr<Kro::Entity::KroNboAttrLogSa> childAttrLogIs(Kro::Name const& attribute, Kro::Ptr<Kro::Entity> const& child,
                                                        Kro::Ptr<Kro::NboAttrLog::Out> const& out) const;
};

/// Reflects a `RootConfigColl`. Derive from it and override `onAttribute` to hear changes.
class VORNACL_API RootConfigColl::GenericIf_ : public Kro::EntityGenericIfOf<RootConfigColl> {
 public:
  using EntityGenericIfOf::EntityGenericIfOf;
  static Kro::Ptr<GenericIf_> GenericIf_Is(Kro::Ptr<RootConfigColl> const& entity, bool isConst) {
    return Kro::adopt(new GenericIf_(entity, isConst));
  }
};

/// The type object.
class VORNACL_API RootConfigColl::_Type : public Kro::ReflectedEntityType<RootConfigColl> {
 public:
  /// Gives a member its own adapter on a stream that mirrors the collection, and announces it there. `attribute` is
  /// "chipRootConfig". Null where the member is not that one's, and where the collection has no adapter on the stream.
  Kro::Ptr<Kro::Entity::KroNboAttrLogSa> childAttrLogIs(Kro::Name const& attribute, Kro::Ptr<Kro::Entity> const& child,
                                                        Kro::Ptr<Kro::NboAttrLog::Out> const& out) const;
};

}  // namespace Vorn
