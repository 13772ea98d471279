// SPDX-License-Identifier: Apache-2.0
#include "ctl/view.h"

#include <unistd.h>

#include <algorithm>

#include "wire/host_files.h"

namespace {

std::optional<pid_t> first_of(const View& view, ProcessKind kind,
                              const std::optional<StateFile>& state) {
  if (!view.processes.visible) {
    return state ? std::optional(state->pid) : std::nullopt;
  }
  const std::vector<DaemonProcess> some = view.processes.of(kind);
  const auto named = std::ranges::find_if(
      some, [&](const DaemonProcess& process) { return state && process.pid == state->pid; });
  if (named != some.end()) {
    return named->pid;
  }
  // One whose first process lives still before one that was left behind.
  const auto own = std::ranges::find(some, false, &DaemonProcess::orphaned);
  return own == some.end() ? std::nullopt : std::optional(own->pid);
}

bool is(const std::optional<StateFile>& state, BmcState what) {
  return state && state->state == name_of(what);
}

}  // namespace

std::optional<pid_t> View::main() const {
  return first_of(*this, ProcessKind::kMain, bmc);
}

std::optional<pid_t> View::relay() const {
  return first_of(*this, ProcessKind::kRelay, agent);
}

const DaemonProcess* View::process(pid_t pid) const {
  const auto found = std::ranges::find(processes.all, pid, &DaemonProcess::pid);
  return found == processes.all.end() ? nullptr : &*found;
}

// Without a state file, whether it has made its socket proxy.
bool View::past_gates() const {
  if (!main()) {
    return false;
  }
  if (!bmc) {
    return relay().has_value();
  }
  return is(bmc, BmcState::kUnconnected) || is(bmc, BmcState::kGreeting) || connected();
}

bool View::waits() const {
  return is(bmc, BmcState::kWaitsForMode) || is(bmc, BmcState::kWaitsForSnmp);
}

bool View::connected() const {
  return is(bmc, BmcState::kConnected);
}

time_t View::since() const {
  const std::optional<pid_t> pid = main();
  if (bmc && pid == bmc->pid) {
    return bmc->since;
  }
  const DaemonProcess* found = pid ? process(*pid) : nullptr;
  return found == nullptr ? 0 : found->since;
}

View look_around() {
  View view;
  view.root = geteuid() == 0;
  view.processes = find_daemon_processes();
  view.bmc = read_state_file(host_files::kBmcState, view.processes);
  view.agent = read_state_file(host_files::kAgentState, view.processes);
  view.supervisor = read_supervisor();
  return view;
}

std::string describe_bmc(const View& view) {
  if (!view.bmc) {
    return "it has written down no state";
  }
  if (view.connected()) {
    return "connected to the BMC on channel " + std::to_string(view.bmc->channel);
  }
  if (is(view.bmc, BmcState::kStarting)) {
    return "passing its gates";
  }
  if (is(view.bmc, BmcState::kWaitsForMode)) {
    return "waiting for a restart, reverse mode was off";
  }
  if (is(view.bmc, BmcState::kWaitsForSnmp)) {
    return "waiting for a restart, the host's SNMP agent was off";
  }
  if (is(view.bmc, BmcState::kGreeting)) {
    return "greeting the BMC on channel " + std::to_string(view.bmc->channel);
  }
  return "looking for a free channel, or pausing before it";
}

std::string describe_agent(const View& view) {
  if (!view.agent) {
    return "has written down no state";
  }
  if (view.agent->agent) {
    return "serves a host agent";
  }
  return view.agent->state == name_of(AgentState::kPausing)
             ? "pauses after a host agent has hung up"
             : "waits for a host agent";
}

std::string list_text(const std::vector<std::string>& words) {
  std::string text;
  for (size_t i = 0; i < words.size(); ++i) {
    text += i == 0 ? "" : (i + 1 == words.size() ? " and " : ", ");
    text += words[i];
  }
  return text;
}
