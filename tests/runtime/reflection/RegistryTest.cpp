// What the registry holds of every type, beside the table of the model's attributes.
#include <dlfcn.h>

#include "GenRange/GenRange.h"
#include "VornAclTypes/VornAclTypes.h"
#include "VornRootConfig/VornRootConfig.h"
#include "tests/runtime/reflection/Reflected.h"

namespace {

using namespace VornTest;

/// Every type in the order of registration, with its constructor parameters; then the attributes in runs of one type
/// and kind with running ids: the first id, the names, type and kind, the key type of a collection, the arguments of a
/// function. Types of the model stand without their scope.
constexpr char const* modelTable = R"(
Vorn::L4PortRange value (rangeStart Dorix::Port, rangeEnd Dorix::Port): 2 rangeStart rangeEnd Dorix::Port stored; 4
  isAny bool function; 5 partiallyOverlaps contains bool function pr L4PortRange; 7 stringValue Kro::String8 function;
  8 hash U32 function
Vorn::GenRangeType value: 0 unknownRange ipRange portRange GenRangeType enumerator
Vorn::GenRange value (l4PortRange L4PortRange, ipGenPrefix Dorix::IpGenPrefix, genRangeType GenRangeType): 2
  l4PortRange L4PortRange stored; 3 ipGenPrefix Dorix::IpGenPrefix stored; 4 genRangeType GenRangeType stored; 5 isAny
  bool function; 6 contains partiallyOverlaps bool function gr GenRange; 8 stringValue Kro::String8 function; 9 hash
  U32 function; 10 lessThan bool function b GenRange
Vorn::ChipId value (value U16) of value: 2 value U16 stored; 3 hash U32 function
Vorn::ChipRuleListId value (value U8) of value: 2 value U8 stored-w; 3 invalid U8 constant; 4 hash U32 function
Vorn::TableType value: 0 invalid ipv4PAcl ipv4RAcl ipv6PAcl ipv6RAcl macAcl TableType enumerator
Vorn::AclId value (tableType TableType, chipRuleListId ChipRuleListId, direction Acl::AclDirection): 2 tableType
  TableType stored; 3 chipRuleListId ChipRuleListId stored; 4 direction Acl::AclDirection stored; 5 hash U32 function
Vorn::AceIndex value (ruleId U32, subRuleId U32, subIndex U32): 2 ruleInvalid U32 constant; 3 ruleId subRuleId
  subIndex U32 stored; 6 toStr Kro::String8 function; 7 hash U32 function
Vorn::IpFilter value: 2 source destination Dorix::IpGenPrefix stored-w; 4 fragments bool stored-w; 5 dscp U8 stored-w;
  6 matchDscp bool stored-w; 7 proto Dorix::IpProto stored-w; 8 matchProto bool stored-w; 9 sportRange dportRange
  L4PortRange stored-w; 11 ttl U8 stored-w; 12 includeTtl bool stored-w; 13 tcpFlag IpFilter::TcpFlag stored-w; 14 fin
  syn rst psh ack urg bool computed-w; 20 established bool stored-w; 21 icmpType icmpCode U16 stored-w; 23 icmpAll U16
  constant; 24 icmpTypeLen icmpCodeLen icmpLen U8 constant; 27 l4Rule bool stored-w; 28 toStr Kro::String8 function;
  29 convertProtoEnumToValue U8 function x Dorix::IpProtocolNumber; 30 hash U32 function
Vorn::IpFilter::TcpFlag value (value U32) of value: 2 fin syn rst psh ack urg bool bit-w; 8 value U32 bits; 9 fin_
  syn_ rst_ psh_ ack_ urg_ kroUniversal kroEmpty IpFilter::TcpFlag constant; 0 hash U32 function
Vorn::IpRuleConfig value: 2 filter IpFilter stored-w; 3 action Acl::Action stored-w; 4 log count bool stored-w; 6
  toStr Kro::String8 function; 7 hash U32 function
Vorn::MacFilter value: 2 sourceAddr sourceMask destinationAddr destinationMask Dorix::EthAddr stored-w; 6 proto U32
  stored-w; 7 protoAll U32 constant; 8 toStr Kro::String8 function; 9 hash U32 function
Vorn::MacRuleConfig value: 2 filter MacFilter stored-w; 3 action Acl::Action stored-w; 4 log count bool stored-w; 6
  toStr Kro::String8 function; 7 hash U32 function
Vorn::VornAcl entity (aclId AclId, aclType Acl::AclType, cliName Kro::Name): 153 kroNboAttrLogSaForMsgChannel void*
  function; 0 fwkKey AclId key; 154 kroHasAttrLogInterface bool function; 258 aclId AclId parameter; 259 aclType
  Acl::AclType parameter; 260 cliName Kro::Name parameter; 261 ipRuleById IpRuleConfig values by AceIndex; 262
  macRuleById MacRuleConfig values by AceIndex; 263 equal bool function acl VornAcl
Vorn::VornAclColl entity (name Kro::Name): 153 kroNboAttrLogSaForMsgChannel void* function; 154 kroHasAttrLogInterface
  bool function; 258 acl VornAcl members by AclId; 259 equal bool function vornAclColl VornAclColl
Vorn::AclKeyToAclIdMapping entity (name Kro::Name): 153 kroNboAttrLogSaForMsgChannel void* function; 154
  kroHasAttrLogInterface bool function; 258 keyToId AclId values by Zil::AclKey; 259 equal bool function
  keyToIdMapping AclKeyToAclIdMapping
Vorn::RootAction value: 0 vornCompute vornLoad vornAbort RootAction enumerator
Vorn::RootConfig entity (name Kro::Name, rootConfigId U32, chipId ChipId): 153 kroNboAttrLogSaForMsgChannel void*
  function; 0 fwkKey U32 key; 154 kroHasAttrLogInterface bool function; 258 rootConfigId U32 parameter; 259 chipId
  ChipId parameter; 260 active bool scalar; 261 vornAclColl VornAclColl child; 262 aclKeyToAclId AclKeyToAclIdMapping
  child; 263 action RootAction scalar; 264 vornRootKickTime double scalar; 265 vornRootKick U32 counter; 266 equal
  bool function rootConfig RootConfig; 267 initialized bool scalar; 268 initialize void* function
Vorn::RootConfigColl entity (name Kro::Name): 153 kroNboAttrLogSaForMsgChannel void* function; 154
  kroHasAttrLogInterface bool function; 258 chipRootConfig RootConfig members by U32; 259 chipRootConfigLastFailed
  RootConfig references by ChipId
)";

