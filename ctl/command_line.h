// SPDX-License-Identifier: Apache-2.0
// The command line of tvurevctl(8).
#ifndef TVUREV_CTL_COMMAND_LINE_H_
#define TVUREV_CTL_COMMAND_LINE_H_

// Parses, runs the command and prints what came of it. Returns the exit status: 0 a
// trap would arrive everywhere, or done; 1 not everywhere, or not done; 2 usage; 3
// cannot tell.
int run_tvurevctl(int argc, const char* const* argv);

#endif  // TVUREV_CTL_COMMAND_LINE_H_
