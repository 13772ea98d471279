// SPDX-License-Identifier: Apache-2.0
// What does not depend on the machine's speed: system calls, heap allocations
// and user-space instructions, each counted in a pass of its own.
#ifndef TVUREV_TESTS_BENCH_COUNTS_H_
#define TVUREV_TESTS_BENCH_COUNTS_H_

#include <map>
#include <string>
#include <vector>

#include "tests/bench/rounds.h"

// System calls a notification, by strace: attached for a while, or around the
// whole run of a program. Of snmpd's log off and on each.
double count_calls(Stage& stage, Row& row, int notifications);

// One figure for each row of start_relays(), in its order.
std::vector<double> count_allocations(Stations& stations, int receivers, int notifications);
// The difference between two runs, one with more notifications than the other.
std::vector<double> count_instructions(Stations& stations, int receivers, int notifications);

// What the daemon's two processes do while nothing comes, a second.
struct Idle {
  double bmc_wakeups = 0;
  double agent_wakeups = 0;
  double allocations = 0;  // of both
};
Idle watch_idle(Stations& stations, double seconds);

// From the daemon's start to its connect request at the BMC, in milliseconds.
struct StartTime {
  double as_it_is = 0;
  std::vector<double> waits_skipped;
};
StartTime time_starts(Stations& stations, int starts);

#endif  // TVUREV_TESTS_BENCH_COUNTS_H_
