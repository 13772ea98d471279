// SPDX-License-Identifier: Apache-2.0
// Tells an agent's developer what went wrong when an agent does not write one
// notification at a time: one receive is relayed as one notification, however it
// was written (docs/protocol-agentx.md).
#ifndef TVUREV_DAEMON_AGENT_FRAMING_H_
#define TVUREV_DAEMON_AGENT_FRAMING_H_

#include <cstdint>
#include <span>

// Logs a limited complaint when bytes follow the notification that begins what was
// received, or when not even its header came. A notification whose bindings did
// not all come is the decoder's complaint.
void check_framing(std::span<const uint8_t> received);

#endif  // TVUREV_DAEMON_AGENT_FRAMING_H_
