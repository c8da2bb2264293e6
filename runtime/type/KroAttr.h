// What the registry knows of one attribute.
#pragma once

#include <cstdint>
#include <vector>

#include "runtime/core/AttributeId.h"
#include "runtime/core/Name.h"
#include "runtime/core/Ptr.h"

namespace Kro {

class KroType;

/// An attribute of a registered type: name, type, number, flags, and the arguments of an operation. A type is an
/// attribute container, too.
class VORNACL_API KroAttr : public Freezable {
 public:
  /// Two words whose bits the writer of a type gives.
  struct AttrFlags {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    friend bool operator==(AttrFlags const&, AttrFlags const&) = default;
  };
  /// 2 for a stored attribute, 8 for a computed attribute or an operation, 0 for enumerators and constants.
  using KroAttrIntrospectionFlags = std::uint32_t;
  /// An argument of an operation.
  struct Argument {
    Name name;
    Name typeName;
  };

  KroAttr(Name name, Ptr<KroType const> attrType, AttrFlags const& flags, AttributeId id);
  ~KroAttr() override;

  void freeze() const override;

  Name const& name() const { return name_; }
  /// The type of the attribute, or of what an operation returns; null for a type itself.
  Ptr<KroType const> const& attrType() const { return attrType_; }
  /// Null: registration names no key types. See `toolKeyType`.
  Ptr<KroType const> const& keyType() const { return keyType_; }
  AttributeId id() const { return id_; }
  AttrFlags const& flags() const { return flags_; }
  KroAttrIntrospectionFlags introspectionFlags() const { return introspection_; }
  void introspectionFlagsIs(KroAttrIntrospectionFlags flags) { introspection_ = flags; }
  std::vector<Argument> const& arguments() const { return arguments_; }
  void argumentEnq(Name name, Name typeName) { arguments_.push_back({std::move(name), std::move(typeName)}); }

  /// For tools: the key type of a collection (null for any other attribute), and in a word what the attribute is, as
  /// "stored", "constant", "function", "values", "members", "references", "child".
  Ptr<KroType const> const& toolKeyType() const { return toolKeyType_; }
  void toolKeyTypeIs(Ptr<KroType const> type) { toolKeyType_ = std::move(type); }
  Name const& toolKind() const { return toolKind_; }
  void toolKindIs(Name kind) { toolKind_ = std::move(kind); }

  /// The attribute of this container with that name, or null.
  Ptr<KroAttr> attr(Name const& name) const;
  /// Makes an attribute in this container; one of that name is replaced.
  Ptr<KroAttr> attrIs(Name const& name, Ptr<KroType const> const& attrType, KroAttr* scope, KroAttr* base,
                      AttrFlags const& flags, AttributeId id);
  /// Removes the attribute of that name, if there is one.
  void attrDel(Name const& name);

 protected:
  /// Lets an attribute that was made elsewhere be found here, unless one of its name is here.
  void attrEnq(Ptr<KroAttr> const& attribute);

 private:
  Name name_;
  Ptr<KroType const> attrType_;
  Ptr<KroType const> keyType_;
  AttrFlags flags_;
  AttributeId id_;
  KroAttrIntrospectionFlags introspection_ = 0;
  std::vector<Argument> arguments_;
  Ptr<KroType const> toolKeyType_;
  Name toolKind_;
  std::vector<Ptr<KroAttr>> attrs_;
};

}  // namespace Kro
