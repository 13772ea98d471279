// SPDX-License-Identifier: Apache-2.0
#include "daemon/agent_framing.h"

#include <cstddef>

#include "log/complaints.h"
#include "wire/agentx.h"
#include "wire/little_endian.h"

namespace {

Complaint g_bytes_behind = {.about = "proxy_ortd_trap(): bytes behind notifications"};
Complaint g_no_header = {.about = "proxy_ortd_trap(): pieces shorter than a header"};

}  // namespace

void check_framing(std::span<const uint8_t> received) {
  if (received.size() < agentx::header::kSize) {
    complain(g_no_header,
             "proxy_ortd_trap(): %zu bytes are only a piece of a notification, whose header has "
             "%zu.\n",
             received.size(), agentx::header::kSize);
    return;
  }
  const uint64_t length =
      agentx::header::kSize + uint64_t{get_u32(received, agentx::header::kPayloadLength)};
  if (received.size() > length) {
    complain(g_bytes_behind,
             "proxy_ortd_trap(): %zu bytes behind a notification of %zu were received with it "
             "and are dropped. Write the next one when the last one has been read.\n",
             received.size() - static_cast<size_t>(length), static_cast<size_t>(length));
  }
}
