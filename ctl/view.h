// SPDX-License-Identifier: Apache-2.0
// The daemon as it can be seen from outside, looked at once for each command.
#ifndef TVUREV_CTL_VIEW_H_
#define TVUREV_CTL_VIEW_H_

#include <optional>
#include <string>
#include <vector>

#include "ctl/processes.h"
#include "ctl/states.h"

struct View {
  bool root = false;
  ProcessList processes;
  std::optional<StateFile> bmc;    // of the first process
  std::optional<StateFile> agent;  // of the socket proxy
  Supervisor supervisor;

  // The first process: by /proc, or by its state file where there is no /proc.
  // The one that the state file names, where there are several.
  std::optional<pid_t> main() const;
  std::optional<pid_t> relay() const;
  const DaemonProcess* process(pid_t pid) const;

  // Whether the first process has passed its gates and runs its loop.
  bool past_gates() const;
  bool waits() const;      // for a restart
  bool connected() const;  // to the BMC
  time_t since() const;    // of the first process; 0 where it is not known
};

View look_around();

// "connected to the BMC on channel 15", or what else the first process is doing.
std::string describe_bmc(const View& view);

// "waits for a host agent", or what else the socket proxy is doing.
std::string describe_agent(const View& view);

// "1, 2 and 3".
std::string list_text(const std::vector<std::string>& words);

#endif  // TVUREV_CTL_VIEW_H_
