// A whole show: the services of the host, the simulated BMC and the daemon,
// started one after the other as soon as each is ready, and one timeline of
// what they say.
#ifndef TVUREV_LAB_TIMELINE_SHOW_H_
#define TVUREV_LAB_TIMELINE_SHOW_H_

#include <array>
#include <string>
#include <vector>

#include "lab/sim/channel_server.h"
#include "lab/timeline/child.h"
#include "lab/timeline/display.h"

struct ShowSettings {
  std::string tools;                             // directory of mox-sim
  std::string scenario;                          // may be empty
  std::string nvram;                             // file, may be empty
  std::vector<std::string> receivers;            // addresses for snmptrapd
  std::vector<std::string> agent_notifications;  // bytes, one notification each
  bool keep = false;
};

struct Show {
  ShowSettings settings;
  Display display;
  Child syslogd;
  Child snmptrapd;
  Child bmc;
  Child daemon;
  OwnedFd signals;
  OwnedFd agent;

  // What was seen.
  int bmc_packets = 0;
  int log_lines = 0;
  int traps = 0;
  bool snmptrapd_ready = false;
  bool bmc_ready = false;
  bool scenario_done = false;
  bool scenario_passed = false;
  bool log_ended = false;
  bool bmc_done = false;  // it has played everything, typed events too
  bool interrupted = false;
  bool input_open = false;
  size_t notifications_sent = 0;  // of the agent's
  std::string trouble;            // the first thing that went wrong
};

// Runs the show to its end. Returns 0 when the scenario passed and a trap
// arrived, 1 when not, 130 after an interruption.
int run_show(Show* show);

#endif  // TVUREV_LAB_TIMELINE_SHOW_H_
