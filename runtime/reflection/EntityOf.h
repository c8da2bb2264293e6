// The base of every entity type: what the types have in common, derived from their attribute lists. The members are
// defined in `EntityOfOps.h` and instantiated in the type's own .cpp file.
#pragma once

#include "runtime/collection/Members.h"
#include "runtime/entity/EntityAttributes.h"
#include "runtime/entity/NotifieeOf.h"

namespace Kro {

namespace NboAttrLog {

template <class X>
class AdapterOf;

}  // namespace NboAttrLog

template <class X>
class VORNACL_API EntityGenericIfOf;
template <class X>
class ReflectedEntityType;

/// Base of entity type `X`, without fields. `X` has a class `NotifieeConst` with the handlers of its observers, keeps
/// those in a list `kroObservers()`, and lists its attributes in a nested struct `Attributes`; one that is a member of
/// collections says by `KroHashLink` how they chain it.
template <class X>
class VORNACL_API EntityOf : public Entity {
 public:
  /// The one that `X` has itself hides this.
  using NotifieeConst = MissingObserver<X>;
  /// An observer that may change the entity.
  using Notifiee = NotifieeFor<X>;
  using Observers = ObserverList<NotifieeOf<X>>;
  /// The class of stream adapters: `runtime/log/AdapterOf.h`. A type whose adapters have members with names has its
  /// own.
  using KroNboAttrLogSa = NboAttrLog::AdapterOf<X>;
  /// The class of reflection objects, and that of the type object: `runtime/reflection/EntityReflection.h`.
  using GenericIf_ = EntityGenericIfOf<X>;
  using _Type = ReflectedEntityType<X>;

  void zeroReferencesIs(bool) override;
  Ptr<KroType const> fwkType() const override { return _fwkType(); }
  static Ptr<KroType const> _fwkType();
  unsigned auditErrors(unsigned level) const override;
  String8 attributeString(AttributeId id) const override;
  using Entity::kroNboAttrLogSa;
  bool kroHasAttrLogInterface() const override { return true; }
  Ptr<Entity::KroNboAttrLogSa> kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask, Ptr<NboAttrLog::Out> const& out,
                                                 PtrInterface* parent) override;
  String8 kroKeyText() const override;
  TreeNode* kroNewTreeNode(TreeFollower& follower) override;

  /// The descriptor of the attribute that `field` stores.
  template <auto field>
  static constexpr auto row = entityRow<X, field>;

 protected:
  using Entity::Entity;

  /// Counts one read of what an accessor yields.
  template <class T>
  T const& counted(T const& value) const {
    kroCountRead();
    return value;
  }

 private:
  X& self() { return static_cast<X&>(*this); }
  X const& self() const { return static_cast<X const&>(*this); }
};

}  // namespace Kro
