// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/daemon/state_recorder.h"

std::vector<std::string> g_noted_states;

extern "C" {
void __wrap__Z14note_bmc_state8BmcState(BmcState state);
void __wrap__Z16note_agent_state10AgentState(AgentState state);

void __wrap__Z14note_bmc_state8BmcState(BmcState state) {
  g_noted_states.emplace_back(name_of(state));
}

void __wrap__Z16note_agent_state10AgentState(AgentState state) {
  g_noted_states.emplace_back(name_of(state));
}
}
