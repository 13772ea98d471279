// The CHIF packet: what travels between host and BMC, one packet a device write
// or read. docs/protocol-chif.md shows the bytes. Every field is little-endian.
// Nothing here has effects.
#ifndef TVUREV_BMC_CHIF_H_
#define TVUREV_BMC_CHIF_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "wire/little_endian.h"

// Sizes in bytes.
inline constexpr size_t kChifPacketMax = 4096;        // one device read
inline constexpr size_t kChifHeaderSize = 8;          // pktsize, seqno, cmdno, svc
inline constexpr size_t kChifSessionHeaderSize = 16;  // + errcode, agentx_resp_len
inline constexpr size_t kChifAgentxMax = kChifPacketMax - kChifSessionHeaderSize;  // 4080
inline constexpr size_t kChifReplyMax = 4084;  // what a handshake reads at most

// Byte offsets of the header, and of the body of session messages.
inline constexpr size_t kChifPktsize = 0;         // u16, whole packet
inline constexpr size_t kChifSeqno = 2;           // u16
inline constexpr size_t kChifCmdno = 4;           // u16
inline constexpr size_t kChifSvc = 6;             // u16
inline constexpr size_t kChifErrcode = 8;         // u32; u16 subcommand in requests
inline constexpr size_t kChifValue = 10;          // u16, second half of errcode
inline constexpr size_t kChifAgentxRespLen = 12;  // u32; parameter, delay, idx and more
inline constexpr size_t kChifIdx = 12;            // u16, handshake replies
inline constexpr size_t kChifMore = 14;           // u16, handshake replies
inline constexpr size_t kChifPayload = 16;

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

// Tells getResponse() to send the caller's header unchanged.
inline constexpr uint16_t kCmdKeepHeader = 0xFF;

// Service codes (svc).
inline constexpr uint16_t kSvcUtility = 0;
inline constexpr uint16_t kSvcKcs = 1;
inline constexpr uint16_t kSvcProxy = 0x000D;

// seqno of every utility query.
inline constexpr uint16_t kSeqnoUtility = 0xDEAD;

// Subcommands of the session messages kCmdHello and kCmdHelloShort.
inline constexpr uint16_t kSubHello = 1;    // TVU_HELLO
inline constexpr uint16_t kSubBye = 2;      // SNMP_HELLO_BYE
inline constexpr uint16_t kSubConnect = 3;  // TVU_HELLO_CONNECT

// Writes the four header fields.
constexpr void put_chif_header(std::span<uint8_t> packet, uint16_t pktsize, uint16_t seqno,
                               uint16_t cmdno, uint16_t svc) {
  put_u16(packet, kChifPktsize, pktsize);
  put_u16(packet, kChifSeqno, seqno);
  put_u16(packet, kChifCmdno, cmdno);
  put_u16(packet, kChifSvc, svc);
}

#endif  // TVUREV_BMC_CHIF_H_
