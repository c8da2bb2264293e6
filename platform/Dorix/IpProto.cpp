#include "platform/Dorix/IpProto.h"

#include <ostream>

#include "platform/Dorix/Number.h"
#include "platform/TypeObject.h"

namespace Dorix {

IpProto::IpProto(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end)
    : number_(detail::readNumber<std::uint8_t>(it, end, "an IP protocol from 0 to 255")) {}

std::uint32_t IpProto::hash() const {
  Kro::Hash hash;
  hash.mixInteger(number_, 1);
  return hash.value();
}

Kro::Ptr<Kro::KroType const> IpProto::_fwkType() { return Kro::detail::platformType<IpProto>("Dorix::IpProto"); }

std::ostream& operator<<(std::ostream& out, IpProto proto) { return out << Kro::valueToStrep(proto); }

}  // namespace Dorix
