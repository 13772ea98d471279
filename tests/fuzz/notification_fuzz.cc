// SPDX-License-Identifier: Apache-2.0
// An AgentX PDU through the decoder, and as a trap to the receivers.
//
// Input: the debug switches, then the PDU.
#include <cstring>
#include <string>
#include <vector>

#include "base/text.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"
#include "tests/fuzz/traps.h"
#include "trap/agentx.h"
#include "trap/trap_sender.h"
#include "wire/agentx.h"

namespace {

bool is_terminated(const OidText& text) {
  return memchr(text.data(), 0, text.size()) != nullptr;
}

void require_good(const Notification& notification, size_t pdu_size) {
  // Eight bytes are the shortest binding. The walk goes on in the zeros behind the
  // PDU, where a binding of an unknown type advances by the one before it.
  constexpr size_t kShortestBinding = 8;
  require(is_terminated(notification.trapOid), "the trap's name ends");
  require(notification.reset_seen == holds(notification.trapOid.data(), "6061"),
          "6061 in the trap's name is a reset");
  require(notification.vbs.size() <= agentx::kNotificationMax / kShortestBinding,
          "there are no more bindings than fit a notification");
  for (const Snmp_pp::Vb& binding : notification.vbs) {
    require(binding.valid(), "a binding has a name and a value");
  }
  require(pdu_size > 0 || notification.vbs.empty(), "nothing becomes no binding");
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  receive_traps();
  const std::span<const uint8_t> rest = input.rest();
  // A block of its own size: a read behind its end is seen.
  const std::vector<uint8_t> pdu(rest.begin(), rest.end());
  const Notification notification = decode_notification(pdu);
  require_good(notification, pdu.size());
  const int result = send_trap_to_host(pdu);
  require(result == static_cast<int>(notification.reset_seen), "a reset is the only other result");
  require(host.datagrams.size() <= 1, "a notification is one trap at most");
  require(host.datagrams.size() == 1 || host.log_holds(3, ""), "a trap that is not sent is told");
  require_good_traps(host);
  require(host.open_descriptors() == 0, "no socket stays open");
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
