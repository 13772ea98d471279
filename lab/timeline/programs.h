// SPDX-License-Identifier: Apache-2.0
// What a show and a command beside the BMC start, and how. Nothing here has effects.
#ifndef TVUREV_LAB_TIMELINE_PROGRAMS_H_
#define TVUREV_LAB_TIMELINE_PROGRAMS_H_

#include <string>
#include <vector>

#include "lab/supervisor/child.h"
#include "lab/timeline/show.h"

// The line by which the BMC says that its channels can be opened.
inline constexpr const char* kBmcReady = "mox-sim: ready";

Program bmc_program(const ShowSettings& settings);

// snmptrapd. Names what it receives by every module of the folders, or by numbers.
Program receiver_program(const ShowSettings& settings);

// The environment of what runs on the host.
std::vector<std::string> on_host();

#endif  // TVUREV_LAB_TIMELINE_PROGRAMS_H_
