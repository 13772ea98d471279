// SPDX-License-Identifier: Apache-2.0
// The shell commands that the daemon waits for.
#ifndef TVUREV_DAEMON_SHELL_COMMAND_H_
#define TVUREV_DAEMON_SHELL_COMMAND_H_

// Runs the command by /bin/sh and waits for its end. Its status as waitpid gives
// it; -1 with errno where no shell could be started. Signals are let in meanwhile
// (OpenToSignals). The command must write nothing to its standard output.
int run_shell_command(const char* command);

#endif  // TVUREV_DAEMON_SHELL_COMMAND_H_
