// SPDX-License-Identifier: Apache-2.0
#include "base/heap_buffer.h"

#include <cstdlib>

void HeapBufferDeleter::operator()(uint8_t* bytes) const {
  free(bytes);
}

HeapBuffer allocate_zeroed(size_t size) {
  return HeapBuffer(static_cast<uint8_t*>(calloc(size, 1)));
}
