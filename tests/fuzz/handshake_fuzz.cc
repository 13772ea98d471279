// SPDX-License-Identifier: Apache-2.0
// The BMC's replies to hello, connect and goodbye.
//
// Input: the debug switches; how often the device is busy, and whether a write
// fails then; the running number; then what the polls and reads of the channel
// give (FakeHost::poll_channel, read_channel).
#include <cerrno>
#include <string>

#include "daemon/handshake.h"
#include "daemon/reverse_proxy.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"

namespace {

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  const uint8_t writes = input.byte();
  host.busy_writes = writes & 0x3F;
  host.write_error = (writes & 0x40) != 0 ? EIO : 0;
  chif_seqno = input.word() * uint32_t{3};
  const uint32_t number = chif_seqno;
  const bool long_form = (writes & 0x80) != 0;

  const int channel = host.open_descriptor(FakeHost::Kind::kChannel);
  const int hello = do_hello_rev(channel);
  require(hello == 0 || hello == -1, "a hello succeeds or fails");
  require(chif_seqno == number + 1, "a hello takes one number");
  const int connected = do_connect_rev(channel, connect_param);
  require(connected == 0 || connected == -1, "a connect succeeds or fails");
  require(host.open_descriptors() == 1, "the channel stays open");
  const int bye = go_bye(channel, long_form ? 1 : 0);
  require(bye == 0 || bye == -1, "a goodbye succeeds or fails");
  require(host.open_descriptors() == 0, "a goodbye closes the channel");
  const bool failed = hello != 0 || connected != 0 || bye != 0;
  require(!failed || host.log_holds(3, "Failed") || host.log_holds(3, "go_bye"),
          "a failure is told");
  host.tell(std::to_string(hello) + std::to_string(connected) + std::to_string(bye));
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
