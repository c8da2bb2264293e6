// A whole-collection transfer that arrives.
#pragma once

#include "runtime/core/AttributeId.h"

namespace Kro::NboAttrLog {

/// The transfer into one attribute of one entity, from its begin marker to its end or abort marker. While it is open,
/// the members that it has not repeated yet carry a mark; the end marker removes what is still marked.
class FlowIn {
 public:
  /// The attribute that is being transferred.
  AttributeId aid() const { return aid_; }
  void aidIs(AttributeId id) { aid_ = id; }
  /// The end marker is being handled.
  bool handlingTransaction() const { return handling_; }
  void handlingTransactionIs(bool handling) { handling_ = handling; }

 private:
  AttributeId aid_ = 0;
  bool handling_ = false;
};

}  // namespace Kro::NboAttrLog
