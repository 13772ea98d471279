// SPDX-License-Identifier: Apache-2.0
// A zeroed heap block that frees itself; null when there was no memory.
#ifndef TVUREV_BASE_HEAP_BUFFER_H_
#define TVUREV_BASE_HEAP_BUFFER_H_

#include <cstddef>
#include <cstdint>
#include <memory>

struct HeapBufferDeleter {
  void operator()(uint8_t* bytes) const;
};
using HeapBuffer = std::unique_ptr<uint8_t[], HeapBufferDeleter>;

// Allocates size zeroed bytes. Returns null, without a log line, when there is
// no memory: each caller has its own message for that.
HeapBuffer allocate_zeroed(size_t size);

#endif  // TVUREV_BASE_HEAP_BUFFER_H_
