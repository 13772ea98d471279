// SPDX-License-Identifier: Apache-2.0
// A command of the user's on the simulated host, with nothing but the BMC beside it.
#ifndef TVUREV_LAB_TIMELINE_COMMAND_H_
#define TVUREV_LAB_TIMELINE_COMMAND_H_

#include <string>
#include <vector>

#include "lab/timeline/show.h"

// Runs a command with the BMC up; standard streams and exit status are its own.
// Returns 127 when there is no such command, 2 when the BMC or the recording cannot
// be had; standard error says which.
int run_command(const ShowSettings& settings, const std::vector<std::string>& command);

#endif  // TVUREV_LAB_TIMELINE_COMMAND_H_
