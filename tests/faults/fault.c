/* SPDX-License-Identifier: Apache-2.0 */
/* Which call fails, and how processes wait. The calls themselves: calls.c,
 * heap.c. */
#define _GNU_SOURCE
#include "tests/faults/fault.h"

#include <errno.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <netdb.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

/* How often a waiting process looks at the simulated time. */
static const struct timespec kLook = {0, 200000};

struct FaultWorld* g_world;

static struct FaultSlot* g_slot;
static int g_kind = kFirstProcess;
static unsigned g_forks;
static bool g_has_pipe;
static bool g_in_main;
static bool g_recording;
static uintptr_t g_program_start;
static uintptr_t g_program_end;
static uintptr_t g_program_base;

/* The fault, of FAULT. */
static int g_fault_kind = -1;
static char g_fault_function[kNameSize];
static uint32_t g_fault_number;
static int g_fault_error;

/* Every function that calls.c and heap.c replace. */
static const char* const kNames[] = {
    "accept", "accept4",     "bind",           "calloc", "close",   "close_range", "connect",
    "fclose", "fflush",      "fgets",          "fopen",  "fork",    "fprintf",     "fputs",
    "fwrite", "getaddrinfo", "gethostname",    "ioctl",  "listen",  "localtime_r", "lstat",
    "malloc", "mkdir",       "nanosleep",      "open",   "pclose",  "pipe2",       "poll",
    "popen",  "ppoll",       "pthread_atfork", "puts",   "read",    "readlink",    "realloc",
    "recv",   "rename",      "send",           "sendto", "setenv",  "sleep",       "socket",
    "stat",   "system",      "unlink",         "usleep", "waitpid", "write",
};
_Static_assert(sizeof kNames / sizeof kNames[0] <= kMostCalls, "more functions than rows");

static const char* const kKindNames[kProcessKinds] = {"first", "proxy", "timer", "lookup"};

static int named_error(const char* name) {
  static const struct {
    const char* name;
    int value;
  } kOwn[] = {{"short", kShort},
              {"end", kEnd},
              {"full", kFull},
              {"127", kShellMissing},
              {"fails", kFails},
              {"EAI_AGAIN", kAddressInfo + EAI_AGAIN},
              {"EAI_FAIL", kAddressInfo + EAI_FAIL},
              {"EAI_MEMORY", kAddressInfo + EAI_MEMORY},
              {"EAI_NONAME", kAddressInfo + EAI_NONAME},
              {"EAI_SYSTEM", kAddressInfo + EAI_SYSTEM}};
  for (size_t i = 0; i < sizeof kOwn / sizeof kOwn[0]; ++i) {
    if (strcmp(name, kOwn[i].name) == 0) {
      return kOwn[i].value;
    }
  }
  for (int value = 1; value < 200; ++value) {
    const char* known = strerrorname_np(value);
    if (known != NULL && strcmp(name, known) == 0) {
      return value;
    }
  }
  return kNoFault;
}

/* Ends the program rather than play another fault than was asked for. */
static void read_fault(const char* text) {
  char kind[8] = "";
  char error[kNameSize] = "";
  if (sscanf(text, "%7[^:]:%31[^:]:%u:%31s", kind, g_fault_function, &g_fault_number, error) == 4) {
    for (int i = 0; i < kProcessKinds; ++i) {
      g_fault_kind = strcmp(kind, kKindNames[i]) == 0 ? i : g_fault_kind;
    }
    g_fault_error = named_error(error);
  }
  if (g_fault_kind == -1 || g_fault_error == kNoFault) {
    fprintf(stderr, "libfault: not PROCESS:FUNCTION:N:ERROR: %s\n", text);
    _exit(99);
  }
}

/* The program itself is the first object. */
static int find_program(struct dl_phdr_info* object, size_t size, void* data) {
  (void)size;
  (void)data;
  g_program_base = object->dlpi_addr;
  g_program_start = UINTPTR_MAX;
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr)* segment = &object->dlpi_phdr[i];
    if (segment->p_type == PT_LOAD) {
      const uintptr_t start = object->dlpi_addr + segment->p_vaddr;
      g_program_start = start < g_program_start ? start : g_program_start;
      g_program_end =
          start + segment->p_memsz > g_program_end ? start + segment->p_memsz : g_program_end;
    }
  }
  return 1;
}

static struct FaultSlot* take_slot(int kind) {
  const uint32_t index = __atomic_fetch_add(&g_world->next_slot, 1, __ATOMIC_SEQ_CST);
  if (index >= kMostSlots) {
    fprintf(stderr, "libfault: more than %d processes\n", kMostSlots);
    _exit(99);
  }
  struct FaultSlot* slot = &g_world->slots[index];
  slot->kind = kind;
  slot->pid = 0;
  slot->waiting = 0;
  slot->exit_status = -1;
  __atomic_store_n(&slot->used, 1, __ATOMIC_SEQ_CST);
  return slot;
}

