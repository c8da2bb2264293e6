// Attributes of a live tree, named and written as words.
#pragma once

#include <string>

#include "runtime/reflection/Path.h"
#include "tools/vornacl/verbs/LiveOptions.h"

namespace Tools {

/// The entity at a path, or the root without one. Throws `Failure` of `Exit::notFound`.
Kro::Ptr<Kro::GenericIf> reflectionAt(Tree const& tree, std::string const& path);

/// The value that a word denotes, in quotes or without; errors call it `what`. Throws `Failure` of `Exit::badData`.
Kro::Ptr<Kro::GenericIf> valueOf(Tree const& tree, Kro::Ptr<Kro::KroType const> const& type, std::string const& word,
                                 std::string const& what);

/// The entity that a verb is about.
struct EntityOptions : LiveOptions {
  std::string path;

  /// Declares ADDRESS, PATH and --timeout.
  void declare(CLI::App& app);
};

/// The entity and attribute that a verb is about.
struct AttributeOptions : EntityOptions {
  std::string attribute;

  /// Declares ATTRIBUTE, too.
  void declare(CLI::App& app);
};

/// An attribute of an entity, or what a collection has under a key. All throw `Failure`: `Exit::notFound` for what is
/// not there, `Exit::badData` for words that denote no value, `Exit::usage` for a key too much or too few.
class LiveAttribute {
 public:
  /// `word` is ATTRIBUTE or ATTRIBUTE[KEY].
  LiveAttribute(Tree const& tree, std::string const& path, std::string const& word);

  /// The text of a value as this attribute writes it.
  std::string canonical(std::string const& word) const {
    return textOf(valueOf(tree_, type_->attrType(), word, "VALUE"));
  }
  std::string text() const;
  void valueIs(std::string const& word);

 private:
  static std::string textOf(Kro::Ptr<Kro::GenericIf> const& value) {
    return value ? std::string(value->strRep().view()) : "null";
  }

  Tree tree_;
  Kro::Ptr<Kro::GenericIf> entity_;
  Kro::Ptr<Kro::KroAttr> type_;
  Kro::Ptr<Kro::GenericIf> key_;
  std::string word_;
};

}  // namespace Tools
