/* SPDX-License-Identifier: Apache-2.0 */
/* libfault.so: counts the calls that the daemon makes of the C library, and lets
 * one of them fail, once:
 *
 *   FAULT=PROCESS:FUNCTION:N:ERROR       FAULT=proxy:recv:3:ECONNRESET
 *
 * PROCESS is first, proxy, timer or lookup (all timers of a life count as one, and
 * so do all look-ups of a name), N counts from 1. ERROR is an errno name; "short" (fewer bytes than
 * asked for), "end" (of the file), "full" (a stream that could not be written), "127" (the shell's
 * status where it cannot be started), "fails" (without errno), or an EAI name.
 *
 * Preloaded before the device shim, which the failing call then never reaches.
 * Only calls from the daemon's own code count, and every allocation in its
 * processes from main on; shells and tools that inherit the preload are left
 * alone. The daemon's time is that of world.h. */
#ifndef TVUREV_TESTS_FAULTS_FAULT_H_
#define TVUREV_TESTS_FAULTS_FAULT_H_

#include <poll.h>
#include <signal.h>
#include <stdbool.h>
#include <stdint.h>

#include "tests/faults/world.h"

/* What fault_of returns besides errno values. */
enum {
  kNoFault = 0,
  kShort = -1,
  kEnd = -2,
  kFull = -3,
  kShellMissing = -4,
  kFails = -5,
  kAddressInfo = -100, /* less the EAI value, which is negative too */
};

/* Null in programs that are not the daemon. */
extern struct FaultWorld* g_world;

/* Whether this process is the daemon's and the call its own. */
bool is_daemons(const void* caller);

/* Counts a call and says how it is to fail. Keeps errno. */
int fault_of(const char* name, const void* caller);

/* The same for an allocation, whose caller may be a library. */
bool allocation_fails(const char* name);
void count_blocks(int64_t change);

/* Around fork. A pipe made right before it is for a name's look-up. */
void note_pipe(void);
struct FaultSlot* slot_for_child(void);
void become_child(struct FaultSlot* slot);
void note_child(struct FaultSlot* slot, int pid);
void note_exit(int status);

/* Waits until something is ready or simulated time has come. Returns as poll. */
int wait_ready(struct pollfd* entries, nfds_t count, int64_t microseconds, const sigset_t* mask);
/* Microseconds since the start of the life. */
int64_t simulated_now(void);

#endif /* TVUREV_TESTS_FAULTS_FAULT_H_ */
