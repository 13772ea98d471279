// SPDX-License-Identifier: Apache-2.0
// A rack's bad day: hosts start, every BMC restarts, a power feed fails in every
// host within a second, one host floods. What is said, sent and received is
// counted all the while, shown on standard output and written down for a plot.
// Runs inside lab/sandbox; single-threaded.
#ifndef TVUREV_LAB_RACK_DAY_H_
#define TVUREV_LAB_RACK_DAY_H_

#include <string>
#include <vector>

#include "lab/rack/receiver.h"

struct DaySettings {
  int hosts = 10;
  int burst = 3;        // notifications of a host when its power feed fails
  int flood = 5'000;    // notifications of the host that floods
  bool restart = true;  // whether the BMCs restart
  ReceiverSettings receivers;
  std::vector<std::string> preload;  // libraries for every daemon, paths in the sandbox
  std::string samples;               // a file to write for the plot; none when empty
};

// Plays it. Returns the exit status: 0; 1 when notifications were lost before a
// receiver's socket, came twice, out of order or from a strange address, or
// something did not work, which standard error says; 128 and more after a signal.
int play_day(const DaySettings& settings);

#endif  // TVUREV_LAB_RACK_DAY_H_
