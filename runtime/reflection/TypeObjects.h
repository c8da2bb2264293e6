// What the .cpp file of a value type or enumeration includes to make it whole, and no other file. It instantiates
// `template class Kro::Value<Vorn::AceIndex>;`, or
// `template VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Vorn::TableType>();`
#pragma once

#include "runtime/reflection/ValueReflection.h"
#include "runtime/type/Model.h"
#include "runtime/value/ValueOps.h"

namespace Kro {

template <class X>
Ptr<KroType const> Value<X>::_fwkType() {
  return slottedType<X, ValueTypeOf<X>>(registrationOf<X>(), String8(X::Attributes::typeName));
}
template <Enumeration E>
Ptr<KroType const> enumerationType() {
  return slottedType<E, ValueTypeOf<E>>(registrationOf<E>(), String8(kroEnumerators(E{}).typeName));
}

}  // namespace Kro
