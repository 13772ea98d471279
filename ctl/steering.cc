// SPDX-License-Identifier: Apache-2.0
#include "ctl/steering.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>

#include "base/clock.h"
#include "base/descriptor.h"
#include "base/file.h"
#include "ctl/view.h"
#include "wire/host_files.h"

namespace {

constexpr int kFileMs = 5'000;
constexpr int kTermMs = 5'000;
constexpr int kKillMs = 2'000;
constexpr int kBackMs = 30'000;
constexpr int kRestartFileMs = static_cast<int>(host_files::kRestartCheckSeconds + 5) * 1'000;
constexpr useconds_t kLookUs = 50'000;

bool await(int milliseconds, const std::function<bool()>& done) {
  const int64_t end = monotonic_ms() + milliseconds;
  while (!done()) {
    if (monotonic_ms() > end) {
      return false;
    }
    usleep(kLookUs);
  }
  return true;
}

bool make_marker(const char* path) {
  return Descriptor(open(path, O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644)).valid();
}

using Pids = std::vector<pid_t>;

// The processes of a part, the orphaned ones too.
Pids pids_of(ProcessKind kind) {
  const View view = look_around();
  Pids pids;
  for (const DaemonProcess& process : view.processes.of(kind)) {
    pids.push_back(process.pid);
  }
  if (!view.processes.visible) {
    const std::optional<pid_t> pid = kind == ProcessKind::kMain ? view.main() : view.relay();
    if (pid) {
      pids.push_back(*pid);
    }
  }
  return pids;
}

// Whether these have ended. Others may have come: who starts tvurev is not waited
// for.
bool have_ended(ProcessKind kind, const Pids& pids) {
  const Pids now = pids_of(kind);
  return std::ranges::none_of(pids,
                              [&](pid_t pid) { return std::ranges::find(now, pid) != now.end(); });
}

bool signal_all(ProcessKind kind, const Pids& pids, int number, int patience_ms) {
  const Pids now = pids_of(kind);  // a number may have become another process's
  for (const pid_t pid : pids) {
    if (std::ranges::find(now, pid) != now.end()) {
      kill(pid, number);
    }
  }
  return await(patience_ms, [&] { return have_ended(kind, pids); });
}

// Whether the process looks for its stop file now.
bool looks_for_stop_file(const View& view, ProcessKind kind) {
  if (kind == ProcessKind::kMain) {
    return view.connected();
  }
  return view.agent && view.agent->state != name_of(AgentState::kListening);
}

const char* stop_file_of(ProcessKind kind) {
  return kind == ProcessKind::kMain ? host_files::kBmcStop : host_files::kOrtStop;
}

// How it was ended; empty when it still runs.
std::string end_processes(ProcessKind kind, const Pids& pids) {
  const View view = look_around();
  const char* file = stop_file_of(kind);
  std::string how;
  if (looks_for_stop_file(view, kind) && make_marker(file) &&
      await(kFileMs, [&] { return have_ended(kind, pids); })) {
    how = "ended by its stop file";
  } else if (signal_all(kind, pids, SIGTERM, kTermMs)) {
    how = "ended by SIGTERM";
  } else if (signal_all(kind, pids, SIGKILL, kKillMs)) {
    how = "killed";
  }
  unlink(file);  // nobody would read it any more
  return how;
}

const char* name_of_part(ProcessKind kind) {
  return kind == ProcessKind::kMain ? "BMC process" : "agent process";
}

// False when it still runs.
bool stop_part(Outcome& outcome, ProcessKind kind) {
  const Pids pids = pids_of(kind);
  if (pids.empty()) {
    outcome.add(name_of_part(kind), "state", "does not run");
    return true;
  }
  const std::string how = end_processes(kind, pids);
  for (const pid_t pid : pids) {
    outcome.add(name_of_part(kind), std::to_string(pid), how.empty() ? "still runs" : how);
  }
  return !how.empty();
}

void name_timers(Outcome& outcome) {
  for (const DaemonProcess& timer : look_around().processes.of(ProcessKind::kTimer)) {
    outcome.add("shutdown timer", std::to_string(timer.pid), "goes on: only the BMC may abort it");
  }
}

// The command that steers the supervisor; empty where there is none.
std::string supervisor_command(const Supervisor& supervisor) {
  if (exists(host_files::kInitScript)) {
    return host_files::kInitScript;
  }
  for (const std::string& word : command_line_of(supervisor.pid)) {
    if (word.starts_with('/') && word.ends_with(host_files::kSupervisor)) {
      return word;
    }
  }
  return "";
}

// Runs "COMMAND WORD", its output thrown away. Whether it ended with 0.
bool run_supervisor(const std::string& command, const char* word) {
  const pid_t pid = fork();
  if (pid == 0) {
    const int null = open("/dev/null", O_RDWR);
    for (int fd = 0; fd <= 2; ++fd) {
      dup2(null, fd);
    }
    execl(command.c_str(), command.c_str(), word, nullptr);
    _exit(1);
  }
  int status = 0;
  return pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
         WEXITSTATUS(status) == 0;
}

bool through_supervisor(Outcome& outcome, const char* word, bool& well) {
  const View view = look_around();
  const std::string command = view.supervisor.runs ? supervisor_command(view.supervisor) : "";
  if (command.empty()) {
    return false;
  }
  well = run_supervisor(command, word);
  outcome.add("supervisor", command + " " + word, well ? "done" : "failed");
  return true;
}

bool is_root(Outcome& outcome) {
  if (geteuid() == 0) {
    return true;
  }
  outcome.end(kExitCannotTell, "Only root may do this: run it as root.");
  return false;
}

// Whether a first process other than these has come and settled.
bool is_back(const Pids& before) {
  const View view = look_around();
  const std::optional<pid_t> pid = view.main();
  return pid && std::ranges::find(before, *pid) == before.end() &&
         (view.connected() || view.waits());
}

bool is_there(const Pids& before) {
  const std::optional<pid_t> pid = look_around().main();
  return pid && std::ranges::find(before, *pid) == before.end();
}

Outcome& await_return(Outcome& outcome, const Pids& before) {
  await(kBackMs, [&] { return is_back(before); });
  const View view = look_around();
  if (!is_there(before)) {
    return outcome.end(kExitNotDone,
                       "tvurev has ended and did not come back within 30 seconds: nothing here "
                       "starts it. Start it: /etc/init.d/tvurev start.");
  }
  outcome.add("BMC process", std::to_string(*view.main()), describe_bmc(view));
  return outcome.end(kExitDone, "tvurev is back and has read its settings.");
}

// Whether the daemon of before has ended, seen by its process.
bool end_for_restart(Outcome& outcome, const View& view, const Pids& before) {
  if (!view.waits()) {
    return stop_part(outcome, ProcessKind::kMain);
  }
  make_marker(host_files::kRestart);
  outcome.add("BMC process", std::to_string(before.front()),
              "waits, and looks for the restart file every 120 seconds");
  return await(kRestartFileMs, [&] { return have_ended(ProcessKind::kMain, before); });
}

}  // namespace

