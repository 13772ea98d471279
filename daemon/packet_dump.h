// SPDX-License-Identifier: Apache-2.0
// Dumps of packets to the system log, for debugging. All lines go through
// DaemonDebug, so they also need the daemon debug flag. Buffers shorter than
// the fields read as zeros.
#ifndef TVUREV_DAEMON_PACKET_DUMP_H_
#define TVUREV_DAEMON_PACKET_DUMP_H_

#include <cstdint>
#include <span>

// Dumps a CHIF header when the CHIF dump flag is set.
void dump_chif(std::span<const uint8_t> packet);

// Dumps an AgentX header when the AgentX dump flag is set.
void dump_agentx(std::span<const uint8_t> packet);

// Dumps any bytes in hexadecimal, 16 a line.
void dump_raw(std::span<const uint8_t> buffer);

#endif  // TVUREV_DAEMON_PACKET_DUMP_H_
