// Operations on attributes by number: every operation id on every kind of attribute, arguments, list constructors, and
// what the errors say.
#include <array>

#include "VornRootConfig/VornRootConfig.h"
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
  struct Row {
    char const* what;
    Ptr<GenericIf> (*object)(bool isConst);
    int attribute;
    Ptr<GenericIf> index;
    Ptr<GenericIf> arg;
    std::string outcomes;  ///< of the operation ids above, each behind the first one that has it
  };
  for (Row const& row : std::initializer_list<Row>{
           {"stored", position, 3, none, value("U32 9"), "0:1 1:!"},
           {"stored, writable", filter, 5, none, value("U8 9"), "0:7 1:! 128:null 129:!"},
           {"stored, rejected by its mutator", filter, 5, none, value("U8 64"),
            "0:7 1:! 128:E:IpFilter::dscp < 0 or > 63 not allowed 129:!"},
           {"stored, of another type", filter, 5, none, value("Dorix::IpProto 5"), "0:7 1:! 128:T:dscp 129:!"},
           {"stored, given a list", filter, 5, none, list("U8 5"), "0:7 1:! 128:T:dscp 129:!"},
           {"stored, given nothing", filter, 5, none, none, "0:7 1:! 128:T:dscp 129:!"},
           {"function with its argument", filter, 29, none, list("Dorix::IpProtocolNumber 'ipProtoTcp'"), "0:6 1:!"},
           {"computed, writable", filter, 15, none, value("bool false"), "0:true 1:! 128:null 129:!"},
           {"bit", flags, 4, none, value("bool true"), "0:false 1:! 128:null 129:!"},
           {"value of bits", flags, 8, none, value("U32 1"), "0:3 1:!"},
           {"constant", position, 2, none, value("U32 9"), "0:4294967295 1:!"},
           {"function", position, 6, none, list(""), "0:'1.2.3' 1:!"},
           {"function that is given an argument", position, 7, none, list("U32 1"), "0:A:hash 1:!"},
           {"function with another object", position, 6, none, value("U32 1"), "0:T:Kro::GenericIf::List_ 1:!"},
           {"the whole value", position, 0, key, none, "0:? 100:false 128:?"},
           {"the whole value, no index", position, 0, none, none, "0:? 100:T:kroOpArg 128:?"},
           {"beyond the last attribute", position, 8, none, none, "0:?"},
           {"an index nobody takes", position, 3, key, value("U32 9"), "0:I:ruleId"},
           {"an index that an entity's attribute does not take", acl, 260, key, none, "0:I:cliName"},
           {"enumerator", kind, 1, none, none, "0:'ipRange' 1:!"},
           {"key of an entity", acl, 0, none, none, "0:ipv4PAcl:5:in 1:!"},
           {"base attribute", acl, 153, none, none, "0:!"},
           {"whether it is mirrored", acl, 154, none, list(""), "0:true 1:!"},
           {"below the first attribute", acl, 257, none, none, "0:?"},
           {"parameter", acl, 260, none, value("Kro::Name 'x'"), "0:'edge' 1:!"},
           {"values", acl, 261, key, rule,
            "0:" + ruleText + " 1:1 2:2 3:true 100:! 128:null 129:" + ruleText + " 99:!"},
           {"values without key", acl, 261, none, rule,
            "0:T:kro_index 1:1 2:2 3:T:kro_index 100:! 128:T:kro_index 99:!"},
           {"function of an entity", acl, 263, none, GenericIf::List_::of({acl(true)}), "0:true 1:!"},
           {"members", acls, 258, id, aclArguments,
            "0:'acls/acl[ipv4PAcl:5:in]' 1:1 2:2 3:true 100:! 128:I:acl 129:'VornAcl' 99:!"},
           {"members without key", acls, 258, none, aclArguments,
            "0:T:aclId 1:1 2:2 3:T:aclId 100:! 128:'acls/acl[ipv4PAcl:5:in]' 129:T:aclId 99:!"},
           {"references", configs, 259, value("Vorn::ChipId 2"), none,
            "0:'failed' 1:1 2:2 3:true 100:! 128:I:chipRootConfigLastFailed 129:'failed' 99:!"},
           {"references, one more", configs, 259, none, GenericIf::List_::of({failed}),
            "0:T:chipId 1:1 2:2 3:T:chipId 100:! 128:'new' 129:T:chipId 99:!"},
           {"references, of nobody", configs, 259, none,
            GenericIf::List_::of({typeOf("Vorn::RootConfig")->genericIf(static_cast<void const*>(nullptr), false)}),
            "0:T:chipId 1:1 2:2 3:T:chipId 100:! 128:T:chipId 99:!"},
           {"scalar", config, 260, none, value("bool true"), "0:false 1:! 128:null 129:!"},
           {"counter", config, 265, none, value("U32 4"), "0:0 1:! 128:null 129:!"},
           {"child", config, 261, none, list("Kro::Name 'other'"),
            "0:'root/vornAclColl' 1:! 128:'root/vornAclColl' 129:'VornAclColl' 99:!"},
           {"child that is given too much", config, 262, none, list("Kro::Name 'a'; Kro::Name 'b'"),
            "0:'root/aclKeyToAclId' 1:! 128:A:aclKeyToAclId 129:'AclKeyToAclId' 99:!"},
           {"function that changes the entity", config, 268, none, list(""), "0: 1:!"}}) {
    SCOPED_TRACE(row.what);
    std::string outcomes, last;
    for (int const opId : operationIds) {
      auto const outcome = [&](bool isConst) {
        auto const object = row.object(isConst);
        return outcomeOf([&] { return object->attributeOp(operation(row.attribute, opId), row.index, row.arg); });
      };
      auto const told = outcome(false);
      outcomes += opId == 0 || told != last ? ' ' + std::to_string(opId) + ':' + told : "";
      last = told;
      // A const object answers what does not modify in the same way, and refuses everything else before all.
      bool const modifies = opId >= 128 || (row.attribute == 268 && opId == 0);
      EXPECT_EQ(outcome(true), modifies ? "C" : told) << opId;
    }
    EXPECT_EQ(outcomes, ' ' + row.outcomes);
  }
}

