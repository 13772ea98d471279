// SPDX-License-Identifier: Apache-2.0
#include "ctl/commands.h"

#include <ortinv/rev_mode.h>
#include <ortinv/variables.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "bmc/generation.h"
#include "ctl/debug_switches.h"
#include "ctl/jobs.h"
#include "ctl/steering.h"
#include "ctl/view.h"
#include "wire/host_files.h"

namespace {

constexpr int kBmcPatienceMs = 5'000;

bool needs_root(Outcome& outcome) {
  if (geteuid() == 0) {
    return false;
  }
  outcome.end(kExitCannotTell, "Only root may do this: run it as root.");
  return true;
}

Outcome& list_switches(Outcome& outcome, const View& view) {
  size_t on = 0;
  for (const DebugSwitch& known : debug_switches(view)) {
    std::string state = "off";
    if (known.counts && known.there) {
      state = "on";
      ++on;
    } else if (known.there) {
      state = "does not count: " + known.why;
    }
    outcome.add(known.module, state, known.shows);
  }
  return outcome.end(kExitDone, on == 0 ? "No debug switch is on."
                                        : std::to_string(on) + " debug switches are on.");
}

Outcome& change_switches(Outcome& outcome, const std::vector<std::string>& modules,
                         std::string (*change)(const std::string&), const char* done) {
  size_t failures = 0;
  for (const std::string& module : modules) {
    const std::string fault = change(module);
    failures += fault.empty() ? 0U : 1U;
    outcome.add(module, fault.empty() ? done : "failed", fault);
  }
  if (failures > 0) {
    return outcome.end(kExitNotDone, "Not all switches could be changed.");
  }
  return outcome.end(kExitDone,
                     "Done. A daemon that runs sees it after \"tvurevctl restart\"; which modules "
                     "are chosen, at once.");
}

// A job.
std::string read_mode() {
  uint8_t value = 0;
  uint8_t status = 0;
  const int read =
      ortinv_read_variable(ortinv_mode_variable(), &value, kOrtinvModeSize, nullptr, &status);
  return "read=" + std::to_string(read) + "\nvalue=" + std::to_string(value) + "\n";
}

Outcome& tell_mode(Outcome& outcome, const Job& job) {
  const std::string variable = ortinv_mode_variable();
  if (job.end != Job::End::kAnswered) {
    return outcome.end(kExitCannotTell, "The BMC does not answer.");
  }
  const int read = atoi(value_of(job.text, "read").c_str());
  if (read == kOrtinvReadMissing) {
    outcome.add(variable, "value", "missing");
    return outcome.end(kExitDone, "Reverse mode is off: the BMC has no variable " + variable + ".");
  }
  if (read != kOrtinvReadThere) {
    return outcome.end(kExitCannotTell, "The BMC does not tell its variable " + variable + ".");
  }
  const std::string value = value_of(job.text, "value");
  outcome.add(variable, "value", value);
  return outcome.end(kExitDone, value == "0" ? "Reverse mode is off." : "Reverse mode is on.");
}

Outcome& write_mode(Outcome& outcome, bool on) {
  Job job = start_job(kBmcPatienceMs,
                      [on] { return "failed=" + std::to_string(setRevModeConfig(on ? 1 : 0)); });
  finish_jobs({&job});
  if (job.end != Job::End::kAnswered || value_of(job.text, "failed") != "0") {
    return outcome.end(kExitNotDone, "The BMC did not take the variable " +
                                         std::string(ortinv_mode_variable()) +
                                         ": the reverse mode is as it was.");
  }
  outcome.add(ortinv_mode_variable(), "written", on ? "1" : "0");
  if (!look_around().main()) {
    return outcome.end(kExitDone, on ? "Reverse mode is on. tvurev does not run: start it."
                                     : "Reverse mode is off. tvurev does not run.");
  }
  const Outcome restart = run_restart();
  outcome.facts.insert(outcome.facts.end(), restart.facts.begin(), restart.facts.end());
  return outcome.end(restart.exit_status,
                     (on ? "Reverse mode is on. " : "Reverse mode is off. ") + restart.summary);
}

}  // namespace

Outcome run_debug(DebugAction action, const std::vector<std::string>& modules) {
  Outcome outcome("debug");
  const auto unknown = std::ranges::find_if_not(modules, is_debug_module);
  if (unknown != modules.end()) {
    return outcome.end(kExitUsage, "There is no debug switch \"" + *unknown +
                                       "\"; \"tvurevctl debug\" lists them.");
  }
  if (action == DebugAction::kList) {
    return list_switches(outcome, look_around());
  }
  if (needs_root(outcome)) {
    return outcome;
  }
  if (action == DebugAction::kOn) {
    return change_switches(outcome, switches_for(modules), make_switch, "on");
  }
  std::vector<std::string> off = modules;
  if (off.empty()) {
    for (const DebugSwitch& known : debug_switches(look_around())) {
      if (known.there) {
        off.push_back(known.module);
      }
    }
  }
  return change_switches(outcome, off, remove_switch, "off");
}

Outcome run_forget() {
  Outcome outcome("forget");
  setlogmask(LOG_MASK(LOG_DEBUG));
  const char* path = host_files::kBmcStatus;
  struct stat status = {};
  if (lstat(path, &status) != 0) {
    return outcome.end(kExitDone, "Nothing to forget: there is no " + std::string(path) + ".");
  }
  const StatusFile file = read_status_file();
  if (file.kind == StatusFileKind::kRead && file.generation == host_files::kSupportedGeneration) {
    return outcome.end(kExitDone, "Nothing to forget: " + std::string(path) + " says Mox6.");
  }
  if (needs_root(outcome)) {
    return outcome;
  }
  if (remove(path) != 0) {
    return outcome.end(kExitNotDone,
                       std::string(path) + " cannot be removed: " + strerror(errno) + ".");
  }
  outcome.add("file", path, "removed");
  return outcome.end(kExitDone,
                     "Forgotten: the next start asks the BMC. Start tvurev where it has ended.");
}

Outcome run_mode(ModeAction action) {
  Outcome outcome("mode");
  if (needs_root(outcome)) {
    return outcome;
  }
  if (action != ModeAction::kShow) {
    return write_mode(outcome, action == ModeAction::kOn);
  }
  Job job = start_job(kBmcPatienceMs, read_mode);
  finish_jobs({&job});
  return tell_mode(outcome, job);
}
