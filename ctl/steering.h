// SPDX-License-Identifier: Apache-2.0
// Ends the daemon and has it started again, through its supervisor where one runs;
// without it by marker files, then SIGTERM, then SIGKILL. A shutdown timer is named
// and left alone.
#ifndef TVUREV_CTL_STEERING_H_
#define TVUREV_CTL_STEERING_H_

#include "ctl/outcome.h"

enum class Part { kBoth, kBmc, kAgent };

// May take 12 seconds for each of the two processes, and as long as the supervisor.
Outcome run_stop(Part part);

// Makes a daemon read its settings again and waits until it is back: one that waits
// for a restart sees the restart file within two minutes, any other one is stopped.
// Starts nothing itself: 30 seconds after the end it says so.
Outcome run_restart();

#endif  // TVUREV_CTL_STEERING_H_
