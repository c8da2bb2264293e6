// One rule of a packet filter's dump.
#pragma once

#include "tools/common/Cursor.h"
#include "tools/vornacl/rules/Refusals.h"
#include "tools/vornacl/rules/Rule.h"

namespace Tools {

/// Reads the rest of a line, behind the name of the chain. Throws `BadData` and `Refused`.
IpRule readPacketFilterRule(Cursor& line, Dorix::IpFamily family);

}  // namespace Tools
