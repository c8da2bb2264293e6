#include "runtime/reflection/Path.h"

#include <string_view>

#include "runtime/reflection/EntityReflection.h"

namespace Kro {

namespace {

/// One part of a path: an attribute, and the key in brackets where there is one.
struct Part {
  std::string_view attribute;
  std::string_view key;
  bool hasKey = false;
};

/// Cuts the next part off. A key is closed by "]", and a slash stands between two parts.
Part nextPart(std::string_view& rest) {
  Part part{rest.substr(0, rest.find_first_of("/[")), {}, false};
  rest.remove_prefix(part.attribute.size());
  if (!rest.empty() && rest.front() == '[') {
    std::size_t const close = rest.find(']');
    if (close == std::string_view::npos) {
      throwRangeException("expected \"]\"");
    }
    part.key = rest.substr(1, close - 1);
    part.hasKey = true;
    rest.remove_prefix(close + 1);
  }
  if (!rest.empty() && rest.front() != '/') {
    throwRangeException("expected \"/\" behind \"]\"");
  }
  rest.remove_prefix(rest.empty() ? 0 : 1);
  return part;
}

Ptr<GenericIf> memberAt(GenericIf const& parent, AttributeId id, Part const& part) {
  for (auto at = parent.attributeIteratorConst(id); at; ++at) {
    if (at.key()->strRep().view() == part.key) {
      return at.object();
    }
  }
  throwRangeException("no member has this key, expected the printed text of one");
}

/// Follows one part from an entity to the next; throws an error that says why it leads nowhere.
Ptr<GenericIfEntity> followed(GenericIfEntity& from, Part const& part) {
  AttributeId const id = from.attributeId(String8(part.attribute));
  auto const found = ptrCast<GenericIfEntity>(
      part.hasKey ? memberAt(from, id, part)
                  : from.attributeOp({static_cast<std::uint32_t>(id), GenericIf::AttributeOp::read}, nullptr, nullptr));
  if (!found || found->rawEntity() == nullptr) {
    throwRangeException("expected an entity");
  }
  return found;
}

}  // namespace

Ptr<GenericIf> reflectionOf(Ptr<Entity> const& entity, bool isConst) {
  if (!entity || !entity->fwkType()) {
    throwRangeException("null ValidPtr");
  }
  return entity->fwkType()->genericIf_(entity.get(), isConst);
}

Ptr<GenericIf> entityAtPath(Ptr<Entity> const& root, String8 const& path) {
  auto at = ptrCast<GenericIfEntity>(reflectionOf(root));
  String8 const rootPath = root->fullName();
  std::string_view rest = path.view();
  bool const isBelow = rest.substr(0, rootPath.length()) == rootPath.view();
  rest.remove_prefix(isBelow ? rootPath.length() : 0);
  if (!isBelow || (!rest.empty() && rest.front() != '/')) {
    throwRangeException("path " + path + ": expected it to begin with " + rootPath);
  }
  for (rest.remove_prefix(rest.empty() ? 0 : 1); !rest.empty();) {
    String8 const here(rest.substr(0, rest.find('/')));
    try {
      Part const part = nextPart(rest);
      at = followed(*at, part);
    } catch (Exception const& error) {
      throwRangeException("path " + path + ": part " + here + ": " + error.message());
    }
  }
  return at;
}

}  // namespace Kro
