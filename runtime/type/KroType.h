// Type objects: one for each value, enumeration and entity type, made on first use and kept for the life of the
// process.
#pragma once

#include <string_view>

#include "runtime/core/Name.h"
#include "runtime/core/Ptr.h"

namespace Kro {

/// Describes one type of the model, of the platform or of the runtime.
class VORNACL_API KroType : public PtrInterface {
 public:
  /// `fullName` holds the namespace, as "Vorn::IpFilter::TcpFlag"; the last component is the type's short name.
  explicit KroType(String8 fullName);
  ~KroType() override;

  /// The last component of the full name.
  Name name() const { return name_; }
  String8 const& fullName() const { return fullName_; }

 private:
  String8 fullName_;
  Name name_;
};

/// The last component of a full type name.
constexpr std::string_view shortTypeName(std::string_view fullName) {
  std::size_t const colon = fullName.rfind(':');
  return colon == std::string_view::npos ? fullName : fullName.substr(colon + 1);
}

}  // namespace Kro
