/* SPDX-License-Identifier: Apache-2.0 */
/* The page that the soak test's process shares with the daemon's processes: the
 * simulated time, and what each process waits for. In C, for the preloaded half
 * (shared_clock.c); the other half is clock_master.h.
 *
 * Time stands still while any process runs. A process that waits says so in its
 * slot and sleeps on the slot's wake word; the master moves the time on to the
 * next deadline once all of them wait, and wakes whose deadline has come. Nobody
 * but the master makes a descriptor ready, so the master also says when to look
 * at descriptors again, by the same wake word; also when a process has ended, which
 * another may have waited for. A slot is at rest when it says
 * that it waits and has seen the last wake. */
#ifndef TVUREV_TESTS_SOAK_SHARED_CLOCK_H_
#define TVUREV_TESTS_SOAK_SHARED_CLOCK_H_

#include <stdint.h>

#define SHARED_CLOCK_SLOTS 64
/* A wait without an end. */
#define SHARED_CLOCK_NEVER UINT64_MAX

enum { SLOT_FREE = 0, SLOT_RUNNING = 1, SLOT_WAITING = 2 };
enum { WAITS_FOR_TIME = 0, WAITS_FOR_INPUT = 1, WAITS_FOR_ROOM = 2 };

struct clock_slot {
  uint32_t state;
  int32_t pid;       /* 0 while a fork is under way */
  uint32_t wake;     /* written by the master: "look again" */
  uint32_t seen;     /* the wake that the process looked after */
  uint32_t waits;    /* for what */
  uint64_t asked;    /* nanoseconds that the wait was asked for */
  uint64_t deadline; /* simulated nanoseconds */
};

struct clock_page {
  uint64_t now; /* simulated nanoseconds since the page was made */
  /* What the clocks show at 0, so that times are those of a calendar. */
  uint64_t realtime_at_0;
  uint64_t monotonic_at_0;
  uint32_t changes;      /* counts: some slot came to rest */
  uint32_t names_silent; /* no name server answers: a look-up waits for ever */
  struct clock_slot slots[SHARED_CLOCK_SLOTS];
};

#endif
