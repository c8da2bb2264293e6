#include "runtime/reflection/ValueReflection.h"

namespace Kro {

template class Builtin<bool>;
template class Builtin<std::uint8_t>;
template class Builtin<std::uint16_t>;
template class Builtin<std::uint32_t>;
template class Builtin<std::uint64_t>;
template class Builtin<std::int32_t>;
template class Builtin<double>;
template class Builtin<String8>;
template class Builtin<void*>;
template class Builtin<Name>;

Ptr<KroType const> Name::_fwkType() { return Builtin<Name>::_fwkType(); }

}  // namespace Kro
