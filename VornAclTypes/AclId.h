// The composite key of one ACL.
#pragma once

#include "VornAclTypes/ChipRuleListId.h"
#include "VornAclTypes/TableType.h"
#include "platform/Acl/AclDirection.h"

namespace Vorn {

/// The key of one ACL: table type, rule list and traffic direction. The default is (`invalid`, 255, 0).
///
/// Its text is written in three parts, as "ipv4PAcl:5:in", and read in two, as "ipv4PAcl:5": the reader sets direction
/// 0. Write the three attributes where a text is to be read again.
class VORNACL_API AclId : public Kro::Value<AclId> {
 public:
  AclId() = default;
  AclId(TableType tableType, ChipRuleListId chipRuleListId, Acl::AclDirection direction)
      : tableType_(tableType), chipRuleListId_(chipRuleListId), direction_(direction) {}
  /// Reads the two-part text up to `end`. Throws `RangeException` "Invalid AclId", "TableType" or "Invalid AclId:
  /// ChipRuleListId out of range".
  AclId(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end);
  AclId(Kro::NboAttrLog::In* in, Kro::StreamBogon) { readLog(*in); }

  TableType tableType() const { return tableType_; }
  ChipRuleListId chipRuleListId() const { return chipRuleListId_; }
  Acl::AclDirection direction() const { return direction_; }

  std::size_t textRoom() const;
  char* textTo(char* to) const;
  bool operator==(AclId const&) const = default;

  struct Attributes;

 private:
  TableType tableType_ = Vorn::invalid;
  ChipRuleListId chipRuleListId_;
  Acl::AclDirection direction_{};
};

struct AclId::Attributes {
  using T = AclId;
  static constexpr std::string_view typeName = "Vorn::AclId";
  static constexpr auto all = std::tuple{
      Kro::fixed(2, "tableType", &T::tableType_),
      Kro::fixed(3, "chipRuleListId", &T::chipRuleListId_),
      Kro::fixed(4, "direction", &T::direction_),
      Kro::function(5, "hash", &T::hash),
  };
};

}  // namespace Vorn
