// What a rule does.
#pragma once

#include <cstdint>

#include "platform/KroOperations.h"

namespace Acl {

/// What is done with a packet that a rule matches. A rule that was never given an action lets nothing through.
enum Action : std::int32_t {
  deny = 0,
  permit = 1,
};

/// The names of the enumerators.
constexpr Kro::Enumerators<Action, 2> kroEnumerators(Action) {
  return {"Acl::Action",
          {{
              {deny, "deny"},
              {permit, "permit"},
          }}};
}

/// The enumerator with this number; throws `Kro::RangeException` "Action" for any other.
inline Action ActionInstance(unsigned number) { return Kro::enumeratorOf<Action>(number); }
/// The enumerator of this name, exactly; throws `Kro::RangeException` "Action" for any other.
inline Action ActionInstance(Kro::String8 const& name) { return Kro::enumeratorOf<Action>(name); }

/// The type object of `Action`.
VORNACL_API Kro::Ptr<Kro::KroType const> _fwkType_Action();

}  // namespace Acl
