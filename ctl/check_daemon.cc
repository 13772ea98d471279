// SPDX-License-Identifier: Apache-2.0
// The daemon's processes, and the marker files that are there for them.

#include <algorithm>
#include <iterator>

#include "base/file.h"
#include "ctl/checking.h"
#include "wire/host_files.h"

namespace {

std::string number(pid_t pid) {
  return std::to_string(pid);
}

// What the supervisor knows of the end of the last one.
std::string end_of_the_last(const Supervisor& supervisor) {
  std::string text;
  if (!supervisor.last_signal.empty() && supervisor.last_signal != "0") {
    text = "; the last one was killed by signal " + supervisor.last_signal;
  } else if (!supervisor.last_exit.empty()) {
    text = "; the last one ended with status " + supervisor.last_exit;
  }
  if (supervisor.runs && supervisor.state == "pausing") {
    text += ", and the supervisor pauses until " + time_text(supervisor.until);
  }
  return text;
}

void check_waiting(Checking& checking, const std::string& process) {
  const StateFile& state = *checking.view.bmc;
  const bool for_mode = state.state == name_of(BmcState::kWaitsForMode);
  checking.findings.add("daemon-waiting",
                        {process, time_text(state.state_since),
                         for_mode ? "reverse mode was off" : "the host's SNMP agent was off"});
}

void check_main(Checking& checking, pid_t pid) {
  const View& view = checking.view;
  const DaemonProcess* process = view.process(pid);
  if (process != nullptr && process->halted) {
    checking.findings.add("daemon-halted", {number(pid)});
  } else if (!view.bmc) {
    checking.findings.add("daemon-state-unknown", {number(pid)});
  } else if (view.waits()) {
    check_waiting(checking, number(pid));
  } else if (view.connected()) {
    checking.findings.add("daemon", {number(pid), time_text(view.since()), describe_bmc(view)});
  } else if (view.past_gates()) {
    checking.findings.add("daemon-not-connected",
                          {number(pid), time_text(view.bmc->state_since), describe_bmc(view)});
  } else {
    checking.findings.add("daemon-starting", {number(pid), time_text(view.since())});
  }
}

void check_how_many(Checking& checking) {
  const std::vector<DaemonProcess> mains = checking.view.processes.of(ProcessKind::kMain);
  if (mains.size() < 2) {
    return;
  }
  std::vector<std::string> numbers;
  std::ranges::transform(mains, std::back_inserter(numbers),
                         [](const DaemonProcess& process) { return number(process.pid); });
  checking.findings.add("daemon-twice", {std::to_string(mains.size()), list_text(numbers)});
}

void check_version(Checking& checking, pid_t pid) {
  const View& view = checking.view;
  const DaemonProcess* process = view.process(pid);
  const std::string version = view.bmc ? view.bmc->version : "";
  if (!version.empty() && version != TVUREV_VERSION) {
    checking.findings.add("daemon-other-version", {version, TVUREV_VERSION});
  } else if (process != nullptr && process->replaced) {
    checking.findings.add("daemon-other-version",
                          {"of a program file that was replaced", TVUREV_VERSION});
  }
}

void check_relay(Checking& checking) {
  const View& view = checking.view;
  for (const DaemonProcess& process : view.processes.of(ProcessKind::kRelay)) {
    if (process.orphaned) {
      checking.findings.add("relay-orphaned", {number(process.pid)});
    }
  }
  const std::optional<pid_t> relay = view.relay();
  if (!relay) {
    if (view.past_gates()) {
      checking.findings.add("relay-missing");
    }
    return;
  }
  const DaemonProcess* process = view.process(*relay);
  if (process != nullptr && process->halted) {
    checking.findings.add("relay-halted", {number(*relay)});
  } else {
    checking.findings.add("relay", {number(*relay), describe_agent(view)});
  }
}

}  // namespace

void check_daemon(Checking& checking) {
  const View& view = checking.view;
  const std::optional<pid_t> pid = view.main();
  if (pid) {
    check_main(checking, *pid);
    check_how_many(checking);
    check_version(checking, *pid);
  } else if (!view.root) {
    checking.findings.add("daemon-unknown", {"others' processes are root's to see"});
  } else {
    checking.findings.add("daemon-not-running", {end_of_the_last(view.supervisor)});
  }
  check_relay(checking);
  for (const DaemonProcess& process : view.processes.of(ProcessKind::kTimer)) {
    checking.findings.add("shutdown-timer", {number(process.pid)});
  }
}

// Who reads what: the BMC loop its stop file while it relays, the socket proxy its
// own while it serves an agent and at the end of its pause, a waiting daemon the
// restart file.
void check_marker_files(Checking& checking) {
  const View& view = checking.view;
  Findings& findings = checking.findings;
  if (exists(host_files::kBmcStop)) {
    findings.add(view.connected() ? "stop-file-pending" : "stop-file-lying",
                 {host_files::kBmcStop, ""});
  }
  if (exists(host_files::kOrtStop)) {
    const bool read = view.agent && view.agent->state != name_of(AgentState::kListening);
    if (read) {
      findings.add("stop-file-pending", {host_files::kOrtStop});
    } else {
      findings.add("stop-file-lying", {host_files::kOrtStop,
                                       view.relay() ? " before the next host agent connects" : ""});
    }
  }
  if (exists(host_files::kRestart)) {
    findings.add(view.waits() ? "stop-file-pending" : "restart-file-lying", {host_files::kRestart});
  }
}
