// SPDX-License-Identifier: Apache-2.0
// The daemon's processes as /proc shows them: those whose program file is tvurev's,
// a deleted one too, whatever they call themselves.
#ifndef TVUREV_CTL_PROCESSES_H_
#define TVUREV_CTL_PROCESSES_H_

#include <sys/types.h>

#include <ctime>
#include <string>
#include <vector>

enum class ProcessKind {
  kMain,   // the first process, with the BMC loop
  kRelay,  // the socket proxy
  kTimer,  // of a shutdown
};

struct DaemonProcess {
  pid_t pid;
  ProcessKind kind;
  bool orphaned;  // the process that it was forked of is gone
  bool halted;    // stopped by a signal, or traced
  bool replaced;  // its program file was deleted or exchanged
  time_t since;
};

struct ProcessList {
  bool visible = false;  // false where there is no /proc, or others' processes are hidden from us
  std::vector<DaemonProcess> all;

  std::vector<DaemonProcess> of(ProcessKind kind) const;
  bool holds(pid_t pid) const;
};

ProcessList find_daemon_processes();

// Whether the host's process table can be read at all.
bool have_proc();

// Who listens on a local stream socket bound to this path. Known only where /proc
// shows it; a process that cannot be found out is 0.
struct Listeners {
  bool visible = false;
  std::vector<pid_t> processes;
};
Listeners find_listeners(const std::string& path);

// The words of a process's command line; none where they cannot be read.
std::vector<std::string> command_line_of(pid_t pid);

#endif  // TVUREV_CTL_PROCESSES_H_