Outcome run_stop(Part part) {
  Outcome outcome("stop");
  if (!is_root(outcome)) {
    return outcome;
  }
  bool well = true;
  if (part != Part::kAgent && through_supervisor(outcome, "stop", well)) {
    name_timers(outcome);
    return outcome.end(well ? kExitDone : kExitNotDone,
                       well ? "tvurev is stopped, and its supervisor with it."
                            : "The supervisor did not stop tvurev.");
  }
  if (part != Part::kAgent) {
    well = stop_part(outcome, ProcessKind::kMain);
  }
  if (part != Part::kBmc) {
    well = stop_part(outcome, ProcessKind::kRelay) && well;
  }
  name_timers(outcome);
  if (well && part != Part::kAgent && !pids_of(ProcessKind::kMain).empty()) {
    return outcome.end(kExitNotDone, "tvurev has ended, and something has started it again.");
  }
  return outcome.end(well ? kExitDone : kExitNotDone, well ? "Stopped." : "Not all has ended.");
}

Outcome run_restart() {
  Outcome outcome("restart");
  if (!is_root(outcome)) {
    return outcome;
  }
  const View view = look_around();
  const Pids before = pids_of(ProcessKind::kMain);
  bool well = true;
  if (through_supervisor(outcome, "restart", well)) {
    if (!well) {
      return outcome.end(kExitNotDone, "The supervisor did not restart tvurev.");
    }
  } else if (before.empty()) {
    return outcome.end(kExitNotDone,
                       "tvurev does not run, and nothing here starts it. Start it: "
                       "/etc/init.d/tvurev start.");
  } else if (!end_for_restart(outcome, view, before)) {
    return outcome.end(kExitNotDone, "tvurev does not end.");
  }
  return await_return(outcome, before);
}
