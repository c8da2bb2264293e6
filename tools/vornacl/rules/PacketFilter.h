// Reads the dumps of packet filters, as iptables-save and ip6tables-save write them.
#pragma once

#include <string_view>

#include "tools/vornacl/rules/Refusals.h"
#include "tools/vornacl/rules/Rule.h"

namespace Tools {

/// Whether the first lines of a text are those of a dump.
bool isPacketFilter(std::string_view text);

/// Reads a dump; `name` is what errors call it. It is made of tables,
///
///     *TABLE
///     :CHAIN POLICY [PACKETS:BYTES]
///     -A CHAIN MATCHES -j ACCEPT|DROP|REJECT
///     COMMIT
///
/// and comments behind "#". Each chain that has rules becomes a list "TABLE.CHAIN", with its rules numbered from 1;
/// the policy ACCEPT is one more rule at its end. ACCEPT permits, DROP and REJECT deny. Other targets, and what a
/// filter has no place for (interfaces, states of connections, limits ...), are refused. Throws `BadData` for what is
/// no dump.
RuleSet readPacketFilter(std::string_view text, std::string const& name, Refusals& refusals);

}  // namespace Tools
