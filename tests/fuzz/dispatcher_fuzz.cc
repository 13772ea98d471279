// SPDX-License-Identifier: Apache-2.0
// Packets of the BMC through bmc_recv.
//
// Input: the debug switches; 1 for a host whose SNMP is on; how often the device
// is busy; then what the reads of the channel give (FakeHost::read_channel).
#include <cerrno>
#include <string>

#include "daemon/bmc_dispatch.h"
#include "daemon/reverse_proxy.h"
#include "daemon/shutdown_action.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"
#include "tests/fuzz/traps.h"
#include "trap/host_snmp.h"

namespace {

void forget_earlier_packets() {
  receive_traps();
  chif_seqno = 0;
  shutdown_timer_pid = 0;
  shutdown_aborted = 0;
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  forget_earlier_packets();
  snmp_enabled_flag = input.byte() & 1;
  host.busy_writes = input.byte();
  const int channel = host.open_descriptor(FakeHost::Kind::kChannel);
  while (!input.empty()) {
    const size_t traps_before = host.datagrams.size();
    const int result = bmc_recv(channel);
    require(result == 0 || result == 1, "a packet is handled, or announces a reset");
    require(snmp_enabled_flag == 1 || result == 0, "nothing is relayed while SNMP is off");
    require(host.datagrams.size() <= traps_before + 1, "one packet is one trap at most");
    host.tell(std::to_string(result) + " errno " + std::to_string(errno));
  }
  require_good_traps(host);
  require(host.open_descriptors() == 1, "the channel stays open, and nothing else");
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
