// IP protocols that have a name.
#pragma once

#include <cstdint>

#include "platform/KroOperations.h"

namespace Dorix {

/// Protocol numbers assigned by IANA (registry "Assigned Internet Protocol Numbers"). `IpProto` holds any number.
enum IpProtocolNumber : std::int32_t {
  ipProtoIcmp = 1,     ///< RFC 792
  ipProtoIgmp = 2,     ///< RFC 3376
  ipProtoTcp = 6,      ///< RFC 9293
  ipProtoUdp = 17,     ///< RFC 768
  ipProtoGre = 47,     ///< RFC 2784
  ipProtoEsp = 50,     ///< RFC 4303
  ipProtoAh = 51,      ///< RFC 4302
  ipProtoIcmpv6 = 58,  ///< RFC 4443
  ipProtoOspf = 89,    ///< RFC 2328
  ipProtoPim = 103,    ///< RFC 7761
  ipProtoVrrp = 112,   ///< RFC 5798
  ipProtoSctp = 132,   ///< RFC 9260
};

/// The names of the enumerators.
constexpr Kro::Enumerators<IpProtocolNumber, 12> kroEnumerators(IpProtocolNumber) {
  return {"Dorix::IpProtocolNumber",
          {{
              {ipProtoIcmp, "ipProtoIcmp"},
              {ipProtoIgmp, "ipProtoIgmp"},
              {ipProtoTcp, "ipProtoTcp"},
              {ipProtoUdp, "ipProtoUdp"},
              {ipProtoGre, "ipProtoGre"},
              {ipProtoEsp, "ipProtoEsp"},
              {ipProtoAh, "ipProtoAh"},
              {ipProtoIcmpv6, "ipProtoIcmpv6"},
              {ipProtoOspf, "ipProtoOspf"},
              {ipProtoPim, "ipProtoPim"},
              {ipProtoVrrp, "ipProtoVrrp"},
              {ipProtoSctp, "ipProtoSctp"},
          }}};
}

/// The enumerator with this number; throws `Kro::RangeException` "IpProtocolNumber" for any other.
inline IpProtocolNumber IpProtocolNumberInstance(unsigned number) {
  return Kro::enumeratorOf<IpProtocolNumber>(number);
}
/// The enumerator of this name, exactly; throws `Kro::RangeException` "IpProtocolNumber" for any other.
inline IpProtocolNumber IpProtocolNumberInstance(Kro::String8 const& name) {
  return Kro::enumeratorOf<IpProtocolNumber>(name);
}

/// The type object of `IpProtocolNumber`.
VORNACL_API Kro::Ptr<Kro::KroType const> _fwkType_IpProtocolNumber();

}  // namespace Dorix
