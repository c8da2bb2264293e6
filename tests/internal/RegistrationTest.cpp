// Registration in a process whose registry becomes ready late: before the library's initialisers run, it says that it
// is not ready, and what they left is looked at before the tests make it ready.
#include <sstream>

#include <gtest/gtest.h>

#include "GenRange/GenRangeRegistration.h"
#include "VornAcl.h"
#include "VornAclTable/VornAclReflection.h"
#include "VornAclTable/VornAclTableRegistration.h"
#include "VornAclTypes/VornAclTypesRegistration.h"
#include "VornRootConfig/VornRootConfigReflection.h"
#include "VornRootConfig/VornRootConfigRegistration.h"

namespace {

using Kro::IntrospectionReactor;
using Kro::KroType;

struct Source {
  void (*init)();
  Kro::RegistrationSource& (*kept)();
  std::string types;  ///< that it registers
};

std::vector<Source> sources() {
  return {{Vorn::kroInitGenRange, Vorn::kroSourceOfGenRange, "L4PortRange GenRangeType GenRange "},
          {Vorn::kroInitVornAclTypes, Vorn::kroSourceOfVornAclTypes, "ChipId ChipRuleListId TableType AclId "},
          {Vorn::kroInitVornAclTable, Vorn::kroSourceOfVornAclTable,
           "AceIndex IpFilter TcpFlag IpRuleConfig MacFilter MacRuleConfig VornAcl VornAclColl AclKeyToAclIdMapping "},
          {Vorn::kroInitVornRootConfig, Vorn::kroSourceOfVornRootConfig, "RootAction RootConfig RootConfigColl "}};
}

std::string registeredTypes() {
  std::string names;
  for (auto const& type : IntrospectionReactor::global()->types()) {
    names += std::string(type->name().view()) + ' ';
  }
  return names;
}

struct Unready {
  Unready() { IntrospectionReactor::global()->isReadyIs(false); }
};
[[gnu::init_priority(101)]] Unready const unready;  // ahead of the library's own initialisers

/// What was found after loading, and after each registration.
struct Found {
  std::ostringstream afterLoading;
  std::string typesBySource;
  std::uint64_t eventsOfTheSecondTime = 0;
};
Found found;

class LateRegistry : public testing::Environment {
  void SetUp() override {
    auto& out = found.afterLoading;
    for (Source const& source : sources()) {
      source.init();  // still not ready
      out << (source.kept().initialised ? "initialised" : "") << (source.kept().done ? " done; " : "; ");
    }
    std::size_t placed = 0, attributes = 0, handles = 0;
    for (auto const& type : KroType::typeNodes()) {
      placed += type->fullName().view().substr(0, 6) == "Vorn::" ? 1U : 0U;
      attributes += type->attributeQ().size();
    }
    for (auto const& handle : Kro::attributeHandles<Vorn::RootConfig>()) {
      handles += handle ? 1000U : 1U;
    }
    // A type whose registration has not run can still be used by number.
    auto const three = Vorn::AceIndex::_fwkType()->genericIf("Value('Vorn::AceIndex', ** {'ruleId': 3})", false);
    out << registeredTypes() << "placed " << placed << ", attributes " << attributes << ", empty handles " << handles
        << ", value " << three->attributeOp({3, 0}, nullptr, nullptr)->strRep();
    auto const reactor = IntrospectionReactor::global();
    reactor->isReadyIs(true);
    for (Source const& source : sources()) {
      auto const before = registeredTypes();
      source.init();
      found.typesBySource += registeredTypes().substr(before.size()) + "| ";
      auto const events = reactor->events();
      source.init();
      found.eventsOfTheSecondTime += reactor->events() - events;
    }
  }
};
auto* const environment = testing::AddGlobalTestEnvironment(new LateRegistry);

TEST(RegistrationTest, withoutAReadyRegistryTypesArePlacedAndNothingIsRegistered) {
  EXPECT_EQ(found.afterLoading.str(),
            "initialised; initialised; initialised; initialised; placed 19, attributes 0, empty handles 14, value 3");
}

TEST(RegistrationTest, aRegistryThatIsReadyLateGetsEveryTypeOnce) {
  std::string expected;
  for (Source const& source : sources()) {
    expected += source.types + "| ";
    EXPECT_TRUE(source.kept().done);
  }
  EXPECT_EQ(found.typesBySource, expected);
  EXPECT_EQ(found.eventsOfTheSecondTime, 0U);
  EXPECT_EQ(IntrospectionReactor::global()->openScopes(), 0U);
  EXPECT_EQ(Vorn::GenRange::_fwkType()->attr("lessThan")->id(), 10);
}

TEST(RegistrationTest, handlesStandInTheirOrder) {
  // Placed again in the registry that is ready now: each type's handles are appended behind the empty ones.
  auto& handles = Kro::attributeHandles<Vorn::VornAcl>();
  std::size_t const before = handles.size();
  Kro::placeEntityType<Vorn::VornAcl>();
  std::string names;
  for (std::size_t i = before; i < handles.size(); ++i) {
    names += handles[i] ? std::string(handles[i]->name().view()) + ' ' : "(none) ";
  }
  handles.resize(before);
  EXPECT_EQ(names,
            "kroNboAttrLogSaForMsgChannel kroHasAttrLogInterface aclId aclType cliName ipRuleById macRuleById equal "
            "fwkKey ");
}

struct Failing {
  struct Attributes {
    static constexpr std::string_view typeName = "Test::Failing";
    static constexpr auto all = Kro::list(Kro::constant(2, "one", std::uint32_t{1}));
  };
  static Kro::Ptr<KroType const> _fwkType() { throw Kro::RangeException("no type"); }
};

TEST(RegistrationTest, anExceptionLeavesTheSourceDone) {
  Kro::RegistrationSource source;
  EXPECT_THROW(Kro::registerSource<Failing>(source, "Test"), Kro::RangeException);
  EXPECT_TRUE(source.done);
  EXPECT_NO_THROW(Kro::registerSource<Failing>(source, "Test"));
}

}  // namespace
