// Registration in a process whose registry becomes ready late: before the library's initialisers run, it says that it
// is not ready, and what they left is looked at before the tests make it ready.
#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "VornAcl.h"
#include "VornAclTable/VornAclTable.h"
#include "VornRootConfig/VornRootConfig.h"

namespace {

using Kro::IntrospectionReactor;
using Kro::KroType;

struct Source {
  void (*init)();
  Kro::RegistrationSource& kept;
};

template <void (*init)()>
Source source() {
  return {init, Kro::registrationSource<init>()};
}
std::vector<Source> sources() {
  return {source<Vorn::kroInitGenRange>(), source<Vorn::kroInitVornAclTypes>(), source<Vorn::kroInitVornAclTable>(),
          source<Vorn::kroInitVornRootConfig>()};
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

std::string afterLoading, typesBySource;
std::uint64_t eventsOfTheSecondTime = 0;

class LateRegistry : public testing::Environment {
  void SetUp() override {
    std::ostringstream out;
    for (Source const& source : sources()) {
      source.init();  // still not ready
      out << (source.kept.initialised ? "initialised" : "") << (source.kept.done ? " done; " : "; ");
    }
    std::size_t placed = 0;
    for (auto const& type : KroType::typeNodes()) {
      placed += type->fullName().view().substr(0, 6) == "Vorn::" ? 1U : 0U;
    }
    // A type whose registration has not run can still be used by number.
    auto const three = Vorn::AceIndex::_fwkType()->genericIf("Value('Vorn::AceIndex', ** {'ruleId': 3})", false);
    out << registeredTypes() << "placed " << placed << ", empty handles "
        << std::ranges::count(Kro::attributeHandles<Vorn::RootConfig>(), nullptr) << ", value "
        << three->attributeOp({3, 0}, nullptr, nullptr)->strRep();
    afterLoading = out.str();
    auto const reactor = IntrospectionReactor::global();
    reactor->isReadyIs(true);
    for (Source const& source : sources()) {
      auto const before = registeredTypes();
      source.init();
      typesBySource += registeredTypes().substr(before.size()) + "| ";
      auto const events = reactor->events();
      source.init();
      eventsOfTheSecondTime += reactor->events() - events;
    }
  }
};
auto* const environment = testing::AddGlobalTestEnvironment(new LateRegistry);

TEST(RegistrationTest, aRegistryThatIsReadyLateGetsEveryTypeOnce) {
  EXPECT_EQ(afterLoading, "initialised; initialised; initialised; initialised; placed 19, empty handles 14, value 3");
  EXPECT_EQ(typesBySource,
            "L4PortRange GenRangeType GenRange | ChipId ChipRuleListId TableType AclId | AceIndex IpFilter TcpFlag "
            "IpRuleConfig MacFilter MacRuleConfig VornAcl VornAclColl AclKeyToAclIdMapping | RootAction RootConfig "
            "RootConfigColl | ");
  EXPECT_EQ(eventsOfTheSecondTime, 0U);
  EXPECT_EQ(IntrospectionReactor::global()->openScopes(), 0U);
}

TEST(RegistrationTest, handlesStandInTheirOrder) {
  // Placed again in the registry that is ready now: the type's handles are appended behind the empty ones.
  Kro::placeEntityType<Vorn::VornAcl>();
  std::string const once = registeredTypes();
  auto const type = Vorn::VornAcl::_fwkType();
  Kro::KroType::typeNodeIs(type.get(), Kro::Name("Vorn::VornAcl"));
  EXPECT_EQ(registeredTypes(), once) << "placed twice, listed once";
  std::string names;
  for (auto const& handle : Kro::attributeHandles<Vorn::VornAcl>()) {
    names += handle ? std::string(handle->name().view()) + ' ' : "";
  }
  EXPECT_EQ(names,
            "kroNboAttrLogSaForMsgChannel kroHasAttrLogInterface aclId aclType cliName ipRuleById macRuleById equal "
            "fwkKey ");
}

struct Failing {
  struct Attributes {
    static constexpr std::string_view typeName = "Test::Failing";
    static constexpr auto all = std::tuple{Kro::constant(2, "one", std::uint32_t{1})};
  };
  static Kro::Ptr<KroType const> _fwkType() { throw Kro::RangeException("no type"); }
};

void initFailing() {}

TEST(RegistrationTest, anExceptionLeavesTheSourceDone) {
  using Types = Kro::TypesOf<&initFailing, Failing>;
  EXPECT_THROW(Kro::registerSource(Types(), "Test"), Kro::RangeException);
  EXPECT_TRUE(Kro::registrationSource<&initFailing>().done);
  EXPECT_NO_THROW(Kro::registerSource(Types(), "Test"));
}

}  // namespace
