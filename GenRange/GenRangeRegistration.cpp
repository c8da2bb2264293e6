#include "GenRange/GenRangeRegistration.h"

#include "GenRange/GenRange.h"

namespace Vorn {

Kro::RegistrationSource& kroSourceOfGenRange() {
  static Kro::RegistrationSource source;
  return source;
}

void kroInitGenRange() { Kro::registerSource<L4PortRange, GenRangeType, GenRange>(kroSourceOfGenRange(), "Vorn"); }

void kroLoadGenRange() {
  Kro::placeType<L4PortRange>();
  Kro::placeType<GenRangeType>();
  Kro::placeType<GenRange>();
  kroInitGenRange();
  kroSourceOfGenRange().initialised = true;
}

}  // namespace Vorn
