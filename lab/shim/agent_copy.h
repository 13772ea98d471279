// SPDX-License-Identifier: Apache-2.0
// Copies of what the daemon receives at the agents' socket, for whoever records
// it (lab/capture/agent_capture.h): one datagram a receive, to an abstract name
// of the simulated host's network. Without a listener nothing is sent.
//
// Used inside other programs' processes: keeps no state, leaves errno and the
// results of the program's own calls alone.
#ifndef TVUREV_LAB_SHIM_AGENT_COPY_H_
#define TVUREV_LAB_SHIM_AGENT_COPY_H_

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

// The node that agents connect to.
inline constexpr std::string_view kAgentSocket = "/opt/ortdv/sockets/agentx/tvud";

// Where the copies go.
struct CopyAddress {
  sockaddr_un name = {};
  socklen_t size = 0;
};
inline CopyAddress copy_address() {
  constexpr std::string_view kName = "tvurev-lab-agent-copies";
  CopyAddress address;
  address.name.sun_family = AF_UNIX;
  std::ranges::copy(kName, std::begin(address.name.sun_path) + 1);
  address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + kName.size());
  return address;
}

// Whether a descriptor is the daemon's end of an agent's connection.
bool is_agent_socket(int fd);

// Sends a copy of what one receive gave, behind a record header
// (lab/capture/record_header.h). Waits while the listener has too many unread.
void send_copy(int fd, const void* bytes, size_t length);

#endif  // TVUREV_LAB_SHIM_AGENT_COPY_H_
