// SPDX-License-Identifier: Apache-2.0
// Counts the process's heap allocations, whoever makes them: operator new and
// every malloc, calloc and realloc of the program and of its shared libraries.
// Linking tests_heap_count puts the counter in place.
#ifndef TVUREV_TESTS_SUPPORT_HEAP_COUNT_H_
#define TVUREV_TESTS_SUPPORT_HEAP_COUNT_H_

#include <cstddef>

// The allocations since the program started. The difference between two calls is
// what happened between them.
size_t heap_allocations();

// Whether allocations can be made to fail: not under a sanitizer, which has the
// heap to itself.
bool heap_can_run_out();

// From construction to destruction the heap gives out that many blocks and then
// no more; operator new throws std::bad_alloc, malloc returns null. Frees work.
class HeapLimit {
 public:
  explicit HeapLimit(size_t allocations);
  HeapLimit(const HeapLimit&) = delete;
  HeapLimit& operator=(const HeapLimit&) = delete;
  ~HeapLimit();
};

#endif  // TVUREV_TESTS_SUPPORT_HEAP_COUNT_H_
