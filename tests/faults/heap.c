/* SPDX-License-Identifier: Apache-2.0 */
/* Allocations, also those that operator new and the C library make for the
 * daemon: both come here. */
#define _GNU_SOURCE
#include <errno.h>
#include <stddef.h>
#include <stdlib.h>

#include "tests/faults/fault.h"

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* old, size_t size);
void __libc_free(void* block);

static void* counted(void* block) {
  if (block != NULL) {
    count_blocks(1);
  }
  return block;
}

static void* none(void) {
  errno = ENOMEM;
  return NULL;
}

void* malloc(size_t size) {
  return allocation_fails("malloc") ? none() : counted(__libc_malloc(size));
}

void* calloc(size_t count, size_t size) {
  return allocation_fails("calloc") ? none() : counted(__libc_calloc(count, size));
}

void* realloc(void* old, size_t size) {
  if (allocation_fails("realloc")) {
    return none();
  }
  void* block = __libc_realloc(old, size);
  return old == NULL ? counted(block) : block;
}

void free(void* block) {
  if (block != NULL) {
    count_blocks(-1);
  }
  __libc_free(block);
}