TEST(AttributeOpsTest, anObjectOfNoEntityRefusesWhatNeedsOne) {
  auto const other = Kro::adopt(new Vorn::VornAclColl("of another type"));
  auto const object = typeOf("Vorn::VornAcl")->genericIf_(other.get(), false);
  for (int const id : {0, 154, 258, 261, 263}) {
    EXPECT_EQ(outcomeOf([&] { return object->attributeOp(operation(id, 0), none, none); }), "T:Vorn::VornAcl") << id;
  }
  EXPECT_EQ(outcomeOf([&] { return object->attributeIteratorConst(261).object(); }), "T:Vorn::VornAcl");
  EXPECT_EQ(object->strRep(), "null");
  EXPECT_EQ(Vorn::strepToValue<Ptr<Vorn::VornAcl>>("null"), nullptr);
}

TEST(AttributeOpsTest, writesChangeTheirAttributeAndNothingElse) {
  auto const object = filter(false);
  auto const held = [&] { return *static_cast<Vorn::IpFilter const*>(object->voidPtrIs(typeOf("Vorn::IpFilter"))); };
  Vorn::IpFilter expected = held();
  for (int again = 0; again < 2; ++again) {  // a value that was stored all the same would be accepted the second time
    EXPECT_THROW(object->attributeIs("dscp", value("U8 64")), Kro::RangeException);
    EXPECT_EQ(held(), expected);
  }
  auto const copy = object->clone();
  object->attributeIs("fin", value("bool true"));
  object->attributeIs("ttl", value("U8 9"));
  expected.finIs(true);
  expected.ttlIs(9);
  EXPECT_EQ(held(), expected);
  EXPECT_EQ(copy->attributeOp(operation(0, 100), object, none)->strRep(), "false");
}

TEST(AttributeOpsTest, constnessIsInherited) {
  for (bool const isConst : {false, true}) {
    Ptr<Vorn::AceIndex::GenericIf_ const> const three = Vorn::AceIndex::GenericIf_::GenericIf_Is({1, 2, 3}, isConst);
    Ptr<Vorn::VornAclColl::GenericIf_ const> const coll = Vorn::VornAclColl::GenericIf_::GenericIf_Is(nullptr, isConst);
    for (auto const& object :
         {position(isConst)->attribute("ruleId"), position(isConst)->call("hash", {}), position(isConst)->clone(),
          three->clone(), coll->clone(), config(isConst)->attribute("vornAclColl"),
          acls(isConst)->attributeIteratorConst(258).object()}) {
      EXPECT_EQ(object->isConst(), isConst) << object->strRep();
    }
    EXPECT_FALSE(kind(isConst)->attributeOp(operation(1, 0), none, none)->isConst());
    EXPECT_FALSE(typeOf("U8")->genericIf(list("U8 1").get(), isConst)->isConst());
  }
}

