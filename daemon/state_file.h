// SPDX-License-Identifier: Apache-2.0
// What each process of the daemon is doing, written down for tvurevctl
// (wire/host_files.h has the files and their layout): "tvurevstate.text" by the
// first process, "tvurevagentstate.text" by the socket proxy. Nothing in the daemon
// reads them.
//
// Written at changes of state only, never for a notification. Takes no memory,
// leaves errno alone and logs nothing: a state that cannot be written is not
// there.
#ifndef TVUREV_DAEMON_STATE_FILE_H_
#define TVUREV_DAEMON_STATE_FILE_H_

#include "wire/host_files.h"

// Writes the file of the first process, unless this state was the last one
// written. The file comes into being whole, mode 0644 less the mask; where it
// cannot be written, the one of before goes too, since it would lie.
void note_bmc_state(BmcState state);

// The same for the socket proxy.
void note_agent_state(AgentState state);

#endif  // TVUREV_DAEMON_STATE_FILE_H_
