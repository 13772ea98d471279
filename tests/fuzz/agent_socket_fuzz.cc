// SPDX-License-Identifier: Apache-2.0
// A host agent's stream, as the pieces in which it is received.
//
// Input: the debug switches; then the pieces, each a 16-bit length and its bytes
// (FakeHost::receive). A length of 0 or the end of the input ends the stream.
#include <poll.h>

#include <string>

#include "daemon/agent_socket.h"
#include "daemon/reverse_proxy.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"
#include "tests/fuzz/traps.h"

namespace {

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  receive_traps();
  const int client = host.open_descriptor(FakeHost::Kind::kAgent);
  poll_fds[0] = {.fd = client, .events = POLLIN, .revents = 0};
  while (poll_fds[0].events != 0) {
    const size_t traps_before = host.datagrams.size();
    const int result = proxy_ortd_trap(client);
    require(result == 0, "a piece is relayed or dropped");
    require(host.datagrams.size() <= traps_before + 1, "one piece is one trap at most");
  }
  require_good_traps(host);
  require(host.open_descriptors() == 1, "the client stays, and nothing else");
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
