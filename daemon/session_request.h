// SPDX-License-Identifier: Apache-2.0
// Builds the requests of the reverse-proxy session with the BMC. Each builder
// dumps what it built when the CHIF dump flag is set.
#ifndef TVUREV_DAEMON_SESSION_REQUEST_H_
#define TVUREV_DAEMON_SESSION_REQUEST_H_

#include <cstdint>
#include <span>

// Fills a zeroed buffer of at least chif::session_request::kLongSize bytes with command 0x0193.
void build_long_request(std::span<uint8_t> packet, uint16_t seqno, uint16_t subcommand,
                        uint32_t parameter);

// Fills a zeroed buffer of at least kShortSize bytes with command 0x0093.
void build_short_request(std::span<uint8_t> packet, uint16_t seqno, uint16_t subcommand,
                         uint16_t value);

#endif  // TVUREV_DAEMON_SESSION_REQUEST_H_
