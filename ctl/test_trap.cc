// SPDX-License-Identifier: Apache-2.0
#include "ctl/test_trap.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "base/clock.h"
#include "base/descriptor.h"
#include "ctl/jobs.h"
#include "ctl/settings.h"
#include "ctl/test_notification.h"
#include "ctl/view.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"
#include "trap/receiver_text.h"
#include "trap/trap_sender.h"
#include "wire/host_files.h"

namespace {

constexpr int kSendPatienceMs = 6'000;  // a look-up a receiver, and localcli
constexpr int kReadPatienceMs = 3'000;
constexpr useconds_t kLookUs = 20'000;
constexpr std::string_view kDocumentation = "1.3.6.1.4.1.32473.";

bool is_refused(const TestTrapOptions& options) {
  const char* lab = getenv("TVUREVCTL_LAB");
  return options.oid.empty() && std::string_view(TVUREV_TEST_OID).starts_with(kDocumentation) &&
         (lab == nullptr || strcmp(lab, "1") != 0);
}

uint32_t uptime_ticks() {
  timespec now = {};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return static_cast<uint32_t>(now.tv_sec * 100 + now.tv_nsec / 10'000'000);
}

// Leaves one receiver of those of the settings; an empty name leaves all.
void keep_receiver(const std::string& name) {
  for (size_t i = trap_destinations.size(); i-- > 0 && !name.empty();) {
    if (shown_receiver(trap_destinations[i]) != name) {
      trap_destinations.erase(trap_destinations.begin() + static_cast<std::ptrdiff_t>(i));
      trap_communities.erase(trap_communities.begin() + static_cast<std::ptrdiff_t>(i));
    }
  }
}

// A job: "RECEIVER=ok" or why not, a line each.
std::string send(const std::vector<uint8_t>& packet, const std::string& receiver) {
  if (snmpEnabled() == 0) {
    return "off=1\n";
  }
  keep_receiver(receiver);
  get_host_ipaddress();
  std::array<TrapFate, kDestinationsMax> fates = {};
  send_trap_to_host(packet, fates);
  std::string text;
  for (size_t i = 0; i < trap_destinations.size(); ++i) {
    text += "receiver=" + std::string(shown_receiver(trap_destinations[i])) +
            "\nfate=" + (fates[i].handed_over ? "ok" : fates[i].why.data()) + "\n";
  }
  return text;
}

Outcome& tell_fates(Outcome& outcome, const std::string& lines) {
  const std::vector<std::string> receivers = values_of(lines, "receiver");
  const std::vector<std::string> fates = values_of(lines, "fate");
  size_t sent = 0;
  for (size_t i = 0; i < receivers.size() && i < fates.size(); ++i) {
    const bool well = fates[i] == "ok";
    sent += well ? 1U : 0U;
    outcome.add(receivers[i], "trap", well ? "handed to the network" : "NOT sent: " + fates[i]);
  }
  return outcome.end(sent == receivers.size() && sent > 0 ? kExitDone : kExitNotDone,
                     "The test trap was handed to the network for " + std::to_string(sent) +
                         " of " + std::to_string(receivers.size()) +
                         " receivers. Only their logs tell whether it came.");
}

Outcome& send_directly(Outcome& outcome, const TestTrapOptions& options,
                       const std::vector<uint8_t>& packet) {
  const Settings settings = read_settings();
  if (settings.state == Settings::State::kTooLong) {
    return outcome.end(kExitNotDone,
                       "The settings hold a piece that is too long; \"tvurevctl check\" names it.");
  }
  if (settings.state == Settings::State::kNeedsRoot) {
    return outcome.end(kExitCannotTell, "The host's SNMP settings can be read by root only.");
  }
  const auto is_named = [&](const std::string& destination) {
    return shown_receiver(destination) == options.receiver;
  };
  if (!options.receiver.empty() && std::ranges::none_of(settings.destinations, is_named)) {
    return outcome.end(kExitNotDone, options.receiver +
                                         " is no receiver of the host's SNMP settings: nothing "
                                         "was sent.");
  }
  Job job = start_job(kSendPatienceMs, [&] { return send(packet, options.receiver); });
  finish_jobs({&job});
  if (job.end != Job::End::kAnswered) {
    return outcome.end(kExitNotDone, "Sending did not come to an end within six seconds.");
  }
  if (!value_of(job.text, "off").empty()) {
    return outcome.end(kExitNotDone,
                       "The host's SNMP agent is off in its settings: nothing was sent.");
  }
  return tell_fates(outcome, job.text);
}

// Empty once the socket proxy has read everything, else what went wrong.
std::string hand_over(const std::vector<uint8_t>& packet) {
  const Descriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::string_view(host_files::kAgentSocket).copy(address.sun_path, sizeof address.sun_path - 1);
  if (connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::send(client.get(), packet.data(), packet.size(), MSG_NOSIGNAL) !=
          static_cast<ssize_t>(packet.size())) {
    return std::string(host_files::kAgentSocket) + ": " + strerror(errno);
  }
  const int64_t end = monotonic_ms() + kReadPatienceMs;
  int unread = 1;
  while (ioctl(client.get(), SIOCOUTQ, &unread) == 0 && unread > 0) {
    if (monotonic_ms() > end) {
      return "the daemon does not read it";
    }
    usleep(kLookUs);
  }
  return "";
}

Outcome& send_through_daemon(Outcome& outcome, const std::vector<uint8_t>& packet) {
  const View view = look_around();
  if (view.agent && view.agent->state != name_of(AgentState::kListening)) {
    return outcome.end(kExitNotDone,
                       "A host agent has the agent socket: the test would wait for its end. "
                       "Nothing was sent.");
  }
  outcome.add("agent socket", "note", "no host agent is served for the next 30 seconds");
  const std::string fault = hand_over(packet);
  if (!fault.empty()) {
    return outcome.end(kExitNotDone, "The test notification was not taken: " + fault + ".");
  }
  if (view.agent) {
    for (const std::string& receiver : view.agent->receivers) {
      outcome.add(receiver, "trap", "given to the daemon");
    }
  }
  return outcome.end(
      kExitDone,
      "The test notification was given to the daemon. The host's log tells what became "
      "of it.");
}

}  // namespace

Outcome run_test_trap(const TestTrapOptions& options) {
  Outcome outcome("test-trap");
  const std::string oid = options.oid.empty() ? TVUREV_TEST_OID : options.oid;
  const std::optional<TestOid> parsed = parse_test_oid(oid);
  if (!parsed) {
    return outcome.end(kExitUsage, "\"" + oid + "\" is no object identifier below 1.3.6.1.");
  }
  if (options.through_daemon && !options.receiver.empty()) {
    return outcome.end(kExitUsage,
                       "The daemon sends to all its receivers: give --receiver or "
                       "--through-daemon.");
  }
  if (is_refused(options)) {
    return outcome.end(kExitNotDone,
                       "The test trap's OID " + oid +
                           " is one for documentation: give one of yours with --oid. Nothing was "
                           "sent.");
  }
  const std::vector<uint8_t> packet =
      build_test_notification(*parsed, options.text, uptime_ticks());
  return options.through_daemon ? send_through_daemon(outcome, packet)
                                : send_directly(outcome, options, packet);
}