/// The kind's flag words and introspection flags. Kinds of entities share those of values.
std::string kindOf(Kro::KroAttr const& attribute) {
  struct Kind {
    char const* name;
    std::uint32_t low, high, introspection;
  };
  static constexpr Kind kinds[] = {
      {"stored", 0x220109, 0x40000400, 2},    {"stored-w", 0x22010f, 0x400, 2}, {"bits", 0x22010d, 0x400, 2},
      {"computed-w", 0x220007, 0x400, 0},     {"bit-w", 0x220007, 0x400, 2},    {"constant", 0x220001, 0x40000410, 0},
      {"enumerator", 0x20001, 0x40200400, 0}, {"function", 0x20001, 0x400, 8},
  };
  auto const flags = attribute.flags();
  std::string const told(attribute.toolKind().view());
  for (Kind const& kind : kinds) {
    if (flags == Kro::KroAttr::AttrFlags{kind.low, kind.high} && attribute.introspectionFlags() == kind.introspection) {
      bool const ofEntity =
          told != "stored" && told != "computed" && told != "constant" && told != "enumerator" && told != "function";
      bool const isFixed = told == "parameter" || told == "key";
      return !ofEntity ? kind.name : kind.name == std::string(isFixed ? "stored" : "stored-w") ? told : "wrong flags";
    }
  }
  return "unknown flags";
}

std::string shortened(Kro::Name const& typeName) {
  std::string_view const name = typeName.view();
  return std::string(name.starts_with("Vorn::") ? name.substr(6) : name);
}

/// What the registry holds of a type, as the table tells it, in one line.
std::string described(Kro::KroType const& type) {
  std::ostringstream out;
  out << type.fullName() << (type.isValue() ? " value" : "") << (type.isEntity() ? " entity" : "");
  auto const& names = type.constructorArgNameQ();
  for (std::size_t i = 0; i < names.size(); ++i) {
    out << (i == 0 ? " (" : ", ") << names[i] << ' ' << shortened(type.constructorArgTypeQ().at(i));
  }
  out << (names.empty() ? "" : ")") << (type.valAttr() ? " of " + std::string(type.valAttr()->name().view()) : "")
      << ':';
  std::string run;
  int next = -1;
  for (auto const& attribute : type.attributeQ()) {
    std::string told = ' ' + shortened(attribute->attrType()->fullName()) + ' ' + kindOf(*attribute);
    for (auto const& argument : attribute->arguments()) {
      told += ' ' + std::string(argument.name.view()) + ' ' + shortened(argument.typeName);
    }
    told += attribute->toolKeyType() ? " by " + shortened(attribute->toolKeyType()->fullName()) : "";
    told += attribute->keyType() ? " with a key type" : "";
    if (attribute->id() != next || told != run) {
      out << run << (next < 0 ? " " : "; ") << attribute->id();
      run = told;
    }
    out << ' ' << attribute->name();
    next = attribute->id() + 1;
  }
  out << run;
  return out.str();
}

