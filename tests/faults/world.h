/* SPDX-License-Identifier: Apache-2.0 */
/* What the preloaded library and the life that is played around the daemon
 * share: one page of memory, the file that FAULT_WORLD names, which exists
 * already. The life resets it before each start of the daemon.
 *
 * Time is simulated. The daemon's processes wait in slots, each until a moment;
 * the life moves now_us on once all of them wait and none of them has anything
 * to do, so that a life does not depend on the machine's speed.
 *
 * Fields that both sides use at the same time are read and written with
 * __atomic functions. C and C++. */
#ifndef TVUREV_TESTS_FAULTS_WORLD_H_
#define TVUREV_TESTS_FAULTS_WORLD_H_

#include <stdint.h>

enum {
  kFirstProcess = 0,
  kSocketProxy = 1,
  kTimer = 2,
  kNameLookup = 3,
  kProcessKinds = 4,
};

enum {
  kMostSlots = 32,
  kMostCalls = 96,
  kMostFrames = 16,
  kNameSize = 32,
};

/* A process of the daemon. */
struct FaultSlot {
  int32_t used;
  int32_t pid; /* 0 while it is being forked */
  int32_t kind;
  int32_t waiting;
  uint32_t probe_seen; /* looked after this probe, and nothing had come */
  int32_t exit_status; /* of exit(); -1 before */
  int64_t until_us;    /* while waiting; INT64_MAX: without an end */
};

/* How often each kind of process called a function. */
struct FaultCount {
  char name[kNameSize];
  uint32_t calls[kProcessKinds];
};

struct FaultWorld {
  int64_t now_us;
  uint32_t probe;
  uint32_t next_slot;
  uint32_t hits; /* faults played: 0 or 1 */
  uint32_t frames_used;
  uint64_t frames[kMostFrames];  /* offsets in the daemon's program, the caller first */
  int64_t blocks[kProcessKinds]; /* heap blocks allocated less those freed */
  struct FaultSlot slots[kMostSlots];
  struct FaultCount counts[kMostCalls];
};

#endif /* TVUREV_TESTS_FAULTS_WORLD_H_ */
