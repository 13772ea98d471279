// SPDX-License-Identifier: Apache-2.0
#include "daemon/packet_dump.h"

#include <array>
#include <cstdio>

#include "log/debug_flags.h"
#include "log/log.h"
#include "wire/agentx.h"
#include "wire/chif.h"

namespace {

constexpr size_t kBytesPerLine = 16;  // the width of dump_line's one format

void dump_line(std::span<const uint8_t> b) {
  DaemonDebug(
      "%02x %02x %02x %02x  %02x %02x %02x %02x  %02x %02x %02x %02x  %02x %02x %02x %02x\n", b[0],
      b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14],
      b[15]);
}

void dump_rest(std::span<const uint8_t> bytes) {
  std::array<char, 256> line = {};
  size_t length = 0;
  for (const uint8_t byte : bytes) {
    length +=
        static_cast<size_t>(snprintf(line.data() + length, line.size() - length, "%02x ", byte));
  }
  DaemonDebug("%s\n", line.data());
}

}  // namespace

void dump_chif(std::span<const uint8_t> packet) {
  if (g_chif_dump_flag == 0) {
    return;
  }
  const int pktsize = get_u16(packet, chif::header::kPktsize);
  DaemonDebug("CHIF:\n");
  DaemonDebug(" pktsize = %d, seqno = %d, cmdno = %x, svc = %x\n", pktsize,
              get_u16(packet, chif::header::kSeqno), get_u16(packet, chif::header::kCmdno),
              get_u16(packet, chif::header::kSvc));
  DaemonDebug(" errcode = %d, pktsize = %d, agentx_resp_len = %d\n",
              static_cast<int>(get_u32(packet, chif::notification::kErrcode)), pktsize,
              static_cast<int>(get_u32(packet, chif::notification::kAgentxRespLen)));
}

void dump_agentx(std::span<const uint8_t> packet) {
  if (g_agentx_dump_flag == 0) {
    return;
  }
  DaemonDebug("dump_agentx()\n");
  DaemonDebug(
      "AgentX: version = %d type = %d flags = %d payload_length = %d\n"
      "sessionID=%8x transactionID = %8x packetID = %8x\n",
      get_u8(packet, agentx::header::kVersion), get_u8(packet, agentx::header::kType),
      get_u8(packet, agentx::header::kFlags),
      static_cast<int>(get_u32(packet, agentx::header::kPayloadLength)),
      get_u32(packet, agentx::header::kSessionId), get_u32(packet, agentx::header::kTransactionId),
      get_u32(packet, agentx::header::kPacketId));
}

void dump_raw(std::span<const uint8_t> buffer) {
  const size_t rest = buffer.size() % kBytesPerLine;
  const size_t full = buffer.size() - rest;
  DaemonDebug("dump_raw(): size of buf is [%d], count1 [%d], count2 [%d]\n",
              static_cast<int>(buffer.size()), static_cast<int>(full), static_cast<int>(rest));
  for (size_t offset = 0; offset < full; offset += kBytesPerLine) {
    dump_line(buffer.subspan(offset, kBytesPerLine));
  }
  if (rest > 0) {
    dump_rest(buffer.subspan(full));
  }
}
