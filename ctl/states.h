// SPDX-License-Identifier: Apache-2.0
// What the daemon's processes and their supervisor have written down of themselves
// (wire/host_files.h).
#ifndef TVUREV_CTL_STATES_H_
#define TVUREV_CTL_STATES_H_

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "ctl/processes.h"

struct StateFile {
  pid_t pid = 0;
  std::string version;
  time_t since = 0;
  std::string state;
  time_t state_since = 0;
  std::string host_address;
  std::vector<std::string> receivers;
  int channel = -1;    // of the first process's, while one is open
  bool agent = false;  // of the socket proxy's
};

// Reads a state file. Nothing where it is missing, or its process is not the
// daemon's; where processes cannot be seen, where there is no such process.
std::optional<StateFile> read_state_file(const char* path, const ProcessList& processes);

struct Supervisor {
  bool runs = false;  // else what is below is what it left
  pid_t pid = 0;
  std::string state;      // running, pausing, stopping
  time_t until = 0;       // of a pause
  std::string last_exit;  // of the daemon; empty where there is none
  std::string last_signal;
  std::string starts;
};
Supervisor read_supervisor();

// "2026-11-21 16:55:08", the host's time; "?" for 0.
std::string time_text(time_t time);

// A whole text file; empty where it cannot be read.
std::string text_of_file(const char* path);

#endif  // TVUREV_CTL_STATES_H_
