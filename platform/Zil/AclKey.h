// The key by which other parts of a system name an access-control list.
#pragma once

#include "platform/Acl/AclType.h"
#include "platform/KroOperations.h"

namespace Zil {

/// The kind of an access-control list and the name that its users gave it. Orders by kind, then by the bytes of the
/// name. The text form is that of a record; stream output is `ip:NAME`; the attribute-log form is the kind, S32, and
/// the name, a string.
class VORNACL_API AclKey : public Kro::Value<AclKey> {
 public:
  AclKey() = default;
  AclKey(Acl::AclType aclType, Kro::String8 aclName) : aclType_(aclType), aclName_(std::move(aclName)) {}
  /// Reads the text form; throws `Kro::RangeException` for any other text.
  AclKey(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end);
  AclKey(Kro::NboAttrLog::In* in, Kro::StreamBogon) : AclKey(fromIn(*in)) {}

  Acl::AclType aclType() const { return aclType_; }
  Kro::String8 const& aclName() const { return aclName_; }

  bool operator==(AclKey const&) const = default;

  /// The kind's name, a colon and the name; it reads back nowhere.
  Kro::String8 toStr() const;

  static constexpr std::size_t logMaxSize = Kro::unboundedSize;
  /// Bytes of the attribute-log form.
  std::size_t logSize() const { return 4 + Kro::Codec<Kro::String8>::size(aclName_); }
  std::uint8_t* logTo(std::uint8_t* to) const {
    return Kro::Codec<Kro::String8>::put(Kro::Codec<Acl::AclType>::put(to, aclType_), aclName_);
  }
  /// Throws `Kro::RangeException` "AclType" for an unknown kind, `Kro::AttrLogEntityException` for a name longer than
  /// the input allows.
  static AclKey fromIn(Kro::ByteConnection::In& in);
  /// The same for a bare run of bytes, with the default limit of strings.
  static AclKey fromLog(Kro::InCursor& in);

  struct Attributes;

 private:
  Acl::AclType aclType_ = Acl::ip;
  Kro::String8 aclName_;
};

struct AclKey::Attributes {
  using T = AclKey;
  static constexpr std::string_view typeName = "Zil::AclKey";
  static constexpr auto all = std::tuple{
      Kro::fixed(2, "aclType", &T::aclType_),
      Kro::fixed(3, "aclName", &T::aclName_),
  };
};

}  // namespace Zil