TEST(AttributeOpsTest, listConstructorsTakeTheirParametersInOrder) {
  for (auto const& row : std::initializer_list<std::array<char const*, 3>>{
           {"Vorn::AclId", "Vorn::TableType 'macAcl'; Vorn::ChipRuleListId 7; Acl::AclDirection 'out'", "macAcl:7:out"},
           {"Vorn::L4PortRange", "Dorix::Port 2; Dorix::Port 1",
            "E:L4PortRange::rangeStart > L4PortRange::rangeEnd not allowed"},
           {"Vorn::IpFilter::TcpFlag", "U32 64", "E:TcpFlag::value > 0x3f not allowed"},
           {"Vorn::RootConfig", "Kro::Name 'r'; U32 5; Vorn::ChipId 1", "'r'"},
           {"Vorn::VornAcl", "Vorn::AclId ipv4PAcl:5; Acl::AclType 'ip'; Kro::Name 'x'", "'VornAcl'"}}) {
    EXPECT_EQ(outcomeOf([&] { return typeOf(row[0])->genericIf(list(row[1]).get(), true); }), row[2]);
  }
  EXPECT_EQ(outcomeOf([] { return value("Vorn::TableType 'bogus'"); }), "E:TableType");
  EXPECT_THROW(Kro::KroType("No::Type").genericIf("1", false), Kro::ReflectionException);
  EXPECT_EQ(outcomeOf([] { return Vorn::AceIndex::GenericIf_::genericIfListConstructor(none); }), "T:List");
  EXPECT_EQ(outcomeOf([] { return Vorn::VornAclColl::GenericIf_::genericIfListConstructor(value("U8 1")); }),
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
    std::vector<Ptr<GenericIf>> all, given;
    for (auto const& argument : type->constructorArgTypeQ()) {
      all.push_back(typeOf(std::string(argument.view()))->genericIf(static_cast<void const*>(nullptr), false));
    }
    auto const made = [&](std::vector<Ptr<GenericIf>> const& arguments) {
      return outcomeOf([&] { return type->genericIf(GenericIf::List_::of(arguments).get(), false); });
    };
    if (type->isValue()) {
      EXPECT_EQ(made({}), outcomeOf([&] { return type->genericIf(static_cast<void const*>(nullptr), false); }));
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
      auto const wrong = "T:" + std::string(names[i].view());
      auto mistyped = all;
      mistyped[i] = value("double 1");
      EXPECT_EQ(made(mistyped), wrong);
      if (i > 0 || type->isEntity()) {
        EXPECT_EQ(made(given), wrong) << "too few";
      }
      given.push_back(all[i]);
    }
    all.push_back(value("bool true"));
    EXPECT_EQ(made(all), "A:" + std::string(type->name().view()));
  }
}

TEST(AttributeOpsTest, errorsSayWhatWasAskedAndWhatWouldHaveBeenRight) {
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
           {filter(false), 5, 128, none, value("U32 1"),
            "wrong type: dscp in operation 128 of attribute dscp (5) of Vorn::IpFilter: expected U8, got U32"},
           {filter(false), 5, 99, none, none,
            "operation not supported: operation 99 of attribute dscp (5) of Vorn::IpFilter: expected 0 or 128"},
           {acl(false), 261, 99, none, none,
            "operation not supported: operation 99 of attribute ipRuleById (261) of Vorn::VornAcl: expected 0 to 3, "
            "128 or 129"},
           {filter(false), 5, 0, range, none,
            "index given: dscp in operation 0 of attribute dscp (5) of Vorn::IpFilter: expected none"},
           {range, 6, 0, none, GenericIf::List_::of({range, range}),
            "surplus argument: contains in operation 0 of attribute contains (6) of Vorn::L4PortRange: expected (pr)"},
           {range, 9, 0, none, none,
            "no such attribute: operation 0 of attribute 9 of Vorn::L4PortRange: expected one of rangeStart, "
            "rangeEnd, isAny, partiallyOverlaps, contains, stringValue, hash"},
           {kind(false), 7, 0, none, none,
            "no such attribute: GenRangeType in operation 0 of attribute 7 of Vorn::GenRangeType: expected attribute "
            "1"},
           {filter(true), 5, 128, range, none, "attempting to modify a const instance"}}) {
    Kro::ReflectionPlace const outer(*typeOf("Vorn::ChipId"), {});
    auto const op = operation(row.attribute, row.opId);
    EXPECT_EQ(message([&] { row.object->attributeOp(op, row.index, row.arg); }), row.message);
    EXPECT_EQ(message([] { Kro::throwTypeException("x"); }), "wrong type: x in the list constructor of Vorn::ChipId")
        << "the outer place is back";
  }
  EXPECT_EQ(message([&] { typeOf("Vorn::ChipId")->genericIf(list("U16 1; U16 4").get(), false); }),
            "surplus argument: ChipId in the list constructor of Vorn::ChipId: expected (value)");
  EXPECT_EQ(message([&] { acl(false)->attributeIteratorConst(258); }),
            "iterator over attribute 258 aclId of Vorn::VornAcl: expected a collection");
  EXPECT_EQ(message([] { Kro::throwTypeException("x"); }), "wrong type: x") << "a place is left behind";
}

}  // namespace
