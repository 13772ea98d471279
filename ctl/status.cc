// SPDX-License-Identifier: Apache-2.0
// "tvurevctl status".

#include "base/file.h"
#include "ctl/commands.h"
#include "ctl/debug_switches.h"
#include "ctl/masking.h"
#include "ctl/settings.h"
#include "ctl/view.h"
#include "trap/receiver_text.h"
#include "wire/host_files.h"

namespace {

void add_processes(Outcome& outcome, const View& view) {
  const std::optional<pid_t> main = view.main();
  if (main) {
    outcome.add("BMC process", std::to_string(*main),
                describe_bmc(view) + ", since " + time_text(view.since()));
  } else {
    outcome.add("BMC process", "state", view.root ? "does not run" : "not seen: run this as root");
  }
  const std::optional<pid_t> relay = view.relay();
  if (relay) {
    outcome.add(
        "agent process", std::to_string(*relay),
        describe_agent(view) + (view.agent ? ", since " + time_text(view.agent->state_since) : ""));
  } else {
    outcome.add("agent process", "state",
                view.root ? "does not run" : "not seen: run this as root");
  }
  for (const DaemonProcess& process : view.processes.all) {
    if (process.kind == ProcessKind::kTimer) {
      outcome.add("shutdown timer", std::to_string(process.pid),
                  "runs since " + time_text(process.since));
    } else if (process.pid != main && process.pid != relay) {
      outcome.add("another process", std::to_string(process.pid),
                  process.orphaned ? "an agent process of an earlier tvurev"
                                   : "runs since " + time_text(process.since));
    }
  }
}

void add_supervisor(Outcome& outcome, const Supervisor& supervisor) {
  if (!supervisor.runs) {
    outcome.add("supervisor", "state", "does not run");
    return;
  }
  std::string state = supervisor.state;
  if (supervisor.until > 0) {
    state += " until " + time_text(supervisor.until);
  }
  outcome.add("supervisor", std::to_string(supervisor.pid), state);
  outcome.add("supervisor", "starts of tvurev", supervisor.starts);
}

void add_marker_files(Outcome& outcome) {
  for (const char* path : {host_files::kRunning, host_files::kBmcStop, host_files::kOrtStop,
                           host_files::kRestart, host_files::kBmcStatus}) {
    if (exists(path)) {
      outcome.add("file", path, "is there");
    }
  }
}

void add_switches(Outcome& outcome, const View& view) {
  for (const DebugSwitch& debug_switch : debug_switches(view)) {
    if (debug_switch.there) {
      outcome.add("debug switch", debug_switch.module,
                  debug_switch.counts ? "on" : "does not count: " + debug_switch.why);
    }
  }
}

void add_receivers(Outcome& outcome, const View& view, const Settings& settings, bool show) {
  if (view.bmc && view.past_gates()) {
    for (const std::string& receiver : view.bmc->receivers) {
      outcome.add("receiver", receiver, "in force");
    }
  }
  for (size_t i = 0; i < settings.destinations.size(); ++i) {
    const std::string community =
        show && i < settings.communities.size() ? settings.communities[i] : std::string(kMask);
    outcome.add("receiver", std::string(shown_receiver(settings.destinations[i])),
                "in the settings, community " + community);
  }
}

}  // namespace

Outcome run_status(bool show_communities) {
  Outcome outcome("status");
  const View view = look_around();
  const Settings settings = read_settings(show_communities);
  add_processes(outcome, view);
  add_supervisor(outcome, view.supervisor);
  if (view.bmc) {
    outcome.add("sender address", "in force",
                view.bmc->host_address.empty() ? "none" : view.bmc->host_address);
  }
  add_receivers(outcome, view, settings, show_communities);
  add_marker_files(outcome);
  add_switches(outcome, view);
  if (!view.root && !view.main()) {
    return outcome.end(kExitCannotTell, "Only root sees whether tvurev runs.");
  }
  return outcome.end(
      kExitDone, view.main() ? "tvurev is " + describe_bmc(view) + "." : "tvurev does not run.");
}
