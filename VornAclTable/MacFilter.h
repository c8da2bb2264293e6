// The match part of a MAC rule.
#pragma once

#include "Vorn/Names.h"
#include "platform/Dorix/EthAddr.h"

namespace Vorn {

/// What a MAC rule matches: source and destination Ethernet address, each with a mask, and a protocol value (an
/// EtherType of IEEE 802.3, or `protoAll`). It only describes; matching is done by the users of the model.
class VORNACL_API MacFilter : public Kro::Value<MacFilter> {
 public:
  /// The `proto` that stands for any protocol; prints as "ANY".
  static constexpr std::uint32_t protoAll = 0xffffffff;

  MacFilter() = default;
  MacFilter(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }
  MacFilter(Kro::NboAttrLog::In* in, Kro::StreamBogon) { readLog(*in); }

  Dorix::EthAddr sourceAddr() const { return sourceAddr_; }
  void sourceAddrIs(Dorix::EthAddr const& v) { sourceAddr_ = v; }

  Dorix::EthAddr sourceMask() const { return sourceMask_; }
  void sourceMaskIs(Dorix::EthAddr const& v) { sourceMask_ = v; }

  Dorix::EthAddr destinationAddr() const { return destinationAddr_; }
  void destinationAddrIs(Dorix::EthAddr const& v) { destinationAddr_ = v; }

  Dorix::EthAddr destinationMask() const { return destinationMask_; }
  void destinationMaskIs(Dorix::EthAddr const& v) { destinationMask_ = v; }

  std::uint32_t proto() const { return proto_; }
  void protoIs(std::uint32_t v) { proto_ = v; }

  /// The text people read: "(src=..., srcMask=..., dst=..., dstMask=..., proto=ANY)".
  Kro::String8 toStr() const;
  bool operator==(MacFilter const&) const = default;

  struct Attributes;

 private:
  Dorix::EthAddr sourceAddr_;
  Dorix::EthAddr sourceMask_;
  Dorix::EthAddr destinationAddr_;
  Dorix::EthAddr destinationMask_;
  std::uint32_t proto_ = protoAll;
};

struct MacFilter::Attributes {
  using T = MacFilter;
  static constexpr std::string_view typeName = "Vorn::MacFilter";
  static constexpr auto all = std::tuple{
      Kro::stored(2, "sourceAddr", &T::sourceAddr_, &T::sourceAddrIs),
      Kro::stored(3, "sourceMask", &T::sourceMask_, &T::sourceMaskIs),
      Kro::stored(4, "destinationAddr", &T::destinationAddr_, &T::destinationAddrIs),
      Kro::stored(5, "destinationMask", &T::destinationMask_, &T::destinationMaskIs),
      Kro::stored(6, "proto", &T::proto_, &T::protoIs),
      Kro::constant(7, "protoAll", T::protoAll),
      Kro::function(8, "toStr", &T::toStr),
      Kro::function(9, "hash", &T::hash),
  };
};

}  // namespace Vorn
