#include "VornAclTable/IpFilter.h"

#include "runtime/reflection/TypeObjects.h"

template class Kro::Value<Vorn::IpFilter::TcpFlag>;
template class Kro::Value<Vorn::IpFilter>;

namespace Vorn {

namespace {

void appendIcmp(std::string& text, char const* label, std::uint16_t number) {
  text += label;
  if (number == IpFilter::icmpAll) {
    text += "ANY";
  } else {
    Kro::appendInteger(text, number);
  }
}

void appendFlags(std::string& text, std::uint32_t value) {
  text += ", tcp=";
  for (unsigned n = 0; n < 6; ++n) {
    text += ((value >> n) & 1U) != 0 ? "FSRPAU"[n] : '-';
  }
}

}  // namespace

void IpFilter::checkFromLog() const { tcpFlag_.check(); }

bool IpFilter::fin() const { return tcpFlag_.fin(); }
bool IpFilter::syn() const { return tcpFlag_.syn(); }
bool IpFilter::rst() const { return tcpFlag_.rst(); }
bool IpFilter::psh() const { return tcpFlag_.psh(); }
bool IpFilter::ack() const { return tcpFlag_.ack(); }
bool IpFilter::urg() const { return tcpFlag_.urg(); }
void IpFilter::finIs(bool v) { flagIs(&TcpFlag::finIs, v); }
void IpFilter::synIs(bool v) { flagIs(&TcpFlag::synIs, v); }
void IpFilter::rstIs(bool v) { flagIs(&TcpFlag::rstIs, v); }
void IpFilter::pshIs(bool v) { flagIs(&TcpFlag::pshIs, v); }
void IpFilter::ackIs(bool v) { flagIs(&TcpFlag::ackIs, v); }
void IpFilter::urgIs(bool v) { flagIs(&TcpFlag::urgIs, v); }

void IpFilter::flagIs(void (TcpFlag::*set)(bool), bool v) {
  (tcpFlag_.*set)(v);
  tcpFlagDoEmbeddedWriteConstraints();
}

Kro::String8 IpFilter::toStr() const {
  std::string text = "(sip=";
  text += source_.stringValue().view();
  text += ", dip=";
  text += destination_.stringValue().view();
  text += ", sport=";
  text += sportRange_.stringValue().view();
  text += ", dport=";
  text += dportRange_.stringValue().view();
  Kro::appendInteger(text += ", proto=", std::uint8_t{proto_});
  if (proto_ == Dorix::ipProtoTcp) {
    appendFlags(text, tcpFlag_.value());
  } else if (proto_ == Dorix::ipProtoIcmp || proto_ == Dorix::ipProtoIcmpv6) {
    appendIcmp(text, ", icmpType=", icmpType_);
    appendIcmp(text, ", icmpCode=", icmpCode_);
  }
  if (includeTtl_) {
    Kro::appendInteger(text += ", TTL=", ttl_);
  }
  if (matchDscp_) {
    Kro::appendInteger(text += ", DSCP=", dscp_);
  }
  if (fragments_) {
    text += ", IPFrag";
  }
  return Kro::String8(std::string_view(text += ')'));
}

}  // namespace Vorn
