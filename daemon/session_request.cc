#include "daemon/session_request.h"

#include "bmc/chif.h"
#include "daemon/packet_dump.h"

void build_long_request(std::span<uint8_t> packet, uint16_t seqno, uint16_t subcommand,
                        uint32_t parameter) {
  put_chif_header(packet, kLongRequestSize, seqno, kCmdHello, kSvcProxy);
  put_u16(packet, kChifErrcode, subcommand);
  put_u32(packet, kChifAgentxRespLen, parameter);
  dump_chif(packet);
}

void build_short_request(std::span<uint8_t> packet, uint16_t seqno, uint16_t subcommand,
                         uint16_t value) {
  put_chif_header(packet, kShortRequestSize, seqno, kCmdHelloShort, kSvcProxy);
  put_u16(packet, kChifErrcode, subcommand);
  put_u16(packet, kChifValue, value);
  dump_chif(packet);
}
