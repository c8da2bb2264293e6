// Packets as people write them.
#pragma once

#include <string_view>

#include "tools/vornacl/match/Cell.h"

namespace Tools {

/// A packet, and the kind of lists whose rules it can meet.
struct Packet {
  Acl::AclType type = Acl::ip;
  Cell cell;
};

/// Reads "KEY=VALUE" with blanks or commas between, "fragment" without a value:
///
///     src, dst        addresses: IPv4, IPv6, or Ethernet as 00:00:5e:00:53:01
///     proto           a protocol by its name or number
///     sport, dport    ports
///     flags           TCP flags with "+" between, as syn+ack
///     icmp            TYPE or TYPE/CODE
///     dscp, ttl       numbers
///     fragment        not the first fragment of its packet
///     ethertype       of a packet with Ethernet addresses, as 0x0806
///
/// Both addresses must be there; every other field is 0 where it is not. Throws `BadData`, which names `name` and
/// `line`.
Packet readPacket(std::string_view text, std::string const& name, std::size_t line = 0);

}  // namespace Tools
