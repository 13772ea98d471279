// SPDX-License-Identifier: Apache-2.0
#include "tests/support/heap_count.h"

#include <atomic>
#include <cerrno>
#include <cstdint>

namespace {

std::atomic<size_t> g_allocations = 0;
std::atomic<size_t> g_left = SIZE_MAX;

}  // namespace

size_t heap_allocations() {
  return g_allocations;
}

HeapLimit::HeapLimit(size_t allocations) {
  g_left = allocations;
}

HeapLimit::~HeapLimit() {
  g_left = SIZE_MAX;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TVUREV_TESTS_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TVUREV_TESTS_SANITIZED 1
#endif
#endif

#ifdef TVUREV_TESTS_SANITIZED

// As the sanitizers declare it in a header that not every compiler brings along.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl51-cpp): the sanitizers' name.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void*,
                                                                             size_t),
                                                         void (*free_hook)(const volatile void*));

namespace {

[[maybe_unused]] const int g_installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, size_t) { ++g_allocations; }, [](const volatile void*) {});

}  // namespace

bool heap_can_run_out() {
  return false;
}

#else

namespace {

// Counts an allocation and says whether it may be made.
bool allow() {
  ++g_allocations;
  if (g_left == SIZE_MAX) {
    return true;
  }
  if (g_left == 0) {
    errno = ENOMEM;
    return false;
  }
  --g_left;
  return true;
}

}  // namespace

bool heap_can_run_out() {
  return true;
}

// Every library's calls end here, because a program's own definitions come
// before those of the C library, which keeps its own under these names too.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl51-cpp,cert-dcl37-c): the C library's names.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* malloc(size_t size) noexcept;
void* calloc(size_t count, size_t size) noexcept;
void* realloc(void* block, size_t size) noexcept;

void* malloc(size_t size) noexcept {
  return allow() ? __libc_malloc(size) : nullptr;
}

void* calloc(size_t count, size_t size) noexcept {
  return allow() ? __libc_calloc(count, size) : nullptr;
}

void* realloc(void* block, size_t size) noexcept {
  return allow() ? __libc_realloc(block, size) : nullptr;
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl51-cpp,cert-dcl37-c)

#endif
