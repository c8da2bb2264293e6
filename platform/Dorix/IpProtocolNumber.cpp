#include "platform/Dorix/IpProtocolNumber.h"

#include "platform/TypeObject.h"

namespace Dorix {

Kro::Ptr<Kro::KroType const> _fwkType_IpProtocolNumber() {
  static Kro::KroType const* const type = Kro::detail::immortalType("Dorix::IpProtocolNumber");
  return Kro::share(type);
}

}  // namespace Dorix
