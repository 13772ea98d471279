// SPDX-License-Identifier: Apache-2.0
// The AgentX Notify-PDU (RFC 2741) as the BMC and the host's agent send it.
// docs/protocol-agentx.md shows the bytes. Every field is little-endian. Nothing
// here has effects.
#ifndef TVUREV_WIRE_AGENTX_H_
#define TVUREV_WIRE_AGENTX_H_

#include <cstddef>
#include <cstdint>

namespace agentx {

// The largest notification that is looked at, header included.
inline constexpr size_t kNotificationMax = 4096;

// The PDU begins with these.
namespace header {
inline constexpr size_t kVersion = 0;         // u8
inline constexpr size_t kType = 1;            // u8
inline constexpr size_t kFlags = 2;           // u8
inline constexpr size_t kSessionId = 4;       // u32
inline constexpr size_t kTransactionId = 8;   // u32
inline constexpr size_t kPacketId = 12;       // u32
inline constexpr size_t kPayloadLength = 16;  // u32: bytes of bindings that follow
inline constexpr size_t kSize = 20;
}  // namespace header

// header::kType of a notification.
inline constexpr uint8_t kNotify = 12;

// A variable binding; offsets count from its first byte. The name's
// sub-identifiers follow, 32 bits each, and then the value.
namespace binding {
inline constexpr size_t kType = 0;        // u16
inline constexpr size_t kNameSubids = 4;  // u8: number of sub-identifiers
inline constexpr size_t kNamePrefix = 5;  // u8: the arc behind 1.3.6.1
inline constexpr size_t kName = 8;
}  // namespace binding

// An object identifier as a value; offsets count from the value's first byte.
namespace object_id {
inline constexpr size_t kSubids = 0;  // u8
inline constexpr size_t kPrefix = 1;  // u8
inline constexpr size_t kArcs = 4;
}  // namespace object_id

// An octet string, as which addresses and Opaque travel too: its length, then
// its octets, padded to a multiple of 4.
namespace octets {
inline constexpr size_t kLength = 0;  // u32
inline constexpr size_t kOctets = 4;
}  // namespace octets

// Sub-identifiers and all numbers but Counter64; values are padded to it.
inline constexpr size_t kWordSize = 4;

// binding::kType.
namespace type {
inline constexpr uint16_t kInteger = 2;
inline constexpr uint16_t kOctetString = 4;
inline constexpr uint16_t kNull = 5;
inline constexpr uint16_t kObjectIdentifier = 6;
inline constexpr uint16_t kIpAddress = 64;
inline constexpr uint16_t kCounter32 = 65;
inline constexpr uint16_t kGauge32 = 66;
inline constexpr uint16_t kTimeTicks = 67;
inline constexpr uint16_t kOpaque = 68;
inline constexpr uint16_t kCounter64 = 70;
inline constexpr uint16_t kNoSuchObject = 128;
inline constexpr uint16_t kNoSuchInstance = 129;
inline constexpr uint16_t kEndOfMibView = 130;
}  // namespace type

}  // namespace agentx

#endif  // TVUREV_WIRE_AGENTX_H_