TEST(RegistryTest, holdsEveryTypeAsTheTableTellsIt) {
  std::istringstream words(modelTable);
  std::vector<std::string> table;
  for (std::string word; words >> word;) {
    if (word.starts_with("Vorn::")) {
      table.push_back(word);
    } else {
      table.back().append(" ").append(word);
    }
  }
  auto const& types = Kro::IntrospectionReactor::global()->types();
  ASSERT_EQ(types.size(), table.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    EXPECT_EQ(described(*types[i]), table[i]);
  }
  EXPECT_EQ(Kro::IntrospectionReactor::global()->openScopes(), 0U);
}

TEST(RegistryTest, everyAttributeIsFoundByItsNameAndReadableByItsId) {
  for (auto const& type : Kro::IntrospectionReactor::global()->types()) {
    SCOPED_TRACE(type->fullName().view());
    EXPECT_EQ(Kro::KroType::typeNode(type->fullName()), type);
    EXPECT_TRUE(type->isPlaced() && type->hasGenericIfSupport());
    EXPECT_EQ(type->baseType(), type->isEntity() ? Kro::entityBaseType() : nullptr);
    auto const object = type->genericIf(static_cast<void const*>(nullptr), false);
    EXPECT_EQ(object->type(), type);
    for (auto const& attribute : type->attributeQ()) {
      SCOPED_TRACE(attribute->name());
      EXPECT_EQ(type->attr(attribute->name()), attribute);
      EXPECT_EQ(object->attributeId(attribute->name().string()), attribute->id());
      EXPECT_EQ(object->attributeString(attribute->id()), attribute->name().string());
      if (type->isValue() && attribute->toolKind() != "function" && attribute->toolKind() != "enumerator") {
        EXPECT_EQ(object->attribute(attribute->name().string())->type(), attribute->attrType());
      }
    }
  }
  EXPECT_EQ(Kro::KroType::typeNode("Vorn::TcpFlag"), nullptr) << "its scope is the filter's";
  EXPECT_EQ(typeOf("Vorn::ChipRuleListId")->size(), 1U);
  EXPECT_EQ(typeOf("Vorn::RootConfigColl")->size(), sizeof(Vorn::RootConfigColl));
}

TEST(RegistryTest, classesHaveTheirNames) {
  auto const three = Vorn::AceIndex::GenericIf_::GenericIf_Is({1, 2, 3}, true);
  three->valIs({});
  EXPECT_EQ(three->value(), Vorn::AceIndex());
  EXPECT_EQ(Vorn::TableType_GenericIf_Is(Vorn::macAcl, false)->strRep(), "'macAcl'");
  EXPECT_NE(dynamic_cast<Vorn::AceIndex::_Type const*>(three->type().get()), nullptr);
  EXPECT_NE(dynamic_cast<Vorn::GenRangeType__Type const*>(Vorn::_fwkType_GenRangeType().get()), nullptr);
  EXPECT_NE(dynamic_cast<Vorn::RootConfig::_Type const*>(Vorn::RootConfig::_fwkType().get()), nullptr);
  auto const type = Kro::ptrCast<Vorn::RootConfigColl::_Type const>(Vorn::RootConfigColl::_fwkType());
  EXPECT_EQ(type->newEntity("made", nullptr)->fullName(), "made");
}

TEST(RegistryTest, theLibrarysFileNamesItsTypes) {
  Dl_info library{};
  ASSERT_NE(dladdr(reinterpret_cast<void const*>(&Vorn::rootConfigCollFactory), &library), 0);
  if (outputOf("readelf --version 2>&1").find("GNU") == std::string::npos) {
    GTEST_SKIP() << "no readelf";
  }
  std::istringstream dump(outputOf(std::string("readelf -p .kro.type '") + library.dli_fname + "'"));
  std::string names;
  for (std::string word; dump >> word;) {
    names += word.starts_with("Vorn::") ? word.substr(6) + ' ' : "";
  }
  EXPECT_EQ(
      names,
      "GenRange GenRangeType L4PortRange AclId TableType ChipRuleListId ChipId AclKeyToAclIdMapping VornAclColl "
      "VornAcl MacRuleConfig MacFilter IpRuleConfig IpFilter AceIndex IpFilter::TcpFlag RootConfigColl RootConfig "
      "RootAction ");
}

}  // namespace
