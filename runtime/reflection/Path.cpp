#include "runtime/reflection/Path.h"

#include <string>
#include <string_view>

namespace Kro {

namespace {

/// One part of a path: an attribute, and the key in brackets where there is one.
struct Part {
  std::string_view attribute;
  std::string_view key;
  bool hasKey = false;
};

/// Cuts the next part off; slashes within brackets belong to a key.
Part nextPart(std::string_view& rest) {
  std::size_t end = 0;
  while (end < rest.size() && rest[end] != '/' && rest[end] != '[') {
    ++end;
  }
  Part part{rest.substr(0, end), {}, false};
  if (end < rest.size() && rest[end] == '[') {
    std::size_t const close = rest.find(']', end);
    if (close == std::string_view::npos) {
      throwRangeException("path part " + String8(rest) + ": expected \"]\"");
    }
    part.key = rest.substr(end + 1, close - end - 1);
    part.hasKey = true;
    end = close + 1;
  }
  rest.remove_prefix(end < rest.size() ? end + 1 : end);
  return part;
}

Ptr<GenericIf> memberAt(Ptr<GenericIf> const& parent, AttributeId id, Part const& part) {
  for (auto at = parent->attributeIteratorConst(id); at; ++at) {
    if (at.key()->strRep().view() == part.key) {
      return at.object();
    }
  }
  throwRangeException("path part " + String8(part.attribute) + "[" + String8(part.key) +
                      "]: no member has this key, expected the printed text of one");
}

bool reflectsEntity(Ptr<GenericIf> const& object) {
  return object && object->type() && object->type()->isEntity() && object->strRep().view() != "null";
}

/// The name that a path of this root begins with, as `Entity::fullName` writes it.
String8 rootName(Entity const& root) { return root.fullName(); }

}  // namespace

Ptr<GenericIf> reflectionOf(Ptr<Entity> const& entity, bool isConst) {
  if (!entity || !entity->fwkType()) {
    throwRangeException("null ValidPtr");
  }
  return entity->fwkType()->genericIf_(entity.get(), isConst);
}

Ptr<GenericIf> entityAtPath(Ptr<Entity> const& root, String8 const& path) {
  Ptr<GenericIf> at = reflectionOf(root);
  std::string_view rest = path.view();
  std::string_view const name = rest.substr(0, rest.find('/'));
  if (name != rootName(*root).view()) {
    throwRangeException("path " + path + ": expected it to begin with " + rootName(*root));
  }
  rest.remove_prefix(name.size() < rest.size() ? name.size() + 1 : name.size());
  while (!rest.empty()) {
    Part const part = nextPart(rest);
    AttributeId const id = at->attributeId(String8(part.attribute));
    at = part.hasKey ? memberAt(at, id, part) : at->attribute(String8(part.attribute));
    if (!reflectsEntity(at)) {
      throwRangeException("path part " + String8(part.attribute) + ": expected an entity");
    }
  }
  return at;
}

}  // namespace Kro
