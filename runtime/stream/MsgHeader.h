// The header of a message, its place on the wire, and the tokens around a payload.
#pragma once

#include <cstdint>
#include <limits>

#include "runtime/core/AttributeId.h"
#include "runtime/stream/ByteConnection.h"
#include "runtime/stream/EntityId.h"

namespace Kro {

/// What every kind of stream names; no connection. That between two ends is `NboAttrLog::Connection`.
namespace Connection {

/// An output stream.
class VORNACL_API Out : public PtrInterface {
 public:
  /// Brackets the payload of a message.
  enum class TransactToken : std::uint8_t { begin = 1, end = 3 };
  ~Out() override;
};

}  // namespace Connection

namespace NboAttrLog {

/// The six header fields of a message. A negated attribute id announces a removal.
struct MsgHeader {
  EntityId entityId;
  AttributeId attributeId = 0;
  bool firstFlag = false;   ///< the payload carries its own structure: its size follows from no header field
  std::uint8_t size = 0;    ///< size in bytes of a scalar payload, 0 where `firstFlag` is set
  std::uint16_t code = 0;   ///< `childCreationCode` where a child is created
  bool secondFlag = false;  ///< always false

  friend bool operator==(MsgHeader const&, MsgHeader const&) = default;
};

inline constexpr std::uint16_t childCreationCode = 151;
inline constexpr AttributeId rootCreationAttributeId = 136;
inline constexpr AttributeId syncModeAttributeId = 135;
inline constexpr AttributeId attributeListId = 144;

/// The attribute that a message is about, whether it sets or removes. Of the lowest number there is no such thing, so
/// it stays what it is: an attribute that nobody has.
constexpr AttributeId attributeOf(AttributeId id) {
  return id < 0 && id != std::numeric_limits<AttributeId>::min() ? -id : id;
}

/// What a message is: about an attribute, a transaction marker, or a word between two connections.
enum class MsgKind : std::uint8_t { attribute = 0, marker = 1, applied = 2, complete = 3 };

/// A message header as it stands on the wire, 18 bytes in network order:
///
///      0               4                               12              16  17  18
///     +---------------+-------------------------------+---------------+---+---+
///     | payload bytes | entity id                     | attribute id  | F | C |
///     +---------------+-------------------------------+---------------+---+---+
///
/// F: bit 0 first flag, bit 1 second flag, bits 2 to 3 kind, bits 4 to 7 size; C: code.
struct WireHeader {
  static constexpr std::size_t size = 18;

  std::uint32_t payloadLength = 0;
  MsgKind kind = MsgKind::attribute;
  MsgHeader header;

  /// Writes the header to `to`, which has room for `size` bytes.
  void put(std::uint8_t* to) const {
    to = storeBigEndian(to, payloadLength);
    to = storeBigEndian(to, header.entityId.value);
    to = storeBigEndian(to, static_cast<std::uint32_t>(header.attributeId));
    *to++ = static_cast<std::uint8_t>((header.firstFlag ? 1U : 0U) | (header.secondFlag ? 2U : 0U) |
                                      (static_cast<unsigned>(kind) << 2U) | (static_cast<unsigned>(header.size) << 4U));
    *to = static_cast<std::uint8_t>(header.code);
  }
  /// Reads a header from `size` bytes.
  static WireHeader get(std::uint8_t const* from) {
    WireHeader h;
    h.payloadLength = loadBigEndian<std::uint32_t>(from);
    h.header.entityId.value = loadBigEndian<std::uint64_t>(from + 4);
    h.header.attributeId = static_cast<AttributeId>(loadBigEndian<std::uint32_t>(from + 12));
    std::uint8_t const flags = from[16];
    h.header.firstFlag = (flags & 1U) != 0;
    h.header.secondFlag = (flags & 2U) != 0;
    h.kind = static_cast<MsgKind>((flags >> 2U) & 3U);
    h.header.size = static_cast<std::uint8_t>(flags >> 4U);
    h.header.code = from[17];
    return h;
  }
};

}  // namespace NboAttrLog
}  // namespace Kro