__attribute__((constructor)) static void start(void) {
  const char* path = getenv("FAULT_WORLD");
  if (path == NULL || strcmp(program_invocation_short_name, "tvurev") != 0) {
    return;
  }
  const int fd = openat(AT_FDCWD, path, O_RDWR | O_CLOEXEC);
  void* page = fd == -1 ? MAP_FAILED
                        : mmap(NULL, sizeof *g_world, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (page == MAP_FAILED) {
    fprintf(stderr, "libfault: %s: %s\n", path, strerror(errno));
    _exit(99);
  }
  syscall(SYS_close, fd);
  dl_iterate_phdr(find_program, NULL);
  void* frames[2];
  backtrace(frames, 2); /* loads what it needs now */
  const char* fault = getenv("FAULT");
  if (fault != NULL && fault[0] != '\0') {
    read_fault(fault);
  }
  g_world = page;
  for (size_t row = 0; row < sizeof kNames / sizeof kNames[0]; ++row) {
    strcpy(g_world->counts[row].name, kNames[row]);
  }
  g_slot = take_slot(kFirstProcess);
  g_slot->pid = getpid();
}

static bool is_in_program(uintptr_t address) {
  return address >= g_program_start && address < g_program_end;
}

bool is_daemons(const void* caller) {
  return g_world != NULL && is_in_program((uintptr_t)caller);
}

static uint32_t count(const char* name) {
  for (size_t row = 0; row < sizeof kNames / sizeof kNames[0]; ++row) {
    if (strcmp(kNames[row], name) == 0) {
      return __atomic_add_fetch(&g_world->counts[row].calls[g_kind], 1, __ATOMIC_SEQ_CST);
    }
  }
  fprintf(stderr, "libfault: %s is not in its list\n", name);
  _exit(99);
}

static void record_hit(void) {
  void* frames[64];
  g_recording = true; /* what it allocates is not the daemon's */
  const int depth = backtrace(frames, 64);
  g_recording = false;
  uint32_t used = 0;
  for (int i = 0; i < depth && used < kMostFrames; ++i) {
    if (is_in_program((uintptr_t)frames[i])) {
      g_world->frames[used++] = (uintptr_t)frames[i] - g_program_base;
    }
  }
  g_world->frames_used = used;
  __atomic_store_n(&g_world->hits, 1, __ATOMIC_SEQ_CST);
}

static int counted_fault(const char* name) {
  const int error = errno;
  const uint32_t number = count(name);
  int fault = kNoFault;
  if (g_kind == g_fault_kind && number == g_fault_number && strcmp(name, g_fault_function) == 0) {
    record_hit();
    fault = g_fault_error;
  }
  errno = error;
  return fault;
}

int fault_of(const char* name, const void* caller) {
  if (!is_daemons(caller)) {
    return kNoFault;
  }
  g_in_main = true;
  return counted_fault(name);
}

bool allocation_fails(const char* name) {
  return g_world != NULL && g_in_main && !g_recording && counted_fault(name) != kNoFault;
}

void count_blocks(int64_t change) {
  if (g_world != NULL && g_in_main && !g_recording) {
    __atomic_fetch_add(&g_world->blocks[g_kind], change, __ATOMIC_SEQ_CST);
  }
}

void note_pipe(void) {
  g_has_pipe = true;
}

struct FaultSlot* slot_for_child(void) {
  if (g_has_pipe) {
    g_has_pipe = false;
    return take_slot(kNameLookup);
  }
  ++g_forks;
  return take_slot(g_forks == 1 ? kSocketProxy : kTimer);
}

void become_child(struct FaultSlot* slot) {
  g_slot = slot;
  g_kind = slot->kind;
  __atomic_store_n(&slot->pid, getpid(), __ATOMIC_SEQ_CST);
}

void note_child(struct FaultSlot* slot, int pid) {
  if (pid == -1) {
    __atomic_store_n(&slot->used, 0, __ATOMIC_SEQ_CST);
  } else {
    __atomic_store_n(&slot->pid, pid, __ATOMIC_SEQ_CST);
  }
}

void note_exit(int status) {
  g_slot->exit_status = status;
}

int64_t simulated_now(void) {
  return __atomic_load_n(&g_world->now_us, __ATOMIC_SEQ_CST);
}

static int look(struct pollfd* entries, nfds_t count, const struct timespec* patience,
                const sigset_t* mask) {
  struct timespec left = *patience; /* the kernel writes to it */
  return (int)syscall(SYS_ppoll, entries, count, &left, mask, (size_t)8);
}

int wait_ready(struct pollfd* entries, nfds_t count, int64_t microseconds, const sigset_t* mask) {
  static const struct timespec kNow = {0, 0};
  int ready = look(entries, count, &kNow, mask);
  if (ready != 0 || microseconds == 0) {
    return ready;
  }
  const int error = errno;
  /* No two processes wake at one moment: what one sees of the other then would
   * depend on which is faster. */
  const int64_t apart = g_slot - g_world->slots;
  const int64_t until = microseconds < 0 ? INT64_MAX : simulated_now() + microseconds + apart;
  g_slot->until_us = until;
  __atomic_store_n(&g_slot->waiting, 1, __ATOMIC_SEQ_CST);
  while (ready == 0) {
    const uint32_t probe = __atomic_load_n(&g_world->probe, __ATOMIC_SEQ_CST);
    const bool is_over = simulated_now() >= until;
    ready = look(entries, count, is_over ? &kNow : &kLook, mask);
    if (is_over) {
      break;
    }
    if (ready == 0) {
      __atomic_store_n(&g_slot->probe_seen, probe, __ATOMIC_SEQ_CST);
    }
  }
  __atomic_store_n(&g_slot->waiting, 0, __ATOMIC_SEQ_CST);
  if (ready >= 0) {
    errno = error;
  }
  return ready;
}
