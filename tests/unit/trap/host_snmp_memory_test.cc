// SPDX-License-Identifier: Apache-2.0
// Reading the host's SNMP settings when the heap runs out. The settings are a
// stream in memory, opened before it does.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>

#include "tests/support/heap_count.h"
#include "trap/host_snmp.h"

namespace {

constexpr const char* kSettings =
    "<enable>true</enable>\n<targets>receiver-of-a-long-name@162 community;"
    "192.0.2.7@162 public;198.51.100.9@162 ops</targets>\n";
constexpr size_t kMostAllocations = 20;

FILE* g_settings = nullptr;

int read_settings_with(size_t allocations) {
  std::string text = kSettings;
  std::array<char, 4096> buffer = {};
  g_settings = fmemopen(text.data(), text.size(), "r");
  setvbuf(g_settings, buffer.data(), _IOFBF, buffer.size());
  trap_destinations = {};
  trap_communities = {};
  const HeapLimit limit(allocations);
  return snmpEnabled();
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" FILE* __wrap_fopen(const char* path, const char* mode);
extern "C" FILE* __wrap_fopen(const char* /*path*/, const char* /*mode*/) {
  return g_settings;
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

TEST(HostSnmpMemory, ThatIsMissingDisablesWithNoTargetLeft) {
  if (!heap_can_run_out()) {
    GTEST_SKIP() << "a sanitizer has the heap";
  }
  size_t allocations = 0;
  while (allocations < kMostAllocations && read_settings_with(allocations) == 0) {
    EXPECT_EQ(snmp_enabled_flag, 0);
    EXPECT_TRUE(trap_destinations.empty());
    EXPECT_TRUE(trap_communities.empty());
    ++allocations;
  }
  EXPECT_GT(allocations, 1U);
  EXPECT_LT(allocations, kMostAllocations);
  EXPECT_EQ(trap_destinations.size(), 3U);
}

}  // namespace
