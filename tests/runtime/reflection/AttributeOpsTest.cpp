// Operations on attributes by number: every operation id on every kind of attribute, arguments, list constructors, and
// what the errors say.
#include "VornRootConfig/VornRootConfigReflection.h"
#include "tests/runtime/reflection/Reflected.h"

namespace {

using namespace VornTest;

constexpr int operationIds[] = {0, 1, 2, 3, 100, 128, 129, 99, -1};

/// The object of a value.
template <class T>
Ptr<GenericIf> objectOf(T const& value, bool isConst) {
  return T::_fwkType()->genericIf(&value, isConst);
}
Ptr<GenericIf> filter(bool isConst) {
  Vorn::IpFilter value;
  value.dscpIs(7);
  value.synIs(true);
  return objectOf(value, isConst);
}
Ptr<GenericIf> position(bool isConst) { return objectOf(Vorn::AceIndex(1, 2, 3), isConst); }
Ptr<GenericIf> flags(bool isConst) { return objectOf(Vorn::IpFilter::TcpFlag(3), isConst); }
Ptr<GenericIf> kind(bool isConst) { return value("Vorn::GenRangeType 'ipRange'", isConst); }
Ptr<GenericIf> acl(bool isConst) {
  auto entity = Kro::adopt(new Vorn::VornAcl({Vorn::ipv4PAcl, 5, Acl::in}, Acl::ip, "edge"));
  entity->ipRuleByIdIs({1, 0, 0}, {});
  return Kro::reflectionOf(entity, isConst);
}
Ptr<GenericIf> acls(bool isConst) {
  auto entity = Kro::adopt(new Vorn::VornAclColl("acls"));
  entity->aclIs({Vorn::ipv4PAcl, 5, Acl::in}, Acl::ip, "edge");
  return Kro::reflectionOf(entity, isConst);
}
Ptr<GenericIf> config(bool isConst) {
  auto entity = Vorn::rootConfigFactory("root", 5, 1);
  entity->initialize();
  return Kro::reflectionOf(entity, isConst);
}
Ptr<GenericIf> configs(bool isConst) {
  auto entity = Vorn::rootConfigCollFactory("all");
  entity->chipRootConfigLastFailedIs(Vorn::rootConfigFactory("failed", 6, 2));
  entity->chipRootConfigLastFailedIs(Vorn::rootConfigFactory("failed", 7, 2));
  return Kro::reflectionOf(entity, isConst);
}

Ptr<GenericIf> const none;

TEST(AttributeOpsTest, everyOperationOnEveryKindOfAttribute) {
  auto const key = objectOf(Vorn::AceIndex(1, 0, 0), false);
  auto const id = objectOf(Vorn::AclId(Vorn::ipv4PAcl, 5, Acl::in), false);
  auto const rule = objectOf(Vorn::IpRuleConfig(), false);
  std::string const ruleText(rule->strRep().view());
  auto const aclArguments = GenericIf::List_::of({id, value("Acl::AclType 'ip'"), value("Kro::Name 'edge'")});
  auto const failed = Kro::reflectionOf(Vorn::rootConfigFactory("new", 8, 3));
  auto const everywhere = [](std::string const& outcome) {
    std::string all = outcome;
    for (std::size_t i = 1; i < std::size(operationIds); ++i) {
      all += '|' + outcome;
    }
    return all;
  };
  struct Row {
    char const* what;
    Ptr<GenericIf> (*object)(bool isConst);
    int attribute;
    Ptr<GenericIf> index;
    Ptr<GenericIf> arg;
    std::string outcomes;  ///< for each operation id above, separated by "|"
  };
  std::string const unknown = everywhere("?");
  for (Row const& row : std::initializer_list<Row>{
           {"stored", position, 3, none, value("U32 9"), "1|!|!|!|!|!|!|!|!"},
           {"stored, writable", filter, 5, none, value("U8 9"), "7|!|!|!|!|null|!|!|!"},
           {"stored, rejected by its mutator", filter, 5, none, value("U8 64"),
            "7|!|!|!|!|E:IpFilter::dscp < 0 or > 63 not allowed|!|!|!"},
           {"computed, writable", filter, 15, none, value("bool false"), "true|!|!|!|!|null|!|!|!"},
           {"bit", flags, 4, none, value("bool true"), "false|!|!|!|!|null|!|!|!"},
           {"value of bits", flags, 8, none, value("U32 1"), "3|!|!|!|!|!|!|!|!"},
           {"constant", position, 2, none, value("U32 9"), "4294967295|!|!|!|!|!|!|!|!"},
           {"function", position, 6, none, list(""), "'1.2.3'|!|!|!|!|!|!|!|!"},
           {"function that is given an argument", position, 7, none, list("U32 1"), "A:hash|!|!|!|!|!|!|!|!"},
           {"function without a list", position, 6, none, none, "T:List|!|!|!|!|!|!|!|!"},
           {"function with another object", position, 6, none, value("U32 1"),
            "T:Kro::GenericIf::List_|!|!|!|!|!|!|!|!"},
           {"the whole value", position, 0, key, none, "?|?|?|?|false|?|?|?|?"},
           {"the whole value, no index", position, 0, none, none, "?|?|?|?|T:kroOpArg|?|?|?|?"},
           {"the runtime's attribute", position, 1, none, none, unknown},
           {"beyond the last attribute", position, 8, none, none, unknown},
           {"a function without id", flags, 17, none, list(""), unknown},
           {"an index nobody takes", position, 3, key, value("U32 9"), everywhere("I:ruleId")},
           {"an index that an entity's attribute does not take", acl, 260, key, none, everywhere("I:cliName")},
           {"an index that a key does not take", acl, 0, key, none, everywhere("I:fwkKey")},
           {"enumerator", kind, 1, none, none, "'ipRange'|!|!|!|!|!|!|!|!"},
           {"an enumerator's number", kind, 0, none, none, unknown},
           {"key of an entity", acl, 0, none, none, "ipv4PAcl:5:in|!|!|!|!|!|!|!|!"},
           {"no key", acls, 0, none, none, unknown},
           {"base attribute", acl, 153, none, none, "!|!|!|!|!|!|!|!|!"},
           {"whether it is mirrored", acl, 154, none, list(""), "true|!|!|!|!|!|!|!|!"},
           {"whether it is mirrored, no list", acls, 154, none, none, "T:List|!|!|!|!|!|!|!|!"},
           {"below the first attribute", acl, 257, none, none, unknown},
           {"parameter", acl, 260, none, value("Kro::Name 'x'"), "'edge'|!|!|!|!|!|!|!|!"},
           {"values", acl, 261, key, rule, ruleText + "|1|2|true|!|null|" + ruleText + "|!|!"},
           {"values without key", acl, 261, none, rule, "T:kro_index|1|2|T:kro_index|!|T:kro_index|T:kro_index|!|!"},
           {"values without value", acl, 261, key, none, ruleText + "|1|2|true|!|T:ipRuleById|" + ruleText + "|!|!"},
           {"function of an entity", acl, 263, none, GenericIf::List_::of({acl(true)}), "true|!|!|!|!|!|!|!|!"},
           {"function of an entity, no argument", acl, 263, none, list(""), "T:acl|!|!|!|!|!|!|!|!"},
           {"beyond an entity's last", acl, 264, none, none, unknown},
           {"members", acls, 258, id, aclArguments, "'acls/acl[ipv4PAcl:5:in]'|1|2|true|!|I:acl|'VornAcl'|!|!"},
           {"members without key", acls, 258, none, aclArguments,
            "T:aclId|1|2|T:aclId|!|'acls/acl[ipv4PAcl:5:in]'|T:aclId|!|!"},
           {"members, one parameter missing", acls, 258, none, GenericIf::List_::of({id}),
            "T:aclId|1|2|T:aclId|!|T:aclType|T:aclId|!|!"},
           {"references", configs, 259, value("Vorn::ChipId 2"), none,
            "'failed'|1|2|true|!|I:chipRootConfigLastFailed|'failed'|!|!"},
           {"references, absent", configs, 259, value("Vorn::ChipId 9"), none,
            "null|1|2|false|!|I:chipRootConfigLastFailed|null|!|!"},
           {"references, one more", configs, 259, none, GenericIf::List_::of({failed}),
            "T:chipId|1|2|T:chipId|!|'new'|T:chipId|!|!"},
           {"references, of nobody", configs, 259, none,
            GenericIf::List_::of({typeOf("Vorn::RootConfig")->genericIf(static_cast<void const*>(nullptr), false)}),
            "T:chipId|1|2|T:chipId|!|T:chipId|T:chipId|!|!"},
           {"scalar", config, 260, none, value("bool true"), "false|!|!|!|!|null|!|!|!"},
           {"counter", config, 265, none, value("U32 4"), "0|!|!|!|!|null|!|!|!"},
           {"child", config, 261, none, list("Kro::Name 'other'"),
            "'root/vornAclColl'|!|!|!|!|'root/vornAclColl'|'VornAclColl'|!|!"},
           {"child that is given too much", config, 262, none, list("Kro::Name 'a'; Kro::Name 'b'"),
            "'root/aclKeyToAclId'|!|!|!|!|A:aclKeyToAclId|'AclKeyToAclId'|!|!"},
           {"function that changes the entity", config, 268, none, list(""), "|!|!|!|!|!|!|!|!"}}) {
    SCOPED_TRACE(row.what);
    std::vector<std::string> expected;
    std::istringstream cells(row.outcomes + "|");
    for (std::string cell; std::getline(cells, cell, '|');) {
      expected.push_back(cell);
    }
    ASSERT_EQ(expected.size(), std::size(operationIds));
    for (std::size_t i = 0; i < expected.size(); ++i) {
      auto const outcome = [&](bool isConst) {
        auto const object = row.object(isConst);
        return outcomeOf(
            [&] { return object->attributeOp(operation(row.attribute, operationIds[i]), row.index, row.arg); });
      };
      // A const object answers what does not modify in the same way, and refuses everything else before all.
      bool const modifies = operationIds[i] >= 128 || (row.attribute == 268 && i == 0);
      EXPECT_EQ(outcome(false), expected[i]) << operationIds[i];
      EXPECT_EQ(outcome(true), modifies ? "C" : expected[i]) << operationIds[i];
    }
  }
}

TEST(AttributeOpsTest, anObjectOfNoEntityRefusesWhatNeedsOne) {
  auto const object = typeOf("Vorn::VornAcl")->genericIf(static_cast<void const*>(nullptr), false);
  for (int const id : {0, 154, 258, 261, 263}) {
    EXPECT_EQ(outcomeOf([&] { return object->attributeOp(operation(id, 0), none, none); }), "T:Vorn::VornAcl") << id;
  }
  EXPECT_EQ(outcomeOf([&] { return object->attributeIteratorConst(261).object(); }), "T:Vorn::VornAcl");
  EXPECT_EQ(object->strRep(), "null");
  auto const other = Kro::adopt(new Vorn::VornAclColl("acls"));
  EXPECT_EQ(typeOf("Vorn::VornAcl")->genericIf_(other.get(), false)->strRep(), "null") << "an entity of another type";
}

TEST(AttributeOpsTest, writesChangeTheirAttributeAndNothingElse) {
  auto const object = filter(false);
  auto const held = [&] { return *static_cast<Vorn::IpFilter const*>(object->voidPtrIs(typeOf("Vorn::IpFilter"))); };
  Vorn::IpFilter expected = held();
  for (int again = 0; again < 2; ++again) {  // a value that was stored all the same would be accepted the second time
    EXPECT_THROW(object->attributeIs("dscp", value("U8 64")), Kro::RangeException);
    EXPECT_EQ(held(), expected);
  }
  object->attributeIs("fin", value("bool true"));
  object->attributeIs("sportRange", objectOf(Vorn::L4PortRange(1, 2), false));
  expected.finIs(true);
  expected.sportRangeIs({1, 2});
  EXPECT_EQ(held(), expected);
  auto const copy = object->clone();
  object->attributeIs("ttl", value("U8 9"));
  EXPECT_EQ(copy->attributeOp(operation(0, 100), object, none)->strRep(), "false");
  EXPECT_EQ(copy->attributeOp(operation(0, 100), copy, none)->strRep(), "true");
}

TEST(AttributeOpsTest, argumentsHaveExactlyTheirType) {
  auto const object = filter(false);
  for (auto const& argument : {value("U16 5"), value("U32 5"), value("bool true"), value("Kro::Name '5'"),
                               value("Dorix::IpProto 5"), value("Vorn::ChipRuleListId 5"), list("U8 5"), none}) {
    EXPECT_EQ(outcomeOf([&] { return object->attributeOp(operation(5, 128), none, argument); }), "T:dscp");
  }
  auto const range = objectOf(Vorn::L4PortRange(0, 65535), false);
  EXPECT_EQ(range->call("contains", {objectOf(Vorn::L4PortRange(), false)})->strRep(), "true");
  EXPECT_EQ(outcomeOf([&] { return range->call("contains", {value("Dorix::Port 1")}); }), "T:pr");
  EXPECT_EQ(object->call("convertProtoEnumToValue", {value("Dorix::IpProtocolNumber 'ipProtoTcp'")})->strRep(), "6");
}

TEST(AttributeOpsTest, constnessIsInherited) {
  auto const tells = [](Ptr<GenericIf> const& object, bool isConst) { EXPECT_EQ(object->isConst(), isConst); };
  for (bool const isConst : {false, true}) {
    tells(position(isConst)->attribute("ruleId"), isConst);
    tells(position(isConst)->call("hash", {}), isConst);
    tells(position(isConst)->clone(), isConst);
    tells(kind(isConst)->attributeOp(operation(1, 0), none, none), false);
    tells(config(isConst)->attribute("vornAclColl"), isConst);
    tells(acls(isConst)->attributeIteratorConst(258).object(), isConst);
    tells(typeOf("U8")->genericIf(list("U8 1").get(), isConst), false);
    tells(value("Vorn::ChipId 1", isConst), isConst);
  }
}

TEST(AttributeOpsTest, listConstructorsTakeTheirParametersInOrder) {
  struct Row {
    char const* type;
    char const* arguments;
    char const* outcome;
  };
  for (Row const& row : std::initializer_list<Row>{
           {"Vorn::AceIndex", "U32 1; U32 2; U32 3",
            "Value('Vorn::AceIndex', ** {'ruleId': 1, 'subRuleId': 2, 'subIndex': 3})"},
           {"Vorn::L4PortRange", "Dorix::Port 1; Dorix::Port 2",
            "Value('Vorn::L4PortRange', ** {'rangeStart': 1, 'rangeEnd': 2})"},
           {"Vorn::L4PortRange", "Dorix::Port 2; Dorix::Port 1",
            "E:L4PortRange::rangeStart > L4PortRange::rangeEnd not allowed"},
           {"Vorn::ChipId", "U16 70", "70"},
           {"Vorn::AclId", "Vorn::TableType 'macAcl'; Vorn::ChipRuleListId 7; Acl::AclDirection 'out'", "macAcl:7:out"},
           {"Vorn::IpFilter::TcpFlag", "U32 64", "E:TcpFlag::value > 0x3f not allowed"},
           {"Vorn::RootConfig", "Kro::Name 'r'; U32 5; Vorn::ChipId 1", "'r'"},
           {"Vorn::VornAcl", "Vorn::AclId ipv4PAcl:5; Acl::AclType 'ip'; Kro::Name 'x'", "'VornAcl'"}}) {
    EXPECT_EQ(outcomeOf([&] { return typeOf(row.type)->genericIf(list(row.arguments).get(), true); }), row.outcome)
        << row.type << " from " << row.arguments;
  }
  EXPECT_EQ(outcomeOf([] { return value("Vorn::TableType 'bogus'"); }), "E:TableType");
  EXPECT_EQ(outcomeOf([] { return value("Vorn::ChipId 1x"); }), "E:junk at column 1 deserializing 1x");
  EXPECT_THROW(Kro::KroType("No::Type").genericIf("1", false), Kro::ReflectionException);
  EXPECT_EQ(outcomeOf([] { return Vorn::AceIndex::GenericIf_::genericIfListConstructor(none); }), "T:List");
  EXPECT_EQ(outcomeOf([] { return Vorn::VornAclColl::GenericIf_::genericIfListConstructor(list("")); }), "T:name");
  EXPECT_EQ(outcomeOf([] { return typeOf("Vorn::ChipId")->genericIf(value("U16 1").get(), false); }),
            "T:Kro::GenericIf::List_");
}

/// The list constructor of every type, from what the registry tells of its parameters.
TEST(AttributeOpsTest, everyListConstructorNamesWhatIsWrong) {
  for (auto const& type : Kro::KroType::typeNodes()) {
    if (!type->attr("hash") && !type->isEntity()) {
      continue;  // an enumeration, or none of the model's
    }
    SCOPED_TRACE(type->fullName().view());
    auto const& names = type->constructorArgNameQ();
    std::vector<Ptr<GenericIf>> all;
    for (auto const& argument : type->constructorArgTypeQ()) {
      all.push_back(typeOf(std::string(argument.view()))->genericIf(static_cast<void const*>(nullptr), false));
    }
    auto const made = [&](std::vector<Ptr<GenericIf>> const& arguments) {
      return outcomeOf([&] { return type->genericIf(GenericIf::List_::of(arguments).get(), false); });
    };
    auto const wrongType = [](Kro::Name const& name) { return "T:" + std::string(name.view()); };
    if (type->isValue()) {
      EXPECT_EQ(made({}), outcomeOf([&] { return type->genericIf(static_cast<void const*>(nullptr), false); }));
      EXPECT_EQ(made(all).find(':', 1), made({}).find(':', 1)) << made(all);
    }
    for (std::size_t i = type->isEntity() ? 0 : 1; i < all.size(); ++i) {
      EXPECT_EQ(made({all.begin(), all.begin() + static_cast<std::ptrdiff_t>(i)}), wrongType(names[i]))
          << i << " given";
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
      auto mistyped = all;
      mistyped[i] = value("double 1");
      EXPECT_EQ(made(mistyped), wrongType(names[i]));
      mistyped[i] = nullptr;
      EXPECT_EQ(made(mistyped), wrongType(names[i]));
    }
    all.push_back(value("bool true"));
    EXPECT_EQ(made(all), "A:" + std::string(type->name().view()));
  }
}

TEST(AttributeOpsTest, errorsSayWhatWasAskedAndWhatWouldHaveBeenRight) {
  auto const object = filter(false);
  auto const rules = acl(false);
  auto const range = objectOf(Vorn::L4PortRange(), false);
  auto const message = [](auto action) -> std::string {
    try {
      action();
    } catch (Kro::Exception const& error) {
      return std::string(error.message().view());
    }
    return "no error";
  };
  struct Row {
    Ptr<GenericIf> object;
    int attribute, opId;
    Ptr<GenericIf> index, arg;
    char const* message;
  };
  for (Row const& row : std::initializer_list<Row>{
           {object, 5, 128, none, value("U32 1"),
            "wrong type: dscp in operation 128 of attribute dscp (5) of Vorn::IpFilter: expected U8, got U32"},
           {object, 5, 99, none, none,
            "operation not supported: operation 99 of attribute dscp (5) of Vorn::IpFilter: expected 0 or 128"},
           {rules, 261, 99, none, none,
            "operation not supported: operation 99 of attribute ipRuleById (261) of Vorn::VornAcl: expected 0 to 3, "
            "128 or 129"},
           {object, 5, 0, range, none,
            "index given: dscp in operation 0 of attribute dscp (5) of Vorn::IpFilter: expected none"},
           {range, 6, 0, none, GenericIf::List_::of({range, range}),
            "surplus argument: contains in operation 0 of attribute contains (6) of Vorn::L4PortRange: expected (pr)"},
           {range, 0, 100, value("U8 1"), none,
            "wrong type: kroOpArg in operation 100 of attribute the whole value (0) of Vorn::L4PortRange: expected "
            "Vorn::L4PortRange, got U8"},
           {range, 9, 0, none, none,
            "no such attribute: operation 0 of attribute 9 of Vorn::L4PortRange: expected one of rangeStart, "
            "rangeEnd, isAny, partiallyOverlaps, contains, stringValue, hash"},
           {kind(false), 7, 0, none, none,
            "no such attribute: GenRangeType in operation 0 of attribute 7 of Vorn::GenRangeType: expected attribute "
            "1"},
           {filter(true), 5, 128, range, none, "attempting to modify a const instance"}}) {
    auto const op = operation(row.attribute, row.opId);
    EXPECT_EQ(message([&] { row.object->attributeOp(op, row.index, row.arg); }), row.message);
  }
  EXPECT_EQ(message([&] { range->attributeId("rangeStrat"); }),
            "no such attribute: rangeStrat of Vorn::L4PortRange: expected one of rangeStart, rangeEnd, isAny, "
            "partiallyOverlaps, contains, stringValue, hash");
  EXPECT_EQ(message([&] { typeOf("Vorn::AceIndex")->genericIf(list("U32 1; U32 2; U32 3; U32 4").get(), false); }),
            "surplus argument: AceIndex in the list constructor of Vorn::AceIndex: expected (ruleId, subRuleId, "
            "subIndex)");
  EXPECT_EQ(message([&] { rules->attributeIteratorConst(258); }),
            "iterator over attribute 258 aclId of Vorn::VornAcl: expected a collection");
  EXPECT_EQ(message([] { Kro::throwTypeException("x"); }), "wrong type: x") << "a place is left behind";
}

}  // namespace
