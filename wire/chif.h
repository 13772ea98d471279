// SPDX-License-Identifier: Apache-2.0
// The CHIF packet: what travels between host and BMC, one packet a device write
// or read. docs/protocol-chif.md shows the bytes. Every field is little-endian;
// offsets count from the packet's first byte. Each message has a name space of
// its own, and each of its fields one name there. Nothing here has effects.
#ifndef TVUREV_WIRE_CHIF_H_
#define TVUREV_WIRE_CHIF_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "wire/little_endian.h"

namespace chif {

// Bytes that one device read can give.
inline constexpr size_t kPacketMax = 4096;

// Every packet begins with these.
namespace header {
inline constexpr size_t kPktsize = 0;  // u16: length of the whole packet
inline constexpr size_t kSeqno = 2;    // u16
inline constexpr size_t kCmdno = 4;    // u16
inline constexpr size_t kSvc = 6;      // u16
inline constexpr size_t kSize = 8;
}  // namespace header

// Command codes (cmdno). A response carries its request's code with bit 15 set;
// receivers compare exact values, no mask.
inline constexpr uint16_t kCmdKcs = 0x0000;
inline constexpr uint16_t kCmdMoxStatus = 0x0002;
inline constexpr uint16_t kCmdIpv4Address = 0x0032;
inline constexpr uint16_t kCmdIpv6Address = 0x0120;
inline constexpr uint16_t kCmdHelloShort = 0x0093;
inline constexpr uint16_t kCmdHello = 0x0193;
inline constexpr uint16_t kCmdHelloShortResponse = 0x8093;
inline constexpr uint16_t kCmdHelloResponse = 0x8193;
inline constexpr uint16_t kCmdStatus = 0x0094;
inline constexpr uint16_t kCmdStatusShortResponse = 0x8094;
inline constexpr uint16_t kCmdStatusResponse = 0x8194;
inline constexpr uint16_t kCmdImlLog = 0x0095;
inline constexpr uint16_t kCmdImlLogAck = 0x8095;
inline constexpr uint16_t kCmdShutdown = 0x0195;
inline constexpr uint16_t kCmdShutdownAck = 0x8195;
inline constexpr uint16_t kResponseBit = 0x8000;

// Service codes (svc).
inline constexpr uint16_t kSvcUtility = 0;
inline constexpr uint16_t kSvcKcs = 1;
inline constexpr uint16_t kSvcProxy = 0x000D;

// seqno of every utility query.
inline constexpr uint16_t kSeqnoUtility = 0xDEAD;

// Hello, connect and goodbye: kCmdHello in its long form; goodbye also as
// kCmdHelloShort.
namespace session_request {
inline constexpr size_t kSubcommand = 8;  // u16, the three values below
inline constexpr size_t kValue = 10;      // u16, short form only
inline constexpr size_t kParameter = 12;  // u32, long form only
inline constexpr size_t kLongSize = 16;
inline constexpr size_t kShortSize = 12;

inline constexpr uint16_t kHello = 1;    // TVU_HELLO
inline constexpr uint16_t kBye = 2;      // SNMP_HELLO_BYE
inline constexpr uint16_t kConnect = 3;  // TVU_HELLO_CONNECT
}  // namespace session_request

// The BMC's reply to one of them.
namespace session_reply {
inline constexpr size_t kErrcode = 8;  // u32
inline constexpr size_t kIdx = 12;     // u16
inline constexpr size_t kMore = 14;    // u16: not 0 when more replies follow
inline constexpr size_t kMax = 4084;   // what a handshake reads at most
}  // namespace session_reply

// What the BMC sends by itself on a connected channel: a notification for the
// host, or a status packet, which has the same fields.
namespace notification {
inline constexpr size_t kErrcode = 8;                 // u32: a status packet's error number
inline constexpr size_t kAgentxRespLen = 12;          // u32: length of the PDU
inline constexpr size_t kPdu = 16;                    // an AgentX PDU (wire/agentx.h)
inline constexpr size_t kPduMax = kPacketMax - kPdu;  // 4080
}  // namespace notification

// kCmdImlLog: a text for the host's log.
namespace log_text {
inline constexpr size_t kLength = 8;  // u16: of the text
inline constexpr size_t kText = 16;   // not terminated
}  // namespace log_text
namespace log_ack {
inline constexpr size_t kSize = 16;  // zeros behind the header
}  // namespace log_ack

// kCmdShutdown: power off, reboot, or abort of such a request.
namespace shutdown {
inline constexpr size_t kAction = 8;   // u32
inline constexpr size_t kDelay = 12;   // i32, seconds
inline constexpr size_t kReason = 16;  // text, not always terminated

// kAction: 0, or these bits; kReboot wins.
inline constexpr uint32_t kPowerOff = 0;
inline constexpr uint32_t kReboot = 1;
inline constexpr uint32_t kAbort = 2;
}  // namespace shutdown
namespace shutdown_ack {
inline constexpr size_t kZeros = 8;  // u32
inline constexpr size_t kSize = 12;
}  // namespace shutdown_ack

// The packet behind the largest header of a message from the BMC: what is not
// longer than this is no message.
inline constexpr size_t kBodyStart = 16;

// The response to kCmdMoxStatus.
namespace mox_status {
inline constexpr size_t kFirmwareVersion = 16;  // u16: major in the high byte, minor
inline constexpr size_t kFirmwareDate = 18;     // u32: see below
inline constexpr size_t kApplication = 71;      // i8: the BMC's generation
inline constexpr size_t kSize = 100;            // what is read of it

// kFirmwareDate, from its highest bit: 6 bits year less 1990, 4 month, 5 day.
inline constexpr unsigned kYearShift = 26;
inline constexpr unsigned kMonthShift = 22;
inline constexpr unsigned kDayShift = 17;
inline constexpr uint32_t kMonthMask = 0xF;
inline constexpr uint32_t kDayMask = 0x1F;
inline constexpr uint32_t kFirstYear = 1990;
}  // namespace mox_status

// The response to kCmdIpv4Address.
namespace ipv4_address {
inline constexpr size_t kLastOctet = 32;  // four octets, stored backwards
inline constexpr size_t kSize = 276;
}  // namespace ipv4_address

// The response to kCmdIpv6Address.
namespace ipv6_address {
inline constexpr size_t kError = 8;     // u32: not 0 for no data
inline constexpr size_t kOptions = 12;  // u32, the two bits below
inline constexpr size_t kEntries = 12;  // entries that follow
inline constexpr size_t kEntrySize = 20;
inline constexpr size_t kFirstAddress = 20;  // 16 octets, network order
inline constexpr size_t kFirstState = 38;    // u8
inline constexpr size_t kSize = 512;

inline constexpr uint32_t kIpv6Enabled = 1;
inline constexpr uint32_t kIpv4Enabled = 2;
inline constexpr uint8_t kStateUsable = 0;
}  // namespace ipv6_address

// Writes the four header fields.
constexpr void put_header(std::span<uint8_t> packet, size_t pktsize, uint16_t seqno, uint16_t cmdno,
                          uint16_t svc) {
  put_u16(packet, header::kPktsize, static_cast<uint16_t>(pktsize));
  put_u16(packet, header::kSeqno, seqno);
  put_u16(packet, header::kCmdno, cmdno);
  put_u16(packet, header::kSvc, svc);
}

}  // namespace chif

#endif  // TVUREV_WIRE_CHIF_H_
