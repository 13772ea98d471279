// SPDX-License-Identifier: Apache-2.0
// Device calls that are to fail. The simulated BMC writes them into a file
// beside the channel nodes and the device shim takes them from there, so that
// "busy" happens at exactly the calls it was asked for, however fast either
// process runs. One line a fault: the call ("write" or "read"), the errno value
// (0: the call does nothing and returns 0) and how many calls are left (-1: all
// of them). A call takes the first line of its name. The file is locked while
// it is read or changed.
//
// Used inside other programs' processes: makes no library call that another
// preload might count, keeps no state and leaves errno alone.
#ifndef TVUREV_LAB_SHIM_FAULTS_H_
#define TVUREV_LAB_SHIM_FAULTS_H_

// Appends a line. Returns 0, or -1 with errno.
int add_fault(const char* path, const char* call, int error, int times);

// Takes one fault of this call, if there is one. Returns its errno value, or
// -1 when the call may proceed.
int take_fault(const char* path, const char* call);

#endif  // TVUREV_LAB_SHIM_FAULTS_H_
