// SPDX-License-Identifier: Apache-2.0
// The small commands of tvurevctl.
#ifndef TVUREV_CTL_COMMANDS_H_
#define TVUREV_CTL_COMMANDS_H_

#include <string>
#include <vector>

#include "ctl/outcome.h"

// Processes and what each is doing, marker files, debug switches, receivers in
// force against those of the settings. Communities are masked unless they are asked
// for.
Outcome run_status(bool show_communities);

enum class DebugAction { kList, kOn, kOff };

// Lists the switches, or makes or removes those of the modules.
Outcome run_debug(DebugAction action, const std::vector<std::string>& modules);

// Removes the remembered generation of the BMC, unless it is the one that is served.
Outcome run_forget();

enum class ModeAction { kShow, kOn, kOff };

// Shows the BMC's variable of the reverse mode, or writes it and restarts the daemon.
Outcome run_mode(ModeAction action);

#endif  // TVUREV_CTL_COMMANDS_H_
