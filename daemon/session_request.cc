// SPDX-License-Identifier: Apache-2.0
#include "daemon/session_request.h"

#include "daemon/packet_dump.h"
#include "wire/chif.h"

void build_long_request(std::span<uint8_t> packet, uint16_t seqno, uint16_t subcommand,
                        uint32_t parameter) {
  chif::put_header(packet, chif::session_request::kLongSize, seqno, chif::kCmdHello,
                   chif::kSvcProxy);
  put_u16(packet, chif::session_request::kSubcommand, subcommand);
  put_u32(packet, chif::session_request::kParameter, parameter);
  dump_chif(packet);  // here, so that no request is ever sent undumped
}

void build_short_request(std::span<uint8_t> packet, uint16_t seqno, uint16_t subcommand,
                         uint16_t value) {
  chif::put_header(packet, chif::session_request::kShortSize, seqno, chif::kCmdHelloShort,
                   chif::kSvcProxy);
  put_u16(packet, chif::session_request::kSubcommand, subcommand);
  put_u16(packet, chif::session_request::kValue, value);
  dump_chif(packet);
}
