// SPDX-License-Identifier: Apache-2.0
#include "tests/bench/agentx_client.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <string>
#include <vector>

#include "tests/bench/stations.h"
#include "wire/agentx.h"
#include "wire/little_endian.h"

namespace {

constexpr uint8_t kOpen = 1;
constexpr uint8_t kResponse = 18;
constexpr size_t kOpenSize = 12;
constexpr size_t kErrorOffset = 4;  // behind the master's time stamp

// Exactly so many bytes.
std::vector<uint8_t> receive_bytes(int fd, size_t count) {
  std::vector<uint8_t> bytes(count);
  const ssize_t received = count == 0 ? 0 : recv(fd, bytes.data(), count, MSG_WAITALL);
  if (received != static_cast<ssize_t>(count)) {
    fail_with_errno("the AgentX master does not answer");
  }
  return bytes;
}

}  // namespace

uint32_t open_agentx_session(int fd, const std::function<void()>& meanwhile) {
  // Timeout, an empty identifier and an empty description.
  std::array<uint8_t, agentx::header::kSize + kOpenSize> open = {1, kOpen};
  put_u32(open, agentx::header::kPacketId, 1);
  put_u32(open, agentx::header::kPayloadLength, kOpenSize);
  if (send(fd, open.data(), open.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(open.size())) {
    fail_with_errno("the AgentX master takes nothing");
  }
  pollfd answer = {fd, POLLIN, 0};
  for (int look = 0; look < 1000 && poll(&answer, 1, 10) == 0; ++look) {
    meanwhile();
  }
  return receive_agentx_response(fd);
}

uint32_t receive_agentx_response(int fd) {
  const std::vector<uint8_t> header = receive_bytes(fd, agentx::header::kSize);
  const std::vector<uint8_t> body =
      receive_bytes(fd, get_u32(header, agentx::header::kPayloadLength));
  if (get_u8(header, agentx::header::kType) != kResponse || get_u16(body, kErrorOffset) != 0) {
    throw MeasurementFailed("the AgentX master answered with error " +
                            std::to_string(get_u16(body, kErrorOffset)));
  }
  return get_u32(header, agentx::header::kSessionId);
}
