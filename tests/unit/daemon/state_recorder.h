// SPDX-License-Identifier: Apache-2.0
// What the daemon's processes noted as their states (daemon/state_file.h), in the
// place of the files: those would be steps of every script.
#ifndef TVUREV_TESTS_UNIT_DAEMON_STATE_RECORDER_H_
#define TVUREV_TESTS_UNIT_DAEMON_STATE_RECORDER_H_

#include <string>
#include <vector>

#include "daemon/state_file.h"

// In their order, repeats too; cleared by whoever reads them.
extern std::vector<std::string> g_noted_states;

// The real functions.
extern "C" {
void __real__Z14note_bmc_state8BmcState(BmcState state);
void __real__Z16note_agent_state10AgentState(AgentState state);
}

#endif  // TVUREV_TESTS_UNIT_DAEMON_STATE_RECORDER_H_
