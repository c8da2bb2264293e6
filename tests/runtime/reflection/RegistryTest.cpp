// What the registry holds of every type, beside the table of the model's attributes.
#include <dlfcn.h>

#include <cstdlib>
#include <map>

#include "GenRange/GenRangeReflection.h"
#include "VornAclTypes/VornAclTypesReflection.h"
#include "VornRootConfig/VornRootConfigReflection.h"
#include "tests/runtime/reflection/Reflected.h"

namespace {

using namespace VornTest;

/// Every type in the order of registration, with its constructor parameters; under it id, name, type and kind of each
/// attribute, the key type of a collection, and the arguments of a function.
constexpr char const* modelTable = R"(
Vorn::L4PortRange value (rangeStart Dorix::Port, rangeEnd Dorix::Port)
2 rangeStart Dorix::Port stored
3 rangeEnd Dorix::Port stored
4 isAny bool function
5 partiallyOverlaps bool function pr Vorn::L4PortRange
6 contains bool function pr Vorn::L4PortRange
7 stringValue Kro::String8 function
8 hash U32 function
Vorn::GenRangeType value
0 unknownRange Vorn::GenRangeType enumerator
1 ipRange Vorn::GenRangeType enumerator
2 portRange Vorn::GenRangeType enumerator
Vorn::GenRange value (l4PortRange Vorn::L4PortRange, ipGenPrefix Dorix::IpGenPrefix, genRangeType Vorn::GenRangeType)
2 l4PortRange Vorn::L4PortRange stored
3 ipGenPrefix Dorix::IpGenPrefix stored
4 genRangeType Vorn::GenRangeType stored
5 isAny bool function
6 contains bool function gr Vorn::GenRange
7 partiallyOverlaps bool function gr Vorn::GenRange
8 stringValue Kro::String8 function
9 hash U32 function
10 lessThan bool function b Vorn::GenRange
Vorn::ChipId value (value U16) of value
2 value U16 stored
3 hash U32 function
Vorn::ChipRuleListId value (value U8) of value
2 value U8 stored-w
3 invalid U8 constant
4 hash U32 function
Vorn::TableType value
0 invalid Vorn::TableType enumerator
1 ipv4PAcl Vorn::TableType enumerator
2 ipv4RAcl Vorn::TableType enumerator
3 ipv6PAcl Vorn::TableType enumerator
4 ipv6RAcl Vorn::TableType enumerator
5 macAcl Vorn::TableType enumerator
Vorn::AclId value (tableType Vorn::TableType, chipRuleListId Vorn::ChipRuleListId, direction Acl::AclDirection)
2 tableType Vorn::TableType stored
3 chipRuleListId Vorn::ChipRuleListId stored
4 direction Acl::AclDirection stored
5 hash U32 function
Vorn::AceIndex value (ruleId U32, subRuleId U32, subIndex U32)
2 ruleInvalid U32 constant
3 ruleId U32 stored
4 subRuleId U32 stored
5 subIndex U32 stored
6 toStr Kro::String8 function
7 hash U32 function
Vorn::IpFilter value
2 source Dorix::IpGenPrefix stored-w
3 destination Dorix::IpGenPrefix stored-w
4 fragments bool stored-w
5 dscp U8 stored-w
6 matchDscp bool stored-w
7 proto Dorix::IpProto stored-w
8 matchProto bool stored-w
9 sportRange Vorn::L4PortRange stored-w
10 dportRange Vorn::L4PortRange stored-w
11 ttl U8 stored-w
12 includeTtl bool stored-w
13 tcpFlag Vorn::IpFilter::TcpFlag stored-w
14 fin bool computed-w
15 syn bool computed-w
16 rst bool computed-w
17 psh bool computed-w
18 ack bool computed-w
19 urg bool computed-w
20 established bool stored-w
21 icmpType U16 stored-w
22 icmpCode U16 stored-w
23 icmpAll U16 constant
24 icmpTypeLen U8 constant
25 icmpCodeLen U8 constant
26 icmpLen U8 constant
27 l4Rule bool stored-w
28 toStr Kro::String8 function
29 convertProtoEnumToValue U8 function x Dorix::IpProtocolNumber
30 hash U32 function
Vorn::IpFilter::TcpFlag value (value U32) of value
2 fin bool bit-w
3 syn bool bit-w
4 rst bool bit-w
5 psh bool bit-w
6 ack bool bit-w
7 urg bool bit-w
8 value U32 bits
9 fin_ Vorn::IpFilter::TcpFlag constant
10 syn_ Vorn::IpFilter::TcpFlag constant
11 rst_ Vorn::IpFilter::TcpFlag constant
12 psh_ Vorn::IpFilter::TcpFlag constant
13 ack_ Vorn::IpFilter::TcpFlag constant
14 urg_ Vorn::IpFilter::TcpFlag constant
15 kroUniversal Vorn::IpFilter::TcpFlag constant
16 kroEmpty Vorn::IpFilter::TcpFlag constant
0 hash U32 function
Vorn::IpRuleConfig value
2 filter Vorn::IpFilter stored-w
3 action Acl::Action stored-w
4 log bool stored-w
5 count bool stored-w
6 toStr Kro::String8 function
7 hash U32 function
Vorn::MacFilter value
2 sourceAddr Dorix::EthAddr stored-w
3 sourceMask Dorix::EthAddr stored-w
4 destinationAddr Dorix::EthAddr stored-w
5 destinationMask Dorix::EthAddr stored-w
6 proto U32 stored-w
7 protoAll U32 constant
8 toStr Kro::String8 function
9 hash U32 function
Vorn::MacRuleConfig value
2 filter Vorn::MacFilter stored-w
3 action Acl::Action stored-w
4 log bool stored-w
5 count bool stored-w
6 toStr Kro::String8 function
7 hash U32 function
Vorn::VornAcl entity (aclId Vorn::AclId, aclType Acl::AclType, cliName Kro::Name)
153 kroNboAttrLogSaForMsgChannel void* function
0 fwkKey Vorn::AclId key
154 kroHasAttrLogInterface bool function
258 aclId Vorn::AclId parameter
259 aclType Acl::AclType parameter
260 cliName Kro::Name parameter
261 ipRuleById Vorn::IpRuleConfig values by Vorn::AceIndex
262 macRuleById Vorn::MacRuleConfig values by Vorn::AceIndex
263 equal bool function acl Vorn::VornAcl
Vorn::VornAclColl entity (name Kro::Name)
153 kroNboAttrLogSaForMsgChannel void* function
154 kroHasAttrLogInterface bool function
258 acl Vorn::VornAcl members by Vorn::AclId
259 equal bool function vornAclColl Vorn::VornAclColl
Vorn::AclKeyToAclIdMapping entity (name Kro::Name)
153 kroNboAttrLogSaForMsgChannel void* function
154 kroHasAttrLogInterface bool function
258 keyToId Vorn::AclId values by Zil::AclKey
259 equal bool function keyToIdMapping Vorn::AclKeyToAclIdMapping
Vorn::RootAction value
0 vornCompute Vorn::RootAction enumerator
1 vornLoad Vorn::RootAction enumerator
2 vornAbort Vorn::RootAction enumerator
Vorn::RootConfig entity (name Kro::Name, rootConfigId U32, chipId Vorn::ChipId)
153 kroNboAttrLogSaForMsgChannel void* function
0 fwkKey U32 key
154 kroHasAttrLogInterface bool function
258 rootConfigId U32 parameter
259 chipId Vorn::ChipId parameter
260 active bool scalar
261 vornAclColl Vorn::VornAclColl child
262 aclKeyToAclId Vorn::AclKeyToAclIdMapping child
263 action Vorn::RootAction scalar
264 vornRootKickTime double scalar
265 vornRootKick U32 counter
266 equal bool function rootConfig Vorn::RootConfig
267 initialized bool scalar
268 initialize void* function
Vorn::RootConfigColl entity (name Kro::Name)
153 kroNboAttrLogSaForMsgChannel void* function
154 kroHasAttrLogInterface bool function
258 chipRootConfig Vorn::RootConfig members by U32
259 chipRootConfigLastFailed Vorn::RootConfig references by Vorn::ChipId
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

void writeAttribute(std::ostream& out, Kro::KroAttr const& attribute) {
  out << attribute.id() << ' ' << attribute.name() << ' ' << attribute.attrType()->fullName() << ' '
      << kindOf(attribute);
  for (auto const& argument : attribute.arguments()) {
    out << ' ' << argument.name << ' ' << argument.typeName;
  }
  if (attribute.toolKeyType()) {
    out << " by " << attribute.toolKeyType()->fullName();
  }
  out << (attribute.keyType() ? " with a key type\n" : "\n");
}

void writeType(std::ostream& out, Kro::KroType const& type) {
  out << type.fullName() << (type.isValue() ? " value" : "") << (type.isEntity() ? " entity" : "");
  auto const& names = type.constructorArgNameQ();
  for (std::size_t i = 0; i < names.size(); ++i) {
    out << (i == 0 ? " (" : ", ") << names[i] << ' ' << type.constructorArgTypeQ().at(i);
  }
  out << (names.empty() ? "" : ")");
  if (type.valAttr()) {
    out << " of " << type.valAttr()->name();
  }
  out << '\n';
  for (auto const& attribute : type.attributeQ()) {
    writeAttribute(out, *attribute);
  }
}

TEST(RegistryTest, holdsEveryTypeAsTheTableTellsIt) {
  std::ostringstream out;
  out << '\n';
  for (auto const& type : Kro::IntrospectionReactor::global()->types()) {
    writeType(out, *type);
  }
  EXPECT_EQ(out.str(), modelTable);
  EXPECT_EQ(Kro::IntrospectionReactor::global()->openScopes(), 0U);
}

TEST(RegistryTest, everyAttributeIsFoundByItsNameAndReadableByItsId) {
  for (auto const& type : Kro::IntrospectionReactor::global()->types()) {
    SCOPED_TRACE(type->fullName().view());
    EXPECT_EQ(Kro::KroType::typeNode(type->fullName()), type);
    EXPECT_TRUE(type->isPlaced() && type->hasGenericIfSupport());
    EXPECT_EQ(type->name().view(), Kro::shortTypeName(type->fullName().view()));
    EXPECT_EQ(type->baseType(), type->isEntity() ? Kro::entityBaseType() : nullptr);
    auto const object = type->genericIf(static_cast<void const*>(nullptr), false);
    EXPECT_EQ(object->type(), type);
    for (auto const& attribute : type->attributeQ()) {
      EXPECT_EQ(type->attr(attribute->name()), attribute) << attribute->name();
      EXPECT_EQ(object->attributeId(attribute->name().string()), attribute->id());
      EXPECT_EQ(object->attributeString(attribute->id()), attribute->name().string());
      if (type->isValue() && attribute->toolKind() != "function" && attribute->toolKind() != "enumerator") {
        auto const read = object->attribute(attribute->name().string());
        EXPECT_EQ(read->type(), attribute->attrType()) << attribute->name();
      }
    }
  }
}

TEST(RegistryTest, typesArePlacedInTheOrderOfLoading) {
  std::string names;
  for (auto const& type : Kro::KroType::typeNodes()) {
    bool const isOfModel = type->fullName().view().substr(0, 6) == "Vorn::";
    names += isOfModel ? std::string(type->name().view()) + ' ' : "";
  }
  EXPECT_EQ(names,
            "L4PortRange GenRangeType GenRange ChipId ChipRuleListId TableType AclId TcpFlag AceIndex IpFilter "
            "IpRuleConfig MacFilter MacRuleConfig VornAcl VornAclColl AclKeyToAclIdMapping RootAction RootConfig "
            "RootConfigColl ");
  EXPECT_EQ(Kro::KroType::typeNode("Vorn::TcpFlag"), nullptr);
}

TEST(RegistryTest, everyArgumentsTypeIsFoundByItsName) {
  for (auto const& type : Kro::IntrospectionReactor::global()->types()) {
    std::vector<Kro::Name> names = type->constructorArgTypeQ();
    for (auto const& attribute : type->attributeQ()) {
      for (auto const& argument : attribute->arguments()) {
        names.push_back(argument.typeName);
      }
    }
    for (auto const& name : names) {
      EXPECT_NE(Kro::KroType::typeNode(name), nullptr) << name << " of " << type->fullName();
    }
  }
}

TEST(RegistryTest, sizesAreThoseOfTheRecords) {
  std::map<std::string, std::size_t> const sizes{{"Vorn::ChipRuleListId", 1},
                                                 {"Vorn::TableType", 4},
                                                 {"Vorn::AceIndex", 12},
                                                 {"Vorn::IpFilter", sizeof(Vorn::IpFilter)},
                                                 {"Vorn::RootConfigColl", sizeof(Vorn::RootConfigColl)}};
  for (auto const& [name, size] : sizes) {
    EXPECT_EQ(typeOf(name)->size(), size) << name;
  }
}

TEST(RegistryTest, classesHaveTheirNames) {
  auto const three = Vorn::AceIndex::GenericIf_::GenericIf_Is({1, 2, 3}, true);
  EXPECT_TRUE(three->isConst());
  EXPECT_NE(dynamic_cast<Vorn::AceIndex::_Type const*>(three->type().get()), nullptr);
  EXPECT_NE(dynamic_cast<Vorn::GenRangeType__Type const*>(Vorn::_fwkType_GenRangeType().get()), nullptr);
  EXPECT_EQ(Vorn::TableType_GenericIf_Is(Vorn::macAcl, false)->strRep(), "'macAcl'");
  EXPECT_EQ(Vorn::RootAction_GenericIf_Is(Vorn::vornAbort, false)->value(), Vorn::vornAbort);
  EXPECT_NE(dynamic_cast<Vorn::RootConfig::_Type const*>(Vorn::RootConfig::_fwkType().get()), nullptr);
  EXPECT_TRUE(Vorn::RootConfig::GenericIf_::GenericIf_Is(nullptr, true)->isConst());
  three->valIs({});
  EXPECT_EQ(three->value(), Vorn::AceIndex());
}

/// Whether the compiler puts something behind every object, to find accesses beyond it.
#if defined(__has_feature)
constexpr bool isPadded = __has_feature(address_sanitizer);
#else
constexpr bool isPadded = false;
#endif

/// What a command prints.
std::string outputOf(std::string const& command) {
  std::string output;
  if (auto* const pipe = popen(command.c_str(), "r")) {
    for (int c = 0; (c = fgetc(pipe)) != EOF;) {
      output += static_cast<char>(c);
    }
    pclose(pipe);
  }
  return output;
}

TEST(RegistryTest, theLibrarysFileNamesItsTypes) {
  Dl_info library{};
  ASSERT_NE(dladdr(reinterpret_cast<void const*>(&Vorn::rootConfigCollFactory), &library), 0);
  if (outputOf("readelf --version 2>&1").find("GNU") == std::string::npos) {
    GTEST_SKIP() << "no readelf";
  }
  std::string const file = std::string(" '") + library.dli_fname + "'";
  std::istringstream dump(outputOf("readelf -p .kro.type" + file));
  std::string names;
  for (std::string line; std::getline(dump, line);) {
    std::size_t const at = line.find("Vorn::");
    names += at != std::string::npos ? line.substr(at) + '\n' : "";
  }
  EXPECT_EQ(names,
            "Vorn::GenRange\nVorn::GenRangeType\nVorn::L4PortRange\nVorn::AclId\nVorn::TableType\n"
            "Vorn::ChipRuleListId\nVorn::ChipId\nVorn::AclKeyToAclIdMapping\nVorn::VornAclColl\nVorn::VornAcl\n"
            "Vorn::MacRuleConfig\nVorn::MacFilter\nVorn::IpRuleConfig\nVorn::IpFilter\nVorn::AceIndex\n"
            "Vorn::IpFilter::TcpFlag\nVorn::RootConfigColl\nVorn::RootConfig\nVorn::RootAction\n");
  if (isPadded) {
    return;
  }
  std::string const header = outputOf("readelf -SW" + file + " | grep -F .kro.type");
  EXPECT_NE(header.find(" 000151 "), std::string::npos) << "not the names alone: " << header;
}

}  // namespace
