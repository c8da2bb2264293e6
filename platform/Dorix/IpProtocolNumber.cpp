#include "platform/Dorix/IpProtocolNumber.h"

#include "platform/TypeObject.h"

template <>
VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Dorix::IpProtocolNumber>() {
  return detail::enumerationTypeOf<Dorix::IpProtocolNumber>(nullptr);
}

namespace Dorix {

Kro::Ptr<Kro::KroType const> _fwkType_IpProtocolNumber() { return Kro::enumerationType<IpProtocolNumber>(); }

}  // namespace Dorix
