#include "platform/Dorix/Port.h"

#include <ostream>

#include "platform/Dorix/Number.h"
#include "platform/TypeObject.h"

namespace Dorix {

Port::Port(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end)
    : number_(detail::readNumber<std::uint16_t>(it, end, "a port from 0 to 65535")) {}

std::uint32_t Port::hash() const {
  Kro::Hash hash;
  mixInto(hash);
  return hash.value();
}

Kro::Ptr<Kro::KroType const> Port::_fwkType() { return Kro::detail::platformType<Port>("Dorix::Port"); }

std::ostream& operator<<(std::ostream& out, Port port) { return out << Kro::valueToStrep(port); }

}  // namespace Dorix
