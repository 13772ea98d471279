// SPDX-License-Identifier: Apache-2.0
// Stands for the kernel and the system log where only the work in the process
// counts: sockets open, datagrams leave and messages are written without a
// system call and without memory. Linking tests_silent_calls puts this in place
// (--wrap).
#ifndef TVUREV_TESTS_SUPPORT_SILENT_CALLS_H_
#define TVUREV_TESTS_SUPPORT_SILENT_CALLS_H_

#include <cstddef>

// What was sent with sendto since the program started.
struct SilentlySent {
  size_t datagrams;
  size_t octets;
};
SilentlySent silently_sent();

#endif  // TVUREV_TESTS_SUPPORT_SILENT_CALLS_H_
