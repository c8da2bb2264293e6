// What the .cpp file of an entity type includes to make it whole, and no other file. It instantiates
// `template class Kro::EntityOf<Vorn::VornAcl>;` and `template class Kro::EntityGenericIfOf<Vorn::VornAcl>;`
#pragma once

#include "runtime/entity/EntityChecks.h"
#include "runtime/entity/EntityOps.h"
#include "runtime/log/AdapterOf.h"
#include "runtime/log/EntityType.h"
#include "runtime/reflection/EntityOf.h"
#include "runtime/reflection/EntityReflectionOps.h"
#include "runtime/tree/TreeNodeOf.h"
#include "runtime/type/Model.h"

namespace Kro {

template <class X>
void EntityOf<X>::zeroReferencesIs(bool) {
  tellZeroReferences(self());
}

template <class X>
Ptr<KroType const> EntityOf<X>::_fwkType() {
  static_assert(detail::checkEntity<X>());
  return slottedType<X, typename X::_Type>(registrationOf<X>());
}

template <class X>
unsigned EntityOf<X>::auditErrors(unsigned level) const {
  return auditEntity(self(), level);
}

template <class X>
String8 EntityOf<X>::attributeString(AttributeId id) const {
  return attributeName(self(), id);
}

template <class X>
Ptr<Entity::KroNboAttrLogSa> EntityOf<X>::kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask,
                                                            Ptr<NboAttrLog::Out> const& out, PtrInterface* parent) {
  return adapterIs(self(), flags, mask, out, parent);
}

template <class X>
String8 EntityOf<X>::kroKeyText() const {
  if constexpr (KeyedEntity<X>) {
    return valueToStrep(X::KroHashLink::key(self()));
  } else {
    return Entity::kroKeyText();
  }
}

template <class X>
TreeNode* EntityOf<X>::kroNewTreeNode(TreeFollower& follower) {
  return new TreeNodeOf<X>(share(&follower), share(&self()));
}

}  // namespace Kro
