// Prints any tree, given by the full name of its root's type and a path within it, and sets one attribute by name: with
// nothing but reflection. Usage: inspect [TYPE PATH [ATTRIBUTE VALUE]]
#include <iostream>
#include <string>

#include "VornAcl.h"
#include "runtime/reflection/Path.h"

using Kro::GenericIf;
using Kro::Ptr;
using Kro::String8;
using Op = GenericIf::AttributeOp;

namespace {

/// A small tree whose root has the type of that name.
Ptr<Kro::Entity> sample(String8 const& typeName) {
  auto coll = Vorn::rootConfigCollFactory("all");
  auto chip = coll->chipRootConfigIs(5, 1);
  chip->initialize();
  auto acl = chip->vornAclColl()->aclIs({Vorn::ipv4PAcl, 5, Acl::in}, Acl::ip, "edge");
  acl->ipRuleByIdIs({10, 0, 0}, {});
  chip->aclKeyToAclId()->keyToIdIs({Acl::ip, "edge"}, acl->aclId());
  for (Ptr<Kro::Entity> root : {Ptr<Kro::Entity>(coll), Ptr<Kro::Entity>(chip), Ptr<Kro::Entity>(acl)}) {
    if (root->fwkType()->fullName() == typeName) {
      return root;
    }
  }
  throw Kro::RangeException("no sample of type " + typeName);
}

void print(Ptr<GenericIf> const& object, std::string const& indent) {
  for (auto const& attribute : object->type()->attributeQ()) {
    std::string const kind(attribute->toolKind().view());
    auto const id = attribute->id();
    if (kind == "function" || kind == "key" || kind == "constant") {
      continue;
    }
    if (kind == "values" || kind == "members" || kind == "references") {
      for (auto at = object->attributeIteratorConst(id); at; ++at) {
        std::cout << indent << attribute->name() << '[' << at.key()->strRep() << "] = " << at.object()->strRep()
                  << '\n';
        if (kind == "members") {
          print(at.object(), indent + "  ");
        }
      }
      continue;
    }
    auto const value = object->attributeOp({static_cast<std::uint32_t>(id), Op::read}, nullptr, nullptr);
    std::cout << indent << attribute->name() << " = " << value->strRep() << '\n';
    if (kind == "child" && value->strRep() != String8("null")) {
      print(value, indent + "  ");
    }
  }
}

}  // namespace

int main(int argc, char** argv) try {
  String8 const typeName = argc > 2 ? argv[1] : "Vorn::RootConfigColl";
  String8 const path = argc > 2 ? argv[2] : "all/chipRootConfig[5]";
  String8 const attribute = argc > 4 ? argv[3] : "action";
  String8 const text = argc > 4 ? argv[4] : "'vornLoad'";
  auto const root = sample(typeName);
  auto const object = Kro::entityAtPath(root, path);
  if (argc < 3 || argc > 4) {
    object->attributeId(attribute);  // throws where there is no such attribute
    object->attributeIs(attribute, object->type()->attr(attribute)->attrType()->genericIf(text, false));
  }
  std::cout << object->strRep() << " is a " << object->type()->fullName() << '\n';
  print(object, "  ");
} catch (Kro::Exception const& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
