#include "tools/vornacl/rules/Names.h"

#include <algorithm>
#include <array>

namespace Tools {

namespace {

template <class Value>
struct Named {
  std::string_view name;
  Value value;
};

template <class Value, std::size_t n>
std::optional<Value> valueOf(std::string_view name, Named<Value> const (&table)[n]) {
  auto const found =
      std::find_if(std::begin(table), std::end(table), [&](auto const& row) { return row.name == name; });
  return found != std::end(table) ? std::optional(found->value) : std::nullopt;
}

constexpr Named<std::uint8_t> protocols[] = {
    {"icmp", 1},    {"igmp", 2},      {"ipinip", 4},  {"tcp", 6},    {"igrp", 9},  {"udp", 17},  {"gre", 47},
    {"esp", 50},    {"ahp", 51},      {"icmpv6", 58}, {"eigrp", 88}, {"ospf", 89}, {"nos", 94},  {"pim", 103},
    {"pcp", 108},   {"vrrp", 112},    {"sctp", 132},  {"dccp", 33},  {"ah", 51},   {"ipip", 94}, {"ipv6-icmp", 58},
    {"ipencap", 4}, {"udplite", 136}, {"l2tp", 115},  {"rsvp", 46},
};

constexpr Named<std::uint16_t> tcpPorts[] = {
    {"echo", 7},          {"discard", 9},  {"daytime", 13}, {"chargen", 19},       {"ftp-data", 20},
    {"ftp", 21},          {"ssh", 22},     {"telnet", 23},  {"smtp", 25},          {"time", 37},
    {"nicname", 43},      {"whois", 43},   {"tacacs", 49},  {"domain", 53},        {"gopher", 70},
    {"finger", 79},       {"www", 80},     {"http", 80},    {"hostname", 101},     {"pop2", 109},
    {"pop3", 110},        {"sunrpc", 111}, {"ident", 113},  {"nntp", 119},         {"msrpc", 135},
    {"imap4", 143},       {"bgp", 179},    {"irc", 194},    {"ldap", 389},         {"https", 443},
    {"pim-auto-rp", 496}, {"exec", 512},   {"login", 513},  {"cmd", 514},          {"rsh", 514},
    {"syslog", 514},      {"lpd", 515},    {"talk", 517},   {"uucp", 540},         {"klogin", 543},
    {"kshell", 544},      {"rtsp", 554},   {"ldaps", 636},  {"lotusnotes", 1352},  {"citrix-ica", 1494},
    {"sqlnet", 1521},     {"h323", 1720},  {"pptp", 1723},  {"nfs", 2049},         {"ctiqbe", 2748},
    {"drip", 3949},       {"sip", 5060},   {"aol", 5190},   {"onep-plain", 15001}, {"onep-tls", 15002},
};

constexpr Named<std::uint16_t> udpPorts[] = {
    {"echo", 7},           {"discard", 9},      {"time", 37},
    {"nameserver", 42},    {"tacacs", 49},      {"domain", 53},
    {"bootps", 67},        {"bootpc", 68},      {"tftp", 69},
    {"www", 80},           {"http", 80},        {"sunrpc", 111},
    {"ntp", 123},          {"netbios-ns", 137}, {"netbios-dgm", 138},
    {"netbios-ss", 139},   {"snmp", 161},       {"snmptrap", 162},
    {"xdmcp", 177},        {"dnsix", 195},      {"mobile-ip", 434},
    {"pim-auto-rp", 496},  {"isakmp", 500},     {"biff", 512},
    {"who", 513},          {"syslog", 514},     {"talk", 517},
    {"rip", 520},          {"ripv6", 521},      {"radius", 1812},
    {"radius-acct", 1813}, {"nfs", 2049},       {"non500-isakmp", 4500},
    {"sip", 5060},
};

constexpr std::nullopt_t anyCode = std::nullopt;

/// RFC 792 and the registry of its numbers.
constexpr Named<IcmpName> icmpNames[] = {
    {"echo-reply", {0, anyCode}},
    {"unreachable", {3, anyCode}},
    {"net-unreachable", {3, 0}},
    {"host-unreachable", {3, 1}},
    {"protocol-unreachable", {3, 2}},
    {"port-unreachable", {3, 3}},
    {"packet-too-big", {3, 4}},
    {"source-route-failed", {3, 5}},
    {"network-unknown", {3, 6}},
    {"host-unknown", {3, 7}},
    {"host-isolated", {3, 8}},
    {"dod-net-prohibited", {3, 9}},
    {"dod-host-prohibited", {3, 10}},
    {"net-tos-unreachable", {3, 11}},
    {"host-tos-unreachable", {3, 12}},
    {"administratively-prohibited", {3, 13}},
    {"host-precedence-unreachable", {3, 14}},
    {"precedence-unreachable", {3, 15}},
    {"source-quench", {4, anyCode}},
    {"redirect", {5, anyCode}},
    {"net-redirect", {5, 0}},
    {"host-redirect", {5, 1}},
    {"net-tos-redirect", {5, 2}},
    {"host-tos-redirect", {5, 3}},
    {"alternate-address", {6, anyCode}},
    {"echo", {8, anyCode}},
    {"router-advertisement", {9, anyCode}},
    {"router-solicitation", {10, anyCode}},
    {"time-exceeded", {11, anyCode}},
    {"ttl-exceeded", {11, 0}},
    {"reassembly-timeout", {11, 1}},
    {"parameter-problem", {12, anyCode}},
    {"general-parameter-problem", {12, 0}},
    {"option-missing", {12, 1}},
    {"no-room-for-option", {12, 2}},
    {"timestamp-request", {13, anyCode}},
    {"timestamp-reply", {14, anyCode}},
    {"information-request", {15, anyCode}},
    {"information-reply", {16, anyCode}},
    {"mask-request", {17, anyCode}},
    {"mask-reply", {18, anyCode}},
    {"traceroute", {30, anyCode}},
    {"conversion-error", {31, anyCode}},
    {"mobile-redirect", {32, anyCode}},
};

/// RFC 4443, RFC 4861, RFC 2710, RFC 3810, RFC 2894.
constexpr Named<IcmpName> icmp6Names[] = {
    {"destination-unreachable", {1, anyCode}},
    {"unreachable", {1, anyCode}},
    {"no-route", {1, 0}},
    {"no-admin", {1, 1}},
    {"beyond-scope", {1, 2}},
    {"address-unreachable", {1, 3}},
    {"port-unreachable", {1, 4}},
    {"packet-too-big", {2, anyCode}},
    {"time-exceeded", {3, anyCode}},
    {"hop-limit", {3, 0}},
    {"reassembly-timeout", {3, 1}},
    {"parameter-problem", {4, anyCode}},
    {"header", {4, 0}},
    {"next-header", {4, 1}},
    {"parameter-option", {4, 2}},
    {"echo-request", {128, anyCode}},
    {"echo", {128, anyCode}},
    {"echo-reply", {129, anyCode}},
    {"mld-query", {130, anyCode}},
    {"mld-report", {131, anyCode}},
    {"mld-reduction", {132, anyCode}},
    {"router-solicitation", {133, anyCode}},
    {"router-advertisement", {134, anyCode}},
    {"nd-ns", {135, anyCode}},
    {"nd-na", {136, anyCode}},
    {"redirect", {137, anyCode}},
    {"router-renumbering", {138, anyCode}},
    {"renum-command", {138, 0}},
    {"renum-result", {138, 1}},
    {"renum-seq-number", {138, 255}},
    {"mldv2", {143, anyCode}},
};

/// RFC 2474, RFC 2597, RFC 3246.
constexpr Named<std::uint8_t> dscps[] = {
    {"default", 0}, {"cs1", 8},   {"af11", 10}, {"af12", 12}, {"af13", 14}, {"cs2", 16},  {"af21", 18},
    {"af22", 20},   {"af23", 22}, {"cs3", 24},  {"af31", 26}, {"af32", 28}, {"af33", 30}, {"cs4", 32},
    {"af41", 34},   {"af42", 36}, {"af43", 38}, {"cs5", 40},  {"ef", 46},   {"cs6", 48},  {"cs7", 56},
};

constexpr Named<std::uint16_t> etherTypes[] = {
    {"ip", 0x0800},       {"arp", 0x0806},        {"vines-echo", 0x0baf},  {"diagnostic", 0x6005},
    {"lat", 0x6004},      {"mop-dump", 0x6001},   {"mop-console", 0x6002}, {"decnet-iv", 0x6003},
    {"lavc-sca", 0x6007}, {"etype-6000", 0x6000}, {"etype-8042", 0x8042},  {"appletalk", 0x809b},
    {"aarp", 0x80f3},
};

constexpr Named<std::uint8_t> flagBits[] = {
    {"fin", 0x01}, {"syn", 0x02}, {"rst", 0x04}, {"psh", 0x08},
    {"ack", 0x10}, {"urg", 0x20}, {"ece", 0x40}, {"cwr", 0x80},
};

}  // namespace

std::optional<std::uint8_t> protocolNumber(std::string_view name) { return valueOf(name, protocols); }
std::optional<std::uint16_t> tcpPortNumber(std::string_view name) { return valueOf(name, tcpPorts); }
std::optional<std::uint16_t> udpPortNumber(std::string_view name) { return valueOf(name, udpPorts); }
std::optional<IcmpName> icmpNumbers(std::string_view name) { return valueOf(name, icmpNames); }
std::optional<IcmpName> icmp6Numbers(std::string_view name) { return valueOf(name, icmp6Names); }
std::optional<std::uint8_t> dscpNumber(std::string_view name) { return valueOf(name, dscps); }
std::optional<std::uint16_t> etherTypeNumber(std::string_view name) { return valueOf(name, etherTypes); }
std::optional<std::uint8_t> tcpFlagBit(std::string_view name) { return valueOf(name, flagBits); }

}  // namespace Tools
