#include "platform/Zil/AclKey.h"

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Zil::AclKey>;

namespace Zil {

AclKey::AclKey(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }

Kro::String8 AclKey::toStr() const { return Kro::stringValue(aclType_) + ":" + aclName_; }

AclKey AclKey::fromIn(Kro::ByteConnection::In& in) {
  auto const aclType = Kro::NboAttrLog::nextValue<Acl::AclType>(in);
  return AclKey(aclType, in.nextString());
}

AclKey AclKey::fromLog(Kro::InCursor& in) {
  auto const aclType = Kro::Codec<Acl::AclType>::get(in);
  auto const length = in.next<std::uint32_t>();
  if (length > Kro::ByteConnection::In::defaultMaxString) {
    Kro::throwStringTooLong(length, Kro::ByteConnection::In::defaultMaxString);
  }
  auto const name = in.bytes(length);
  return AclKey(aclType, Kro::String8(std::string_view(reinterpret_cast<char const*>(name.data()), name.size())));
}

}  // namespace Zil
