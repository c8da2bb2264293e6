#include "tools/vornacl/verbs/LiveAttribute.h"

#include "runtime/reflection/EntityReflection.h"
#include "tools/vornacl/Exit.h"

namespace Tools {

using Kro::String8;
using Op = Kro::GenericIf::AttributeOp;

Kro::Ptr<Kro::GenericIf> reflectionAt(Tree const& tree, std::string const& path) {
  try {
    return path.empty() ? Kro::reflectionOf(tree) : Kro::entityAtPath(tree, String8(path));
  } catch (Kro::RangeException const& error) {
    throw Failure(Exit::notFound, error.what());
  }
}

Kro::Ptr<Kro::GenericIf> valueOf(Tree const& tree, Kro::Ptr<Kro::KroType const> const& type, std::string const& word,
                                 std::string const& what) {
  Kro::EntityTextScope const scope(tree);
  try {
    return type->genericIf(String8(word), false);
  } catch (Kro::Exception const& error) {
    std::string const reason = what + ": " + error.what();
    try {
      return type->genericIf(String8("'" + word + "'"), false);
    } catch (Kro::Exception const&) {
      throw Failure(Exit::badData, reason);
    }
  }
}

void EntityOptions::declare(CLI::App& app) {
  LiveOptions::declare(app);
  app.add_option("PATH", path, "The entity, as show tells it")->required();
}

void AttributeOptions::declare(CLI::App& app) {
  EntityOptions::declare(app);
  app.add_option("ATTRIBUTE", attribute, "Its attribute, as types tells it; of a collection ATTRIBUTE[KEY]")
      ->required();
}

LiveAttribute::LiveAttribute(Tree const& tree, std::string const& path, std::string const& word)
    : tree_(tree), entity_(reflectionAt(tree, path)), word_(word) {
  std::size_t const bracket = word.find('[');
  bool const hasKey = bracket != std::string::npos && word.ends_with(']');
  std::string const name = word.substr(0, hasKey ? bracket : word.size());
  type_ = entity_->type()->attr(Kro::Name(String8(name)));
  if (!type_ || !type_->attrType()) {
    throw Failure(Exit::notFound,
                  std::string(entity_->type()->fullName().view()) + " has no attribute \"" + name + "\"");
  }
  auto const& keyType = type_->toolKeyType();
  if (hasKey != static_cast<bool>(keyType)) {
    throw Failure(Exit::usage, name + (keyType ? " is a collection: [KEY] must follow" : " takes no key"));
  }
  if (hasKey) {
    key_ = valueOf(tree, keyType, word.substr(bracket + 1, word.size() - bracket - 2), "KEY");
  }
}

std::string LiveAttribute::text() const {
  auto const id = static_cast<std::uint32_t>(type_->id());
  if (key_ && entity_->attributeOp({id, Op::has}, key_, nullptr)->strRep() == String8("false")) {
    throw Failure(Exit::notFound, word_ + ": there is nothing under this key");
  }
  return textOf(entity_->attributeOp({id, Op::read}, key_, nullptr));
}

void LiveAttribute::valueIs(std::string const& word) {
  auto const value = valueOf(tree_, type_->attrType(), word, "VALUE");
  try {
    entity_->attributeOp({static_cast<std::uint32_t>(type_->id()), Op::write}, key_, value);
  } catch (Kro::Exception const& error) {
    throw Failure(Exit::badData, word_ + ": " + error.what());
  }
}

}  // namespace Tools
