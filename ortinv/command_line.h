// SPDX-License-Identifier: Apache-2.0
// The command line of ortinv.
#ifndef TVUREV_ORTINV_COMMAND_LINE_H_
#define TVUREV_ORTINV_COMMAND_LINE_H_

// Carries out one command line: prints what was found to standard output, and
// one line for whatever kept it from finding more to standard error. Returns
// the exit status (ortinv/report.h).
int run_ortinv(int argc, const char* const* argv);

#endif  // TVUREV_ORTINV_COMMAND_LINE_H_
