#include "tools/common/Trees.h"

namespace Tools {

std::vector<Kro::Ptr<Vorn::VornAcl>> aclsOf(Tree const& tree) {
  std::vector<Kro::Ptr<Vorn::VornAcl>> acls;
  for (auto const& config : inOrderOfKeys(tree->chipRootConfigMap())) {
    if (auto const coll = config->vornAclColl()) {
      for (auto const& acl : inOrderOfKeys(coll->aclMap())) {
        acls.push_back(acl);
      }
    }
  }
  return acls;
}

}  // namespace Tools
