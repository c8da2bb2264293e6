#include "platform/Dorix/IpProtocolNumber.h"

#include "runtime/reflection/TypeObjects.h"

template VORNACL_API Kro::Ptr<Kro::KroType const> Kro::enumerationType<Dorix::IpProtocolNumber>();

namespace Dorix {

Kro::Ptr<Kro::KroType const> _fwkType_IpProtocolNumber() { return Kro::enumerationType<IpProtocolNumber>(); }

}  // namespace Dorix
