/* SPDX-License-Identifier: Apache-2.0 */
/* liballocations.so, preloaded: counts the calls that allocate heap memory, in a
 * page that the bench reads while the program runs. The page is the file that
 * BENCH_ALLOCATIONS names, 8 bytes that exist already; forked children count
 * into the same page. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* old, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

static uint64_t g_before_start;
static uint64_t* g_count = &g_before_start;

static void count_one(void) {
  __atomic_fetch_add(g_count, 1, __ATOMIC_RELAXED);
}

__attribute__((constructor)) static void map_counter(void) {
  const char* path = getenv("BENCH_ALLOCATIONS");
  const int fd = path != NULL ? openat(AT_FDCWD, path, O_RDWR | O_CLOEXEC) : -1;
  if (fd == -1) {
    return;
  }
  void* page = mmap(NULL, sizeof *g_count, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (page != MAP_FAILED) {
    g_count = page;
  }
  close(fd);
}

void* malloc(size_t size) {
  count_one();
  return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
  count_one();
  return __libc_calloc(count, size);
}

void* realloc(void* old, size_t size) {
  count_one();
  return __libc_realloc(old, size);
}

void* memalign(size_t alignment, size_t size);
void* memalign(size_t alignment, size_t size) {
  count_one();
  return __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size) {
  *block = memalign(alignment, size);
  return *block != NULL ? 0 : ENOMEM;
}
