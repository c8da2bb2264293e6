// Names of entities, types and attributes.
#pragma once

#include <functional>
#include <ostream>
#include <utility>

#include "runtime/core/String8.h"

namespace Kro {

template <class T>
class Ptr;
class KroType;

/// The name of an entity, a type or an attribute: a shared string. Names compare by content and order by bytes.
class VORNACL_API Name {
 public:
  Name() = default;
  Name(char const* text) : string_(text) {}
  Name(String8 text) : string_(std::move(text)) {}

  String8 const& string() const { return string_; }
  std::string_view view() const { return string_.view(); }
  std::uint32_t hash() const { return string_.hash(); }

  /// The type object of names.
  static Ptr<KroType const> _fwkType();

  friend bool operator==(Name const&, Name const&) = default;
  friend bool operator<(Name const& a, Name const& b) { return a.string_ < b.string_; }
  friend std::ostream& operator<<(std::ostream& out, Name const& name) { return out << name.string_; }

 private:
  String8 string_;
};

}  // namespace Kro
