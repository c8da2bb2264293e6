// Where types are told when they are registered: a stream of events that fills the type objects and the list that tools
// walk.
#pragma once

#include <vector>

#include "runtime/type/KroType.h"

namespace Kro {

/// The process-wide receiver of registrations. It is ready from the start; an embedder that is not may say so and have
/// the registration functions run again later.
class VORNACL_API IntrospectionReactor : public Freezable {
 public:
  IntrospectionReactor() = default;
  ~IntrospectionReactor() override;

  static Ptr<IntrospectionReactor> global();
  /// Whether registrations are taken.
  bool isReady() const { return isReady_; }
  void isReadyIs(bool ready) { isReady_ = ready; }

  /// Opens a namespace scope.
  void handleNameSpace(char const* name);
  /// Opens the scope of a type; `base` is null for values and enumerations.
  void handleType(Ptr<KroType const> const& type, Ptr<KroType const> const& base);
  /// Makes an attribute of a type, appends it and announces it.
  Ptr<KroAttr> defNoninstantiatingAttr(KroType& type, Name const& name, Ptr<KroType const> const& attrType,
                                       Ptr<KroType const> const& keyType, KroAttr::AttrFlags const& flags,
                                       KroAttr::KroAttrIntrospectionFlags introspection, AttributeId id);
  /// Announces an attribute and closes its context.
  void handleAttr(Ptr<KroAttr> const& attribute);
  void handleAttrContextExit();
  /// Closes the innermost scope. Precondition: one is open.
  void handleScopeExit();

  /// The registered types, in registration order; a nested type stands behind the type that it is nested in.
  std::vector<Ptr<KroType const>> types() const;
  /// Number of events so far.
  std::uint64_t events() const { return events_; }
  /// Number of scopes that are open; 0 outside a registration.
  std::size_t openScopes() const { return openScopes_; }

 private:
  std::vector<KroType const*> types_;
  std::uint64_t events_ = 0;
  std::size_t openScopes_ = 0;
  bool isReady_ = true;
};

}  // namespace Kro
