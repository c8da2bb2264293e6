#include "GenRange/GenRangeType.h"

#include "GenRange/GenRangeRegistration.h"

template <>
VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Vorn::GenRangeType>() {
  return detail::enumerationTypeOf<Vorn::GenRangeType>(&Vorn::kroInitGenRange);
}

namespace Vorn {

GenRangeType GenRangeTypeInstance(unsigned number) { return Kro::enumeratorOf<GenRangeType>(number); }
GenRangeType GenRangeTypeInstance(Kro::String8 const& name) { return Kro::enumeratorOf<GenRangeType>(name); }
Kro::Ptr<Kro::KroType const> _fwkType_GenRangeType() { return Kro::enumerationType<GenRangeType>(); }

}  // namespace Vorn
