// Every text reader: what it reads and prints, it reads again and prints as it was. The input is a text for all of
// them.
#include "VornAcl.h"
#include "fuzz/Require.h"

namespace {

using Kro::String8;

/// The text of what a text is read as. The reader of an `AclId` takes two of the three parts that are printed.
String8 printed(Kro::KroType const& type, String8 const& text) {
  String8 const result = type.genericIf(text, false)->strRep();
  bool const isAclId = type.fullName() == "Vorn::AclId";
  return isAclId ? String8(result.view().substr(0, result.view().rfind(':'))) : result;
}

Kro::Ptr<Vorn::RootConfigColl> tree() {
  auto all = Vorn::rootConfigCollFactory("all");
  auto const chip = all->chipRootConfigIs(5, 1);
  chip->initialize();
  chip->vornAclColl()->aclIs({Vorn::ipv4PAcl, 5, Acl::in}, Acl::ip, "edge");
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static auto const types =
      (Kro::fwkTypeOf<std::uint64_t>(), Kro::fwkTypeOf<std::int32_t>(), Kro::KroType::typeNodes());
  static Kro::EntityTextScope const scope(tree());
  String8 const text(std::string_view(reinterpret_cast<char const*>(data), size));
  for (auto const& type : types) {
    String8 once;
    try {
      once = printed(*type, text);
    } catch (Kro::Exception const&) {
      continue;  // refused
    }
    require(printed(*type, once) == once, type->fullName().charPtr());
  }
  return 0;
}
