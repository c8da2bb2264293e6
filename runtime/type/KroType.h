// Type objects: one for each value, enumeration and entity type, made on first use and kept for the life of the
// process.
#pragma once

#include <string_view>
#include <vector>

#include "runtime/core/Name.h"
#include "runtime/core/Ptr.h"
#include "runtime/type/KroAttr.h"

namespace Kro {

class GenericIf;

/// Held while types are made, registered, placed in the tree of types or looked up there; by one thread, which may hold
/// it more than once.
class VORNACL_API RegistryLock {
 public:
  RegistryLock();
  ~RegistryLock();
  RegistryLock(RegistryLock const&) = delete;
  RegistryLock& operator=(RegistryLock const&) = delete;
};

/// Describes one type of the model, of the platform or of the runtime: its names, what the registry was told of it, and
/// how to make reflection objects of it.
class VORNACL_API KroType : public KroAttr {
 public:
  struct KroTypeFlags {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
  };

  /// `fullName` holds the namespace, as "Vorn::IpFilter::TcpFlag"; the last component is the type's short name.
  explicit KroType(String8 fullName);
  KroType(Name shortName, KroType* scope, KroType* base, KroTypeFlags const& flags);
  ~KroType() override;

  /// Every registered type is frozen; what is changed behind that is to be frozen by another call.
  void freeze() const override;

  String8 const& fullName() const { return fullName_; }
  void fullNameIs(String8 name) { fullName_ = std::move(name); }

  /// Size in bytes of a value or an entity.
  unsigned size() const { return size_; }
  void sizeIs(unsigned size) { size_ = size; }
  bool isValue() const { return isValue_; }
  void isValueIs(bool isValue) { isValue_ = isValue; }
  bool isEntity() const { return isEntity_; }
  void isEntityIs(bool isEntity) { isEntity_ = isEntity; }
  bool hasGenericIfSupport() const { return hasGenericIfSupport_; }
  void hasGenericIfSupportIs(bool has) { hasGenericIfSupport_ = has; }
  /// Names and type names of the constructor parameters, in order.
  std::vector<Name> const& constructorArgNameQ() const { return constructorArgNames_; }
  std::vector<Name> const& constructorArgTypeQ() const { return constructorArgTypes_; }
  void constructorArgNameQEnq(Name name) { constructorArgNames_.push_back(std::move(name)); }
  void constructorArgTypeQEnq(Name typeName) { constructorArgTypes_.push_back(std::move(typeName)); }
  /// The attributes in registration order, those of the base type first. One that is appended is found by name, too.
  std::vector<Ptr<KroAttr>> const& attributeQ() const { return attributes_; }
  void attributeQEnq(Ptr<KroAttr> const& attribute);
  /// The attribute that holds the value of a single-value type; null for enumerations and records.
  Ptr<KroAttr> const& valAttr() const { return valAttr_; }
  void valAttrIs(KroAttr* attribute) { valAttr_ = Ptr<KroAttr>(attribute, Share{}); }

  /// The type that this one takes over attributes from; null for values and enumerations.
  Ptr<KroType const> const& baseType() const { return baseType_; }
  void baseTypeIs(Ptr<KroType const> base) { baseType_ = std::move(base); }
  /// Whether the type stands in the tree of types.
  bool isPlaced() const { return isPlaced_; }

  /// Enters a type into the tree of types under its full name, for ever.
  static void typeNodeIs(KroType const* type, Name const& fullName);
  /// The type of that full name, or null: of the model, of the platform or of the runtime.
  static Ptr<KroType const> typeNode(Name const& fullName);
  /// All types of the tree, in the order in which they were entered. The types of the platform and of the runtime come
  /// when the first attribute or argument that needs them is registered.
  static std::vector<Ptr<KroType const>> typeNodes();

  /// A reflection object of a copy of the value at `value`, of the default value for null. Throws `ReflectionException`
  /// for a type without reflection; so do the others.
  virtual Ptr<GenericIf> genericIf(void const* value, bool isConst) const;
  /// A reflection object built from an argument list; never const.
  virtual Ptr<GenericIf> genericIf(GenericIf const* list, bool isConst) const;
  /// A reflection object of the value that a text denotes.
  virtual Ptr<GenericIf> genericIf(String8 const& text, bool isConst) const;
  /// The same; without it a literal would be taken for the address of a value.
  Ptr<GenericIf> genericIf(char const* text, bool isConst) const;
  /// Entity types: a reflection object of an entity of this type, of no entity for any other object and for null.
  virtual Ptr<GenericIf> genericIf_(PtrInterface* object, bool isConst) const;

 private:
  String8 fullName_;
  unsigned size_ = 0;
  bool isValue_ = false;
  bool isEntity_ = false;
  bool hasGenericIfSupport_ = false;
  bool isPlaced_ = false;
  Ptr<KroType const> baseType_;
  std::vector<Name> constructorArgNames_;
  std::vector<Name> constructorArgTypes_;
  std::vector<Ptr<KroAttr>> attributes_;
  Ptr<KroAttr> valAttr_;
};

/// The last component of a full type name.
constexpr std::string_view shortTypeName(std::string_view fullName) {
  std::size_t const colon = fullName.rfind(':');
  return colon == std::string_view::npos ? fullName : fullName.substr(colon + 1);
}

}  // namespace Kro
