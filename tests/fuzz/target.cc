// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/target.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FUZZ_ADDRESS_SANITIZER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define FUZZ_ADDRESS_SANITIZER
#endif
#ifdef FUZZ_ADDRESS_SANITIZER
// Both compilers' runtimes have it, but g++ brings no header for it.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl51-cpp): its name
extern "C" int __sanitizer_install_malloc_and_free_hooks(
    void (*malloc_hook)(const volatile void* block, size_t size),
    void (*free_hook)(const volatile void* block));

// The sanitizer's defaults, which remember 30 callers of each block and 256 MB of
// freed ones, cost half of the executions. ASAN_OPTIONS overrides.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl51-cpp): its name
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "malloc_context_size=8:quarantine_size_mb=8";
}
#endif

namespace {

constexpr unsigned kExecutionsBetweenLooks = 256;
constexpr time_t kSecondsBetweenLines = 2;

#ifdef FUZZ_ADDRESS_SANITIZER

// The sanitizer keeps what was freed for a while, so that only counting tells
// how much is in use; in this thread, as libFuzzer has one of its own.
thread_local int64_t g_blocks_in_use = 0;

int64_t heap_in_use() {
  static const int installed = __sanitizer_install_malloc_and_free_hooks(
      [](const volatile void*, size_t) { ++g_blocks_in_use; },
      [](const volatile void*) { --g_blocks_in_use; });
  require(installed > 0, "the heap can be watched");
  return g_blocks_in_use;
}

#else

// The C library counts what it keeps of freed blocks as used: only the builds
// with the sanitizer look.
int64_t heap_in_use() {
  return 0;
}

#endif

// One that is left open moves it up.
int lowest_free_descriptor() {
  const int lowest = fcntl(STDIN_FILENO, F_DUPFD, 0);
  if (lowest != -1) {
    close(lowest);
  }
  return lowest;
}

// libFuzzer says how far it is at powers of two only: hours go by without a word.
void tell_progress() {
  static unsigned long executions = 0;
  static time_t next_line = time(nullptr) + kSecondsBetweenLines;
  if (++executions % kExecutionsBetweenLooks == 0 && time(nullptr) >= next_line) {
    fprintf(stderr, "executions: %lu\n", executions);
    next_line = time(nullptr) + kSecondsBetweenLines;
  }
}

}  // namespace

void require(bool holds, const char* property) {
  if (!holds) {
    fprintf(stderr, "broken property: %s\n", property);
    abort();
  }
}

void execute(std::span<const uint8_t> bytes, std::string (*outcome_of)(std::span<const uint8_t>)) {
  const int lowest_before = lowest_free_descriptor();
  {
    const std::string first = outcome_of(bytes);  // also what the C library keeps for good
    const int64_t in_use_before = heap_in_use();
    {
      const std::string second = outcome_of(bytes);
      require(first == second, "the same input has the same outcome");
    }
    require(heap_in_use() == in_use_before, "no memory is left behind");
  }
  require(lowest_free_descriptor() == lowest_before, "no descriptor is left behind");
  tell_progress();
}
